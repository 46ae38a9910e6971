#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"
#include "quorvik_island/CommandLine/Completion.h"
#include "quorvik_island/CommandLine/HelpText.h"
#include "quorvik_island/CommandLine/ManualPage.h"
#include "quorvik_island/CommandLine/TableText.h"

#include "QuorvikApp/Model/BarLine.h"

#include "QuorvikCore/Alerts/AlertValidator.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unistd.h>

#include <algorithm>
#include <functional>
#include <regex>

namespace quorvik {

using namespace testing;

/// What is made of the table of commands: the parser, help and manual pages.
class CommandLineTests : public TemporaryHome {
  protected:
    static Program::Result island(std::vector<std::string> words) {
        words.insert(words.begin(), programPath("quorvik-island"));
        return Program::run(words);
    }

    /// Every command of every program, and the programs without a command.
    static void forEach(const std::function<void(const ProgramRow&, const CommandRow&)>& look) {
        for (const ProgramRow& program : CommandTable::programs()) {
            look(program, program.self);
            for (const GroupRow& group : program.groups)
                for (const CommandRow& command : group.commands)
                    if (!command.isHidden) look(program, command);
        }
    }
};

TEST_F(CommandLineTests, MistakesAreNamedWithWhatWasMeant) {
    for (const auto& [words, why] : std::initializer_list<std::pair<std::vector<std::string>, std::string>>{
             {{"shwo"}, "unknown command shwo, did you mean show?"},
             {{"help", "hook"}, "unknown command hook, did you mean hooks?"},
             {{"help", "quorvik", "rum"}, "unknown command rum, did you mean run?"},
             {{"frobnicate"}, "unknown command frobnicate"},
             {{"complet"},
              "unknown command complet"}, // "completion" is too far, "complete" nobody's business
             {{"--plian"}, "unknown option --plian, did you mean --plain?"},
             {{"--plain", "show"}, "unexpected argument show"},
             {{"hooks"}, "hooks: say status, install or uninstall"},
             {{"hooks", "Status"}, "hooks: unknown action Status, did you mean status?"},
             {{"hooks", "install", "claude", "git"}, "unknown agent git"},
             {{"hooks", "install", "quen"}, "unknown agent quen, did you mean qwen?"},
             {{"hooks", "status", "--all", "pi"}, "name agents or say --all, not both"},
             {{"hooks", "status", "--force=1"}, "unknown option --force"},
             {{"hooks", "status", "-x"}, "unknown option -x"},
             {{"hooks", "status", "--all=1"}, "--all takes no value"},
             {{"hooks", "status", "--hook-path"}, "--hook-path needs a value"},
             {{"hooks", "status", "--hook-path=", "pi"}, "--hook-path needs a value"},
             {{"hooks", "status", "--hook-path", ""}, "--hook-path needs a value"},
             {{"hooks", "status", "--", "--all"}, "unknown agent --all"},
             {{"shell"}, "shell: say status, install or uninstall"}, // nobody is told of the older name
             {{"shell", "off"}, "shell: unknown action off"},
             {{"shell", "status", "now"}, "shell: unexpected argument now"},
             {{"shell", "install", "--min-seconds", "0"}, "--min-seconds must be 1 to 86400"},
             {{"shell", "install", "--min-seconds", "1.5"}, "--min-seconds must be 1 to 86400"},
             {{"settings", "doneLingr"}, "settings: there is no setting doneLingr, did you mean doneLinger?"},
             {{"settings", "git", "[a,b]"}, "settings: git must be on or off"}, // one word, whatever is in it
             {{"show", "now"}, "show: unexpected argument now"},
             {{"completion", "tcsh"}, "completion: unknown shell tcsh"},
             {{"completion", "zsh", "hook"}, "completion: unknown program hook"}}) {
        const std::string command = why.starts_with("un") && words[0] != "hooks" ? "" : words[0] + " ";
        EXPECT_EQ(island(words),
                  (Program::Result{
                      3, "", "quorvik-island: " + why + " (see quorvik-island " + command + "--help)\n"}));
    }
    EXPECT_FALSE(std::filesystem::exists(home / ".claude"));
}

TEST_F(CommandLineTests, EveryOptionIsUnderstoodAndTold) {
    forEach([](const ProgramRow& program, const CommandRow& command) {
        const std::string help = HelpText::of(program, command, 80);
        const std::string page = manualPage(program);
        std::vector<std::string> words = {"--help"};
        std::vector<std::string> typed = {std::string(program.name), "-"};
        if (&command != &program.self) {
            words.insert(words.begin(), std::string(command.name));
            typed.insert(typed.begin() + 1, std::string(command.name));
        }
        const auto offered = Completion::at(typed, {}).values;
        for (const OptionRow& option : command.options) {
            words.emplace_back(option.name);
            if (!option.value.empty()) words.emplace_back("-");
            if (option.isHidden) continue;
            EXPECT_NE(help.find("\n  " + TableText::written(option) + " "), help.npos) << option.name << help;
            EXPECT_NE(std::ranges::find(offered, option.name, &Completion::Value::text), offered.end())
                << command.name << " " << option.name;
            std::string bold = "\n\\fB" + std::string(option.name);
            for (std::size_t at = 0; (at = bold.find('-', at)) != bold.npos; at += 2)
                bold.insert(at, "\\");
            EXPECT_NE(page.find(bold), page.npos) << bold;
        }
        if (!program.isParsed || !std::filesystem::exists(programPath(std::string(program.name)))) return;
        words.insert(words.begin(), programPath(std::string(program.name)));
        EXPECT_EQ(Program::run(words), (Program::Result{0, help, ""})) << command.name;
        if (&command == &program.self) return;
        EXPECT_EQ(island({"help", std::string(command.name)}).output, help);
        EXPECT_TRUE(help.starts_with("usage: quorvik-island " + std::string(command.name))) << help;
    });
}

TEST_F(CommandLineTests, TheTableSaysWhatOtherCodeTakes) {
    const ProgramRow& quorvik = *CommandTable::program("quorvik");
    const CommandRow& alert = *CommandTable::command(quorvik, "alert");
    EXPECT_EQ(Program::run({programPath("quorvik")}).errors,
              "usage: quorvik run " + std::string(CommandTable::command(quorvik, "run")->usage) +
                  "\n       quorvik alert " + std::string(alert.usage) + "\n");
    AlertValidator::RawFields fields;
    for (const OptionRow& option : alert.options)
        EXPECT_NE(fields.named(option.name.substr(2)), nullptr) << option.name;
    EXPECT_EQ(alert.options.size(), sizeof fields / sizeof *fields.named("title"));

    const CommandRow& watch = *CommandTable::command(CommandTable::island(), "watch");
    for (const WordRow& format : CommandTable::option(watch, "--format")->words)
        EXPECT_TRUE(fromRawValue<BarLine::Format>(format.word)) << format.word;
    EXPECT_EQ(CommandTable::option(watch, "--format")->words.size(), rawValues<BarLine::Format>.size());
    const std::string_view hooks = CommandTable::command(CommandTable::island(), "hooks")->description;
    for (const Source agent : agentSources())
        EXPECT_NE(hooks.find(rawValue(agent)), hooks.npos) << rawValue(agent);
}

TEST_F(CommandLineTests, WhateverIsTypedCanBeCompleted) {
    const auto source = [](Completes, const std::string&) {
        return std::vector<Completion::Value>{{"value", ""}};
    };
    forEach([&](const ProgramRow& program, const CommandRow& command) {
        for (const std::string typed : {"", "quorvik", "run", "--", "-", "--no-such", "--json", "=", "help"})
            for (const std::string current : {"", "-", "--no-such=", "r"}) {
                const std::vector<std::string> words = {std::string(program.name), std::string(command.name),
                                                        typed, current};
                for (std::size_t count = 0; count <= words.size(); ++count)
                    for (const auto& value : Completion::at(std::span(words).first(count), source).values)
                        EXPECT_NE(value.text, "") << command.name << " " << typed << " " << current;
            }
    });
}

TEST_F(CommandLineTests, HelpFitsTheScreenAndItsReaderMayGoAway) {
    forEach([](const ProgramRow& program, const CommandRow& command) {
        for (const std::size_t columns : {80u, 60u}) {
            const std::string help = HelpText::of(program, command, columns);
            const std::string kept = std::string(command.description) + std::string(command.examples);
            for (std::string_view rest = help; !rest.empty();) {
                const std::string_view line = Unicode::takeLine(rest);
                const bool isKept = kept.find(line) != kept.npos;
                EXPECT_TRUE(isKept || Unicode::columnCount(line) <= columns) << line;
            }
        }
    });
    const auto withoutReader = [] {
        int ends[2];
        if (::pipe(ends) == 0) ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
    };
    for (const std::string topic : {"environment", "files", "statuses", "show", "quorvik"})
        EXPECT_EQ(Program::run({programPath("quorvik-island"), "help", topic}, "", withoutReader),
                  (Program::Result{0, "", ""}));
}

TEST_F(CommandLineTests, ManualPagesAreInOrder) {
    for (const ProgramRow& program : CommandTable::programs()) {
        const auto page = island({"man", std::string(program.name)});
        EXPECT_EQ(page.status, 0);
        const auto file = write(std::string(program.name) + ".1", page.output);
        EXPECT_EQ(Program::run({"mandoc", "-Tlint", "-Wwarning", file}), (Program::Result{0, "", ""}));
        const std::string drawn = Program::run({"mandoc", "-Tutf8", "-Owidth=200", file}).output;
        const std::string text = std::regex_replace(drawn, std::regex(".\b"), ""); // bold is written twice
        // Examples are full of what means something to the macros.
        for (const GroupRow& group : program.groups)
            for (const CommandRow& command : group.commands)
                for (std::string_view rest = command.examples; !rest.empty();)
                    EXPECT_NE(text.find(Unicode::takeLine(rest)), text.npos) << command.name << text;
    }
}

} // namespace quorvik
