#include "QuorvikCore/Shell/ShellCommandFilter.h"

#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <string>

namespace quorvik::ShellCommandFilter {

namespace {

// clang-format off

/// Commands that run the command that follows them.
constexpr std::string_view wrappers[] = {
    "sudo", "env", "time", "nohup", "command", "exec", "nice", "caffeinate", "noglob", "builtin"};

/// Commands that run for as long as somebody sits in front of them.
constexpr std::string_view interactive[] = {
    "vim", "vi", "nvim", "nano", "emacs", "micro", "helix", "hx",
    "less", "more", "man", "most",
    "ssh", "mosh", "telnet",
    "top", "htop", "btop", "watch", "tail",
    "tmux", "screen", "zellij",
    "fzf", "lazygit", "tig", "lazydocker", "k9s",
    "zsh", "bash", "fish", "sh", "login", "su",
    "quorvik",
    "claude", "codex", "grok", "cmd", "devin", "qwen", "copilot", "pi", "kimi", "zcode",
    "open", "code", "cursor", "xed", "say"};

/// Commands that are interactive unless they are given a script.
constexpr std::string_view repls[] = {
    "python", "python3", "node", "irb", "ipython", "bun", "deno", "ruby", "lua", "sqlite3", "psql", "mysql",
    "redis-cli", "mongosh", "swift", "ghci", "R", "julia", "php", "scala", "clj"};

/// Commands that run a project's scripts by name, the names that servers go by, and the words that may stand
/// before such a name.
constexpr std::string_view scriptRunners[] = {
    "npm", "pnpm", "yarn", "bun", "deno", "task", "make", "just"};
constexpr std::string_view serverScripts[] = {
    "dev", "serve", "start", "watch", "preview", "storybook", "develop", "server"};
constexpr std::string_view runWords[] = {"run", "run-script", "task"};

constexpr std::string_view alwaysServers[] = {
    "vite", "nodemon", "uvicorn", "gunicorn", "air", "webpack-dev-server", "ollama", "jupyter", "caddy", "nginx"};

/// Commands that serve when one of these verbs is among their arguments, or when they have none but options.
constexpr std::string_view verbServers[] = {
    "next", "nuxt", "astro", "remix", "gatsby", "hugo", "jekyll", "mkdocs", "flask", "rails", "ng"};
constexpr std::string_view serverVerbs[] = {
    "dev", "serve", "server", "s", "run", "start", "watch", "develop", "preview"};

/// Deploy tools whose subcommand "dev" is a local server.
constexpr std::string_view devServers[] = {"wrangler", "vercel", "vc", "netlify"};

/// Git commands that are quick, or slow only because they wait in an editor, a pager or for a passphrase.
constexpr std::string_view quickGit[] = {
    "commit", "rebase", "log", "diff", "show", "blame", "add", "push", "pull", "checkout", "switch", "stash", "merge"};

/// Git commands whose failures are worth knowing.
constexpr std::string_view gitFailures[] = {
    "push", "pull", "fetch", "clone", "merge", "rebase", "commit", "checkout", "switch", "stash", "cherry-pick",
    "revert", "am"};

/// Options of git that are followed by a value.
constexpr std::string_view gitValueOptions[] = {"-C", "-c", "--git-dir", "--work-tree", "--namespace"};

/// Commands that run a package's program: the runners by themselves, the managers with one of the verbs.
constexpr std::string_view packageRunners[] = {"npx", "bunx", "pnpx"};
constexpr std::string_view packageManagers[] = {"pnpm", "yarn", "npm", "bun"};
constexpr std::string_view packageRunVerbs[] = {"dlx", "exec", "x"};

/// Vercel's subcommands that do not deploy. It deploys when it is given a path, or nothing.
constexpr std::string_view vercelOther[] = {
    "dev", "build", "login", "logout", "whoami", "env", "logs", "ls", "list", "inspect", "pull", "link", "unlink",
    "domains", "dns", "certs", "alias", "rm", "remove", "teams", "switch", "projects", "secrets", "init", "git",
    "help", "bisect", "telemetry", "upgrade"};

// clang-format on

bool isIn(Words set, std::string_view word) {
    return std::ranges::find(set, word) != set.end();
}

bool isOption(std::string_view word) {
    return word.starts_with('-');
}

bool isWrapper(std::string_view word) {
    return isIn(wrappers, Files::lastComponent(word));
}

/// The words without leading assignments, and without wrappers and their options. The values of such options
/// are not known: "sudo -u admin make" counts as the command "admin", which is the price of a simple rule.
Words withoutPrefix(Words words) {
    while (!words.empty()) {
        if (isAssignment(words.front())) {
            words = words.subspan(1);
        } else if (isWrapper(words.front())) {
            const auto next = std::find_if_not(words.begin() + 1, words.end(), isOption);
            words = Words(next, words.end());
        } else {
            break;
        }
    }
    return words;
}

/// The words without a leading "npx", "pnpm dlx" and the like.
Words withoutPackageRunner(Words words) {
    if (words.empty()) return words;
    const std::string first = Files::lastComponent(words[0]);
    if (isIn(packageRunners, first)) return words.subspan(1);
    if (words.size() > 1 && isIn(packageManagers, first) && isIn(packageRunVerbs, words[1]))
        return words.subspan(2);
    return words;
}

/// A command and its arguments.
struct Invocation {
    explicit Invocation(Words words) : command(Files::lastComponent(words[0])), arguments(words.subspan(1)) {
        std::ranges::remove_copy_if(arguments, std::back_inserter(positional), isOption);
    }

    bool is(std::string_view name) const { return command == name; }
    bool isOneOf(Words names) const { return isIn(names, command); }

    /// The positional argument at this index; the empty text, which is no word, when there are fewer.
    std::string_view argument(std::size_t index) const {
        return index < positional.size() ? positional[index] : std::string_view();
    }
    bool hasArgument(std::string_view word) const { return isIn(positional, word); }
    bool hasOption(std::string_view word) const { return isIn(arguments, word); }

    std::string command;
    Words arguments;
    std::vector<std::string_view> positional; ///< the arguments that are no options
};

bool isBareInterpreter(const Invocation& run) {
    return run.isOneOf(repls) && run.positional.empty();
}

bool isServerByVerb(const Invocation& run) {
    const auto isVerb = [](std::string_view word) { return isIn(serverVerbs, word); };
    return run.isOneOf(verbServers) &&
           (run.positional.empty() || std::ranges::any_of(run.positional, isVerb));
}

bool isServerScript(const Invocation& run) {
    const auto isRunWord = [](std::string_view word) { return isIn(runWords, word); };
    const auto script = std::ranges::find_if_not(run.positional, isRunWord);
    return run.isOneOf(scriptRunners) && script != run.positional.end() && isIn(serverScripts, *script);
}

bool isForegroundContainer(const Invocation& run) {
    const bool detached = run.hasOption("-d") || run.hasOption("--detach");
    return run.is("docker") && (run.hasArgument("logs") || (run.hasArgument("up") && !detached));
}

bool isCargoWatch(const Invocation& run) {
    return run.is("cargo") && run.argument(0) == "watch";
}

bool isLocalDeployServer(const Invocation& run) {
    return (run.isOneOf(devServers) && run.argument(0) == "dev") ||
           (run.is("wrangler") && run.argument(0) == "pages" && run.argument(1) == "dev");
}

bool isQuickGit(const Invocation& run) {
    return run.is("git") && isIn(quickGit, gitSubcommand(run.arguments).value_or(""));
}

bool isDeployWord(std::string_view word) {
    return word == "deploy" || word == "publish";
}

bool isDeployScript(const Invocation& run) {
    const bool named = run.argument(0) == "run" || run.argument(0) == "run-script";
    const std::string_view script = run.argument(named ? 1 : 0);
    return script == "deploy" || script.starts_with("deploy:");
}

} // namespace

std::vector<std::string_view> words(std::string_view command) {
    std::vector<std::string_view> result;
    std::size_t start = 0;
    for (std::size_t index = 0; index < command.size();) {
        const auto scalar = Unicode::firstScalar(command.substr(index));
        const std::size_t next = index + scalar.length;
        if (Unicode::isWhitespaceOrNewline(scalar.value)) {
            if (index > start) result.push_back(command.substr(start, index - start));
            start = next;
        }
        index = next;
    }
    if (start < command.size()) result.push_back(command.substr(start));
    return result;
}

bool isAssignment(std::string_view word) {
    for (std::string_view rest = word; !rest.empty();) {
        const bool isFirst = rest.size() == word.size();
        const std::string_view character = Unicode::takeCharacter(rest);
        if (character == "=") return !isFirst;
        const char32_t scalar = Unicode::firstScalar(character).value;
        if (!Unicode::isLetter(scalar) && !Unicode::isDigit(scalar) && character != "_") return false;
    }
    return false;
}

std::optional<std::string_view> gitSubcommand(Words arguments) {
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        if (!isOption(arguments[index])) return arguments[index];
        if (isIn(gitValueOptions, arguments[index])) ++index;
    }
    return std::nullopt;
}

bool isTracked(std::string_view command) {
    const auto all = words(command);
    const Words rest = withoutPrefix(all);
    if (rest.empty()) return false;
    const Invocation run(rest);
    if (run.isOneOf(interactive)) return false;
    if (run.isOneOf(alwaysServers)) return false;
    if (isBareInterpreter(run)) return false;
    if (isServerByVerb(run)) return false;
    if (isServerScript(run)) return false;
    if (isForegroundContainer(run)) return false;
    if (isCargoWatch(run)) return false;
    if (isLocalDeployServer(run)) return false;
    if (isQuickGit(run)) return false;
    return true;
}

bool isTracked(std::string_view command, bool failed) {
    if (!failed) return isTracked(command);
    const auto all = words(command);
    const auto git =
        std::ranges::find_if(all, [](std::string_view word) { return Files::lastComponent(word) == "git"; });
    const bool runsGit = git != all.end() && std::all_of(all.begin(), git, [](std::string_view word) {
                             return isAssignment(word) || isWrapper(word) || isOption(word);
                         });
    if (!runsGit) return isTracked(command);
    return isIn(gitFailures, gitSubcommand(Words(git + 1, all.end())).value_or(""));
}

std::optional<std::string_view> deployProvider(std::string_view command) {
    const auto all = words(command);
    const Words rest = withoutPackageRunner(withoutPrefix(all));
    if (rest.empty()) return std::nullopt;
    const Invocation run(rest);
    const std::string_view first = run.argument(0);
    if (run.is("vercel") || run.is("vc"))
        return isIn(vercelOther, first) ? std::nullopt : std::optional("Vercel");
    if (run.is("netlify") && first == "deploy") return "Netlify";
    if (run.is("wrangler") && first == "pages" && isDeployWord(run.argument(1))) return "Cloudflare Pages";
    if (run.is("wrangler") && isDeployWord(first)) return "Cloudflare Workers";
    if (run.is("firebase") && first == "deploy") return "Firebase";
    if ((run.is("fly") || run.is("flyctl")) && first == "deploy") return "Fly.io";
    if (run.is("railway") && first == "up") return "Railway";
    if (run.is("surge")) return "Surge";
    if (run.isOneOf(packageManagers) && isDeployScript(run)) return "Deploy";
    return std::nullopt;
}

} // namespace quorvik::ShellCommandFilter
