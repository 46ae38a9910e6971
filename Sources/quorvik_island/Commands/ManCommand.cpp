#include "quorvik_island/Commands/ManCommand.h"

#include "quorvik_island/CommandLine/ManualPage.h"
#include "quorvik_island/Console.h"

namespace quorvik::ManCommand {

int run(const Arguments& arguments) {
    const auto& words = arguments.words;
    const ProgramRow* program =
        words.empty() ? &CommandTable::island() : CommandTable::program(words.front());
    if (!program) throw UsageError("man: unknown program " + words.front());
    Console console(false);
    console.text(manualPage(*program));
    return console.exitStatus();
}

} // namespace quorvik::ManCommand
