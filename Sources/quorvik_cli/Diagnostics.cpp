#include "quorvik_cli/Diagnostics.h"

#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unistd.h>

#include <string>

namespace quorvik {

namespace {

void print(std::string_view text) {
    writeAll(STDERR_FILENO, text.data(), text.size());
}

} // namespace

void say(std::string_view message) {
    print("quorvik: " + Unicode::repaired(message) + "\n"); // file names are of any bytes
}

int usage() {
    print("usage: quorvik run -- <command> [args…]\n"
          "       quorvik alert --title <text> [--body <text>] [--level info|action|fail] [--open <path>] "
          "[--id <id>] [--ttl <seconds>]\n");
    return exitUsage;
}

} // namespace quorvik
