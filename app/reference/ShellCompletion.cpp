#include "app/CommandDescription.h"
#include "app/reference/CommandReference.h"

#include <algorithm>

namespace velmora::command_line {

namespace {

using Kind = ArgumentDescription::Kind;

template <typename Action>
void forEachCommand(const Action& action)
{
    for (const auto& group : commandGroups()) {
        for (const auto& command : group.commands) {
            if (!command.name.empty())
                action(command);
        }
    }
}

/// In single quotes; what stands for a single quote within them differs from shell to shell.
std::string quoted(std::string_view text, std::string_view quote = "'\\''")
{
    std::string result = "'";
    for (const char character : text) {
        if (character == '\'')
            result += quote;
        else
            result += character;
    }
    return result + '\'';
}

std::string fishQuoted(std::string_view text)
{
    return quoted(text, "\\'");
}

std::string withoutFullStop(std::string_view sentence)
{
    return std::string{sentence.substr(0, sentence.size() - (sentence.ends_with('.') ? 1 : 0))};
}

std::string optionNames(const CommandDescription& command)
{
    std::string names;
    for (const auto& option : command.options)
        names += "--" + std::string{option.name} + ' ';
    return names + "--help";
}

/// "on|off" as "on off".
std::string words(const ArgumentDescription& argument)
{
    std::string text{argument.name};
    std::replace(text.begin(), text.end(), '|', ' ');
    return text;
}

/// What a shell offers where no option is being typed; none: nothing.
const std::optional<ArgumentDescription>& offeredArgument(const CommandDescription& command)
{
    return command.argument ? command.argument : command.optionalArgument;
}

std::string bashCandidates(const ArgumentDescription& argument)
{
    if (argument.kind == Kind::word)
        return "[ \"$COMP_CWORD\" -ne 2 ] || _velmora_words \"$current\" '" + words(argument) + "'";
    const auto kind = argument.kind;
    switch (kind) {
    case Kind::window:
        return "_velmora_windows \"$1\" \"$current\"";
    case Kind::clip:
        return "_velmora_files \"$current\" '!*.[mM][pP]4'";
    case Kind::newFile:
        return "_velmora_files \"$current\"";
    case Kind::word:
    case Kind::text:
        break;
    }
    return ":";
}

std::string bashCommand(const CommandDescription& command)
{
    std::string text = "        " + std::string{command.name} + ")\n";
    std::string values;
    for (const auto& option : command.options) {
        if (option.argument)
            values += "                --" + std::string{option.name} + ") " + bashCandidates(*option.argument) + "; return ;;\n";
    }
    if (!values.empty())
        text += "            case $previous in\n" + values + "            esac\n";
    const auto options = "_velmora_words \"$current\" '" + optionNames(command) + "'";
    if (!offeredArgument(command))
        return text + "            " + options + "\n            ;;\n";
    return text + "            case $current in\n                -*) " + options + " ;;\n                *) "
        + bashCandidates(*offeredArgument(command)) + " ;;\n            esac\n            ;;\n";
}

std::string zshAction(const ArgumentDescription& argument)
{
    switch (argument.kind) {
    case Kind::word:
        return "(" + words(argument) + ")";
    case Kind::window:
        return "_velmora_windows";
    case Kind::clip:
        return "_files -g \"*.(#i)mp4\"";
    case Kind::newFile:
        return "_files";
    case Kind::text:
        break;
    }
    return " ";
}

std::string zshArgument(const ArgumentDescription& argument)
{
    return ":" + std::string{argument.name} + ":" + zshAction(argument);
}

std::string zshCommand(const CommandDescription& command)
{
    std::string text =
        "        " + std::string{command.name} + ")\n            _arguments '(- *)'{-h,--help}'[Prints how the program is used]'";
    for (const auto& option : command.options) {
        auto description = "[" + withoutFullStop(option.summary) + "]";
        auto entry = (option.repeats ? "*--" : "--") + std::string{option.name} + (option.argument ? "=" : "") + description;
        if (option.argument)
            entry += zshArgument(*option.argument);
        text += " \\\n                " + quoted(entry);
    }
    if (command.argument)
        text += " \\\n                " + quoted((command.argumentRepeats ? "*" : "1") + zshArgument(*command.argument));
    if (command.optionalArgument)
        text += " \\\n                " + quoted((command.argument ? "2:" : "1:") + zshArgument(*command.optionalArgument));
    return text + "\n            ;;\n";
}

std::string fishArgument(const ArgumentDescription& argument)
{
    switch (argument.kind) {
    case Kind::word:
        return " -a '" + words(argument) + "'";
    case Kind::window:
        return " -a '(__velmora_windows)'";
    case Kind::clip:
        return " -a '(__fish_complete_suffix .mp4)'";
    case Kind::newFile:
        return " -a '(__fish_complete_path (commandline -ct))'";
    case Kind::text:
        break;
    }
    return {};
}

}  // namespace

std::string bashCompletion()
{
    std::string commands;
    std::string cases;
    forEachCommand([&](const CommandDescription& command) {
        commands += (commands.empty() ? "" : " ") + std::string{command.name};
        cases += bashCommand(command);
    });
    return R"sh(# Completion of velmora for bash.

_velmora_words() {
    mapfile -t COMPREPLY < <(compgen -W "$2" -- "$1")
}

_velmora_windows() {
    mapfile -t COMPREPLY < <(compgen -W "$("$1" windows 2>/dev/null | sed -n 's/^ *\([0-9][0-9]*\)  .*/\1/p')" -- "$2")
}

_velmora_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f ${2:+-X "$2"} -- "$1"; [ -z "${2-}" ] || compgen -d -- "$1")
}

_velmora() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    # The equals sign of --option=value counts as a word.
    if [ "$current" = = ]; then
        current=''
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    if [ "$COMP_CWORD" -eq 1 ]; then
        case $current in
            -*) _velmora_words "$current" '--help --version' ;;
            *) _velmora_words "$current" ')sh"
        + commands + R"sh(' ;;
        esac
        return
    fi
    case ${COMP_WORDS[1]} in
)sh" + cases
        + R"sh(    esac
}

complete -F _velmora velmora
)sh";
}

std::string zshCompletion()
{
    std::string commands;
    std::string cases;
    forEachCommand([&](const CommandDescription& command) {
        commands += "        " + quoted(std::string{command.name} + ':' + withoutFullStop(command.summary)) + '\n';
        cases += zshCommand(command);
    });
    return R"sh(#compdef velmora
# Completion of velmora for zsh.

_velmora_windows() {
    local -a windows
    windows=(${(f)"$(_call_program windows velmora windows 2>/dev/null | sed -n 's/^ *\([0-9][0-9]*\)  \(.*\)/\1:\2/p')"})
    _describe -V 'window' windows
}

_velmora_commands() {
    local -a commands
    commands=(
)sh" + commands
        + R"sh(    )
    _describe -V 'command' commands
}

_velmora() {
    local curcontext=$curcontext state line
    typeset -A opt_args
    _arguments -C '(- *)'{-h,--help}'[Prints how the program is used]' '(- *)--version[Prints the version]' \
        '1: :_velmora_commands' '*:: :->arguments' && return
    [[ $state = arguments ]] || return 1
    case $words[1] in
)sh" + cases
        + R"sh(    esac
}

_velmora "$@"
)sh";
}

std::string fishCompletion()
{
    std::string text = R"sh(# Completion of velmora for fish.

function __velmora_windows
    velmora windows 2>/dev/null | string replace -rf '^ *([0-9]+)  (.*)' '$1\t$2'
end

complete -c velmora -f
complete -c velmora -s h -l help -d 'Prints how the program is used'
complete -c velmora -n __fish_use_subcommand -l version -d 'Prints the version'
)sh";
    forEachCommand([&](const CommandDescription& command) {
        const std::string name{command.name};
        text += "\ncomplete -c velmora -n __fish_use_subcommand -a " + name + " -d " + fishQuoted(withoutFullStop(command.summary)) + '\n';
        const auto condition = "complete -c velmora -n '__fish_seen_subcommand_from " + name + "'";
        for (const auto& option : command.options) {
            text += condition + " -l " + std::string{option.name};
            if (option.argument)
                text += " -x" + fishArgument(*option.argument);
            text += " -d " + fishQuoted(withoutFullStop(option.summary)) + '\n';
        }
        if (const auto& argument = offeredArgument(command); argument && argument->kind != Kind::text)
            text += condition + fishArgument(*argument) + '\n';
    });
    return text;
}

std::vector<ReferenceFile> referenceFiles(std::string_view version)
{
    return {
        {"velmora.1", manPage(version)}, {"velmora", bashCompletion()}, {"_velmora", zshCompletion()}, {"velmora.fish", fishCompletion()}};
}

}  // namespace velmora::command_line
