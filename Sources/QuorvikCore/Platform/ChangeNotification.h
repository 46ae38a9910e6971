#pragma once

#include <filesystem>

namespace quorvik::Platform {

/// Tells whoever watches that something named `name` changed. macOS: the Darwin notification of that name,
/// delivered at once. Elsewhere: the file of that name in `folder` is touched (created 0600 if need be),
/// which a watcher sees as one cheap event. Failures are ignored: a notification is a hint.
void postChange(const char* name, const std::filesystem::path& folder);

} // namespace quorvik::Platform
