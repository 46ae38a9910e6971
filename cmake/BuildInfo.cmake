# Writes the C++ file OUTPUT, which names VERSION, its DATE and the commit of the clone SOURCE; no commit when SOURCE is none, such as an
# unpacked archive inside somebody's own repository. Leaves the file alone when it says so already, so that nothing is compiled
# again.
set(commit "")
if(EXISTS "${SOURCE}/.git")
  execute_process(COMMAND git -C "${SOURCE}" rev-parse --short=7 HEAD
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
  if(NOT failed STREQUAL "0" OR NOT commit MATCHES "^[0-9a-f]+$")
    set(commit "")
  endif()
endif()
file(CONFIGURE OUTPUT "${OUTPUT}" CONTENT [[
// Written by cmake/BuildInfo.cmake.
#include "QuorvikCore/Platform/BuildInfo.h"

std::string_view quorvik::BuildInfo::version() {
    return "@VERSION@";
}

std::string_view quorvik::BuildInfo::date() {
    return "@DATE@";
}

std::string_view quorvik::BuildInfo::commit() {
    return "@commit@";
}
]] @ONLY)
