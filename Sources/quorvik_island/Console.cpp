#include "quorvik_island/Console.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Text/Unicode.h"
#include "QuorvikCore/Text/VisibleText.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace quorvik {

void Console::print(std::string_view text) {
    if (writeAll(STDOUT_FILENO, text.data(), text.size())) return;
    const int error = errno;
    if (error != EPIPE) fail("could not write the output: " + std::generic_category().message(error));
}

void Console::line(std::string_view text) {
    this->text(std::string(text) + "\n");
}

void Console::text(std::string_view lines) {
    if (!json_) print(lines);
}

void Console::value(const nlohmann::json& value) {
    if (json_) valueText(printJSON(value));
}

void Console::valueText(std::string_view text) {
    if (json_) print(VisibleText::json(text) + "\n"); // texts of agents are in there
}

void Console::fail(std::string_view message) {
    failed_ = true;
    note(message);
}

void Console::note(std::string_view message) {
    const std::string text = "quorvik-island: " + Unicode::terminalLine(message) + "\n";
    writeAll(STDERR_FILENO, text.data(), text.size());
}

} // namespace quorvik
