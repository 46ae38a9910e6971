#include "quorvik_island/Commands/CompletionCommand.h"

#include "quorvik_island/CommandLine/CompletionScript.h"
#include "quorvik_island/Console.h"

namespace quorvik::CompletionCommand {

int run(const Arguments& arguments) {
    const auto& words = arguments.words;
    std::vector<std::string_view> programs;
    for (const ProgramRow& program : CommandTable::programs())
        if (words.size() == 1 || words[1] == program.name) programs.push_back(program.name);
    if (programs.empty()) throw UsageError("completion: unknown program " + words[1]);
    Console console(false);
    console.text(completionScript(*fromRawValue<Shell>(words.front()), programs));
    return console.exitStatus();
}

} // namespace quorvik::CompletionCommand
