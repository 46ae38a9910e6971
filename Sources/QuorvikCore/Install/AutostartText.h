#pragma once

#include "QuorvikCore/Install/Autostart.h"

/// What stands in the files of Autostart.
namespace quorvik::Autostart {

/// By which launchd knows it: "com.quorvik.app".
std::string_view agentLabel(What what);

/// The file's content. Throws EditError when one of the texts of `start` holds a control character, or when
/// who reads the file could not start that program: systemd takes no quote and no backslash in its path, a
/// desktop no equals sign, and nothing but UTF-8.
std::string text(ServiceManager manager, What what, const Start& start);

} // namespace quorvik::Autostart
