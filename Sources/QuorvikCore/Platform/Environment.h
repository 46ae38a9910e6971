#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace quorvik::Platform {

/// The current user's home folder: $HOME, else the password database, else "/". Without a trailing slash.
std::string homeFolder();

/// The current user's shell by the password database, whatever $SHELL says; "/bin/sh" when that names none.
std::string loginShell();

/// The value of an environment variable; the empty string when it is not set.
std::string environmentValue(const char* name);

/// The whole environment. Of a variable that is there twice the first counts, as for getenv().
std::map<std::string, std::string> environment();

/// The file that this process runs, links resolved; empty when the system does not tell.
std::filesystem::path runningProgram();

} // namespace quorvik::Platform
