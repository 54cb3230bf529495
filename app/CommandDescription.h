// What can be typed after the program's name. The one description of it: the parser, --help, the man page and the shells' completion are all
// made from this.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::command_line {

/// An argument, in capitals, and what a shell offers in its place.
struct ArgumentDescription {
    enum class Kind {
        window,  ///< a number that 'velmora windows' lists
        clip,  ///< an existing MP4 file
        newFile,  ///< a file that does not exist yet
        word,  ///< one of those that its name lists: "on|off"
        text,  ///< nothing can be offered
    };

    std::string_view name;
    Kind kind = Kind::text;
};

struct OptionDescription {
    std::string_view name;  ///< without the dashes
    std::optional<ArgumentDescription> argument;
    bool isRequired = false;
    std::string_view summary;  ///< a sentence
    bool repeats = false;  ///< may be given several times
};

struct CommandDescription {
    std::string_view name;  ///< empty: the program's name alone
    std::optional<ArgumentDescription> argument;  ///< always required
    std::optional<ArgumentDescription> optionalArgument = std::nullopt;  ///< after it, if there is one
    bool argumentRepeats = false;  ///< there are two of `argument` or more
    std::vector<OptionDescription> options;  ///< beside --help, which every command has
    std::string_view summary;  ///< a sentence
    std::string_view details;  ///< further sentences, if any

    /// For example "velmora record --window ID [--duration SECONDS]".
    [[nodiscard]] std::string synopsis() const;
};

struct CommandGroup {
    std::string_view heading;
    std::vector<CommandDescription> commands;
};

/// What the program is, in a sentence without its name and the full stop: "records …".
inline constexpr std::string_view programPurpose = "records one window, with its application's sound, as an MP4 clip";

/// In the order in which help presents them. Any thread.
[[nodiscard]] std::span<const CommandGroup> commandGroups();

/// None if there is no such command.
[[nodiscard]] const CommandDescription* findCommand(std::string_view name);

/// How the program is used, in full, in lines of at most 80 columns.
[[nodiscard]] std::string usageText();

}  // namespace velmora::command_line
