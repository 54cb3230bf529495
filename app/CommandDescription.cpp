#include "app/CommandDescription.h"

#include <algorithm>

namespace velmora::command_line {

namespace {

using Argument = ArgumentDescription;

constexpr Argument window{"ID", Argument::Kind::window};
constexpr Argument clip{"FILE", Argument::Kind::clip};
constexpr Argument newFile{"FILE", Argument::Kind::newFile};
constexpr Argument seconds{"SECONDS", Argument::Kind::text};
constexpr Argument application{"NAME", Argument::Kind::text};
constexpr Argument soundingApplication{"APP", Argument::Kind::text};
constexpr Argument title{"TEXT", Argument::Kind::text};
constexpr Argument recording{"NAME", Argument::Kind::text};
constexpr Argument replay{"on|off|save", Argument::Kind::word};
constexpr Argument size{"SIZE", Argument::Kind::text};
constexpr Argument format{"FORMAT", Argument::Kind::text};
constexpr Argument time{"TIME", Argument::Kind::text};
constexpr Argument stretch{"A-B", Argument::Kind::text};

OptionDescription soundOption()
{
    return {"sound", soundingApplication, false, "Whose sound goes with the window: an application's name, its process, or none."};
}

CommandGroup theProgram()
{
    return {"The program in the tray",
        {
            {.name = {},
                .argument = {},
                .options = {},
                .summary = "Starts the program in the tray; if it is already running, brings it up.",
                .details = {}},
        }};
}

CommandGroup forTheRunningProgram()
{
    return {"Commands for the running program",
        {
            {.name = "toggle",
                .argument = {},
                .options = {},
                .summary = "Starts a recording; ends the one in progress and prints the clip's path once it is safe.",
                .details = "What goes wrong with it, with select or with stop is said on standard error. Where that is not a terminal, say "
                           "because a key is bound to the command, the program opens an alert too."},
            {.name = "pause",
                .argument = {},
                .options = {{"toggle", {}, false, "Goes on with a recording that is paused: one key does for both."}},
                .summary =
                    "Pauses the recording in progress, and says so: what is shown and heard until 'velmora resume' is not in the clip.",
                .details =
                    "A recording that is ended while it is paused is saved up to the pause. What ends one unsaved does so while it is "
                    "paused too. Instant replay knows no pause."},
            {.name = "resume",
                .argument = {},
                .options = {},
                .summary = "Goes on with a recording that is paused, with the next picture of the window.",
                .details = {}},
            {.name = "choose",
                .argument = {},
                .options = {},
                .summary = "Opens the list of windows to choose the one to record.",
                .details = "If the program is installed and not yet running, it is started."},
            {.name = "select",
                .argument = {},
                .optionalArgument = window,
                .options = {{"application", application, false, "In place of ID: a window of the application with this name."},
                    {"title", title, false, "In place of ID: a window with this text in its title."},
                    {"wait", {}, false, "Waits until there is such a window."}, soundOption()},
                .summary = "Chooses the window to record.",
                .details =
                    "A name or a text is compared without regard to case. Where more than one window fits, the frontmost that is on screen "
                    "is chosen. On a Wayland desktop, which does not say whose window it is, --sound does; what was chosen for a window is "
                    "kept."},
            {.name = "stop",
                .argument = {},
                .options = {},
                .summary = "Saves a recording in progress, then stops capturing the window.",
                .details = {}},
            {.name = "status",
                .argument = {},
                .options = {{"json", {}, false, "Prints it as a JSON object, for programs."}},
                .summary = "Says what the program is doing.",
                .details = {}},
            {.name = "events",
                .argument = {},
                .options = {{"json", {}, false, "Prints each as a JSON object on a line of its own, for programs."}},
                .summary = "Prints what happens in the program, a line for each event, until the program ends or Ctrl+C.",
                .details = "The first line is the state that it is in. A clip's line comes when its file is safe."},
            {.name = "replay",
                .argument = replay,
                .optionalArgument = seconds,
                .options = {},
                .summary = "Keeps the last seconds of the chosen window in memory, and saves them as a clip when asked to.",
                .details =
                    "With on it keeps SECONDS, 15 unless told and at most 25, until off or the end of the program; another window or sleep "
                    "begins anew with nothing. With save it saves SECONDS of them, or all, from a key frame on, and prints the clip's "
                    "path once it is safe. Meanwhile the pictures keep the window's size as in a recording."},
            {.name = "preview", .argument = clip, .options = {}, .summary = "Opens a clip.", .details = {}},
            {.name = "clips",
                .argument = {},
                .options = {},
                .summary = "Opens the window with all clips: to search, play, rename, share and remove them.",
                .details = "If the program is installed and not yet running, it is started."},
            {.name = "quit",
                .argument = {},
                .options = {},
                .summary = "Ends the program, and with it a recording in progress.",
                .details = "Such a recording is not saved, nor is one whose window is closed or that is running when the machine goes to "
                           "sleep. What was recorded, if it is a second or more, goes to the desktop's trash where there is one."},
        }};
}

CommandGroup withoutTheProgram()
{
    return {"Commands that do without it",
        {
            {.name = "windows",
                .argument = {},
                .options = {{"json", {}, false, "Prints them as a JSON array, for programs."}},
                .summary = "Lists the windows that can be recorded.",
                .details = {}},
            {.name = "doctor",
                .argument = {},
                .options = {{"json", {}, false, "Prints it as a JSON object, for programs."}},
                .summary = "Says what this desktop has of what a recording needs, and what to do about what it lacks.",
                .details = "A line each for the encoders, tried out, the display, the desktop's portal, the shortcut, the sound server, "
                           "notifications, the tray and the clips folder: what to paste into a report of a bug. It records nothing, "
                           "changes nothing, and ends after 15 seconds whatever hangs. The exit status is 1 where nothing could be "
                           "recorded."},
            {.name = "record",
                .argument = {},
                .options = {{"window", window, true, "The window's number, as 'velmora windows' lists it."},
                    {"duration", seconds, false, "For how long."}, {"output", newFile, false, "The clip's file."}, soundOption()},
                .summary = "Records the window until the duration is over, or until Ctrl+C or SIGTERM, and prints the clip's path.",
                .details =
                    "Without --output the clip goes to the Velmora folder in your videos folder, under a name with the time of day. "
                    "An existing file is never overwritten. If the recording ends early, because the window was closed or the disk is "
                    "full, what was recorded is saved, standard error says why, and the exit status is 3. Standard error also says why "
                    "there is no sound, where it is missing. On a Wayland desktop, which does not say whose window it is, --sound "
                    "does; what was chosen for a window is kept."},
            {.name = "repair",
                .argument = clip,
                .options = {},
                .summary = "Makes an ordinary MP4 of a recording that was cut off.",
                .details = {}},
            {.name = "restore",
                .argument = {},
                .optionalArgument = recording,
                .options = {{"list", {}, false, "Lists what can be restored instead, newest first."},
                    {"json", {}, false, "With --list: prints them as a JSON array, for programs."}},
                .summary = "Puts the newest recording that was discarded, or the one called NAME, from the desktop's trash into the clips "
                           "folder, and prints its path.",
                .details = "An existing file is never overwritten."},
            {.name = "trim",
                .argument = clip,
                .options = {{"start", time, false, "Where the part begins; needed where nothing is cut."},
                    {"end", time, false, "Where the part ends; needed where nothing is cut."},
                    {"cut", stretch, false, "Leaves this out: may be given several times.", true},
                    {"output", newFile, false, "The part's file."}},
                .summary =
                    "Writes a part of a clip, or what is left of it, to a file of its own, exact to the frame and the sample of sound, "
                    "and prints the file's path.",
                .details = "TIME is seconds (83.5) or minutes and seconds (1:23.5), A-B two of them (12.5-1:03). Nothing is encoded but "
                           "what lies at a cut: its pictures up to the next key frame, and the sound of the shorter side. Without --output "
                           "the part goes beside the clip. The clip is not changed, and an existing file is never overwritten."},
            {.name = "join",
                .argument = clip,
                .argumentRepeats = true,
                .options = {{"output", newFile, false, "The new file."}},
                .summary = "Writes clips one after the other to one file, and prints its path.",
                .details =
                    "Their pictures have to be of one size and made by one encoder with the same settings, and their sound of one kind. "
                    "Of the pictures nothing is encoded; of the sound, what does not fall on the packets of the longest clip. Without "
                    "--output the file goes beside the first clip. An existing file is never overwritten."},
            {.name = "share",
                .argument = clip,
                .options = {{"limit", size, false, "The most that the copy may take; 10MB unless told."},
                    {"output", newFile, false, "The copy's file."},
                    {"format", format, false, "What the copy is: mp4, mp4-constant, gif, webp or webm."},
                    {"json", {}, false, "Prints what the copy is as a JSON object, for programs."}},
                .summary = "Writes a copy of a clip that fits where it is to be sent, and prints its path.",
                .details =
                    "SIZE is a number of MB, or has its own unit: 25MB, 800KB, 1.5GB. A megabyte is 1,000,000 bytes: of the two "
                    "sizes that chats call so, the smaller. A clip that fits is copied as it is. Any other is encoded anew, sound "
                    "included, as good as fits: before pictures become coarse they become smaller, and fewer in a second; a copy that "
                    "is too large, or leaves more than a tenth of the limit unused, is encoded again. With mp4-constant there are as "
                    "many pictures in every second, for editors that need that, and no limit unless told. For chats and wikis that do "
                    "not show MP4 there are gif, at most 640 pixels wide or high, with 15 pictures a second, 256 colours and no sound; "
                    "webp, as large, with 20 pictures a second and no sound; and webm with all that the clip has, by VP9 or AV1 and "
                    "Opus. To keep to their limit there are first fewer pictures a second, then smaller ones, then coarser ones with "
                    "fewer colours, and again; what fits as it begins leaves the rest unused. Without --output the copy goes to the "
                    "folder Shared in the clips folder and onto the clipboard; the latter needs the running program, because a clipboard "
                    "keeps nothing of one that has ended. The clip is not changed, and an existing file is never overwritten."},
        }};
}

/// The words of `text` on lines that begin with the indentation and end before the column.
std::string wrapped(std::string_view text, std::size_t indentation, std::size_t columns)
{
    std::string lines;
    std::size_t column = 0;
    while (!text.empty()) {
        const auto end = std::min(text.find(' '), text.size());
        const auto word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (column > 0 && column + 1 + word.size() <= columns) {
            lines += ' ';
            ++column;
        } else {
            lines += (column > 0 ? "\n" : "") + std::string(indentation, ' ');
            column = indentation;
        }
        lines += word;
        column += word.size();
    }
    return lines + '\n';
}

}  // namespace

std::string CommandDescription::synopsis() const
{
    std::string text = "velmora";
    if (!name.empty())
        text += ' ' + std::string{name};
    if (argument)
        text += ' ' + std::string{argument->name};
    if (argument && argumentRepeats)
        text += ' ' + std::string{argument->name} + "...";
    if (optionalArgument)
        text += " [" + std::string{optionalArgument->name} + ']';
    for (const auto& option : options) {
        auto typed = "--" + std::string{option.name};
        if (option.argument)
            typed += ' ' + std::string{option.argument->name};
        text += option.isRequired ? ' ' + typed : " [" + typed + ']';
        if (option.repeats)
            text += "...";
    }
    return text;
}

std::span<const CommandGroup> commandGroups()
{
    static const std::vector<CommandGroup> groups{theProgram(), forTheRunningProgram(), withoutTheProgram()};
    return groups;
}

const CommandDescription* findCommand(std::string_view name)
{
    for (const auto& group : commandGroups()) {
        for (const auto& command : group.commands) {
            if (command.name == name)
                return &command;
        }
    }
    return nullptr;
}

std::string usageText()
{
    constexpr std::size_t columns = 80;
    std::string text = "Velmora " + std::string{programPurpose} + ".\n";
    for (const auto& group : commandGroups()) {
        text += '\n';
        for (const auto& command : group.commands) {
            text += "  " + command.synopsis() + '\n';
            text += wrapped(std::string{command.summary} + (command.details.empty() ? "" : " ") + std::string{command.details}, 6, columns);
        }
    }
    return text + "\n  velmora --help | --version\n\nExit status: 0 done, 1 failed, 2 wrong usage, 3 recorded, but ended early.\n";
}

}  // namespace velmora::command_line
