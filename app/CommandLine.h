// What the user typed.
#pragma once

#include "media/TimeRange.h"
#include "platform/ClipTranscoder.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <variant>
#include <vector>

namespace velmora::command_line {

/// Exit statuses of the program.
enum ExitStatus { succeeded = 0, failed = 1, wrongUse = 2, endedEarly = 3 };

struct Windows {
    bool json = false;
};

struct Doctor {
    bool json = false;
};

struct Record {
    std::uint32_t windowID = 0;
    std::optional<std::chrono::nanoseconds> duration;  ///< none: until a signal
    std::optional<std::filesystem::path> output;  ///< absolute; none: the default folder and name
    std::optional<std::string> sound = std::nullopt;  ///< as decideSound() understands it
};

struct Repair {
    std::filesystem::path file;
};

struct Trim {
    std::filesystem::path file;  ///< absolute
    TimeRange range = wholeClip;
    std::vector<TimeRange> cuts = {};  ///< what is left out, as it was given
    std::optional<std::filesystem::path> output = std::nullopt;  ///< absolute; none: beside the file
};

struct Join {
    std::vector<std::filesystem::path> files;  ///< absolute; at least two
    std::optional<std::filesystem::path> output = std::nullopt;  ///< absolute; none: beside the first file
};

struct Share {
    std::filesystem::path file;  ///< absolute
    platform::TranscodingSettings settings = {};
    std::optional<std::filesystem::path> output = std::nullopt;  ///< absolute; none: the folder for what is shared
    bool json = false;
};

struct Restore {
    std::optional<std::filesystem::path> name = std::nullopt;  ///< of the recording, or its path in the trash; none: the newest
    bool list = false;
    bool json = false;
};

struct Events {
    bool json = false;
};

/// The program itself, in the tray.
struct Run { };

/// Something for the program that is already running.
struct Control {
    enum class Action {
        toggle,
        pause,
        resume,
        togglePause,
        choose,
        clips,
        select,
        stop,
        status,
        replayOn,
        replayOff,
        replaySave,
        preview,
        quit
    };

    Action action = Action::status;
    std::uint32_t windowID = 0;  ///< select
    bool json = false;  ///< status
    std::filesystem::path file;  ///< preview; absolute
    std::optional<std::string> sound = std::nullopt;  ///< select
    std::string application = {};  ///< select, in place of the window's number; empty: any
    std::string title = {};  ///< the same
    bool wait = false;  ///< select: until there is such a window
    double seconds = 0;  ///< replay; 0: as long as is usual
};

/// Text for standard output, after which the program ends.
struct Print {
    QString text;
};

using Command = std::variant<Run, Control, Windows, Doctor, Record, Repair, Trim, Join, Share, Restore, Events, Print>;

/// An argument as the system gave it. Bytes that are not UTF-8 become lone surrogates, U+DC80 to U+DCFF, which no UTF-8 makes: parse()
/// puts them back into the paths.
QString argumentText(std::string_view bytes);

/// The command in `arguments` (the program's name first), or what is wrong with them in one line.
tl::expected<Command, QString> parse(const QStringList& arguments);

/// How the program is used, in full.
QString helpText();

}  // namespace velmora::command_line
