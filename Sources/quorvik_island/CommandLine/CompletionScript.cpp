#include "quorvik_island/CommandLine/CompletionScript.h"

namespace quorvik {

namespace {

/// Works from an autoloaded file, whose text is the function at its first and at every later call, as well as
/// from `source`. The values are given to compadd by the names of arrays, so nothing in a description means
/// anything.
constexpr std::string_view zshScript = R"zsh(#compdef @PROGRAMS@

_quorvik_complete() {
    local answer kind line
    local -a lines values shown expl
    answer="$(command quorvik-island complete zsh "${(@Q)words[1,CURRENT-1]}" "$PREFIX" 2>/dev/null </dev/null)"
    [[ -n $answer ]] || return 1
    lines=("${(@f)answer}")
    kind=$lines[1]
    shift lines
    case $kind in
    files)
        compset -P '--[^=]#='
        _files
        ;;
    command\ *)
        line=${kind#command }
        words=("${(@)words[line + 1,-1]}")
        (( CURRENT -= line ))
        _normal
        ;;
    values)
        for line in "${lines[@]}"; do
            values+=("${line%%$'\t'*}")
            shown+=("${line/$'\t'/  -- }")
        done
        _wanted -V values expl value compadd -l -d shown -a values
        ;;
    esac
}

if [[ $zsh_eval_context[-1] == (loadautofunc|shfunc) ]]; then
    _quorvik_complete "$@"
else
    compdef _quorvik_complete @PROGRAMS@
fi
)zsh";

/// For bash 3.2, which macOS has, and later; there, it offers no files.
constexpr std::string_view bashScript = R"bash(# Completion for @PROGRAMS@.
_quorvik_complete() {
    COMPREPLY=()
    local answer kind line
    answer=$(command quorvik-island complete bash "${COMP_LINE:0:COMP_POINT}" "$COMP_WORDBREAKS" 2>/dev/null </dev/null)
    [[ $answer ]] || return 0
    kind=${answer%%$'\n'*}
    case $kind in
    files)
        compopt -o default 2>/dev/null
        ;;
    command\ *)
        if declare -F _command_offset >/dev/null; then
            _command_offset "${kind#command }"
        elif ((COMP_CWORD == ${kind#command })); then
            while IFS= read -r line; do
                COMPREPLY+=("$line")
            done < <(compgen -c -- "${COMP_WORDS[COMP_CWORD]}")
        else
            compopt -o default 2>/dev/null
        fi
        ;;
    values)
        while IFS= read -r line; do
            [[ ! $line ]] || COMPREPLY+=("$line")
        done <<<"${answer:6}"
        ;;
    esac
    return 0
}
complete -F _quorvik_complete @PROGRAMS@
)bash";

constexpr std::string_view fishScript = R"fish(# Completion for @PROGRAMS@.
function __quorvik_complete
    set -l words (commandline --cut-at-cursor --tokenize --current-process)
    set -l current (commandline --cut-at-cursor --current-token)
    set -l answer (command quorvik-island complete fish $words "$current" 2>/dev/null </dev/null)
    switch "$answer[1]"
        case files
            __fish_complete_path "$current"
        case 'command *'
            set --erase words[1..(string replace 'command ' '' -- $answer[1])]
            complete --do-complete (string join ' ' -- (string escape -- $words) "$current")
        case values
            string join \n -- $answer[2..]
    end
end
for program in @PROGRAMS@
    complete --command $program --no-files --arguments '(__quorvik_complete)'
end
)fish";

} // namespace

std::string completionScript(Shell shell, std::span<const std::string_view> programs) {
    constexpr std::string_view mark = "@PROGRAMS@";
    std::string names;
    for (const std::string_view program : programs)
        names.append(names.empty() ? "" : " ").append(program);
    std::string script(shell == Shell::zsh ? zshScript : shell == Shell::bash ? bashScript : fishScript);
    for (std::size_t at = 0; (at = script.find(mark, at)) != script.npos;)
        script.replace(at, mark.size(), names);
    return script;
}

} // namespace quorvik
