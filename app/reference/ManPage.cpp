#include "app/CommandDescription.h"
#include "app/reference/CommandReference.h"

namespace velmora::command_line {

namespace {

/// Text as roff has it: a dash that can be copied, a backslash that is one, no line that is taken for a request.
std::string escaped(std::string_view text)
{
    std::string result;
    for (const char character : text) {
        if (character == '-' || character == '\\')
            result += '\\';
        result += character == '\\' ? 'e' : character;
    }
    return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

std::string bold(std::string_view text)
{
    return "\\fB" + escaped(text) + "\\fR";
}

std::string argumentText(const ArgumentDescription& argument)
{
    return "\\fI" + escaped(argument.name) + "\\fR";
}

std::string optionText(const OptionDescription& option)
{
    return bold("--" + std::string{option.name}) + (option.argument ? " " + argumentText(*option.argument) : "");
}

std::string synopsis(const CommandDescription& command)
{
    std::string text = bold("velmora");
    if (!command.name.empty())
        text += ' ' + bold(command.name);
    if (command.argument)
        text += ' '
            + (command.argument->kind == ArgumentDescription::Kind::word ? bold(command.argument->name) : argumentText(*command.argument));
    if (command.argument && command.argumentRepeats)
        text += ' ' + argumentText(*command.argument) + "...";
    if (command.optionalArgument)
        text += " [" + argumentText(*command.optionalArgument) + ']';
    for (const auto& option : command.options)
        text += ' ' + (option.isRequired ? optionText(option) : "[" + optionText(option) + "]") + (option.repeats ? "..." : "");
    return text;
}

std::string commandEntry(const CommandDescription& command)
{
    std::string text = ".TP\n" + synopsis(command) + '\n' + escaped(command.summary) + '\n';
    if (!command.details.empty())
        text += escaped(command.details) + '\n';
    if (command.options.empty())
        return text;
    text += ".RS\n";
    for (const auto& option : command.options)
        text += ".TP\n" + optionText(option) + '\n' + escaped(option.summary) + '\n';
    return text + ".RE\n";
}

// What no single command says.
constexpr std::string_view afterTheCommands = R"(.SH OPTIONS
.TP
\fB\-h\fR, \fB\-\-help\fR
Prints how the program is used. Every command takes it too.
.TP
\fB\-\-version\fR
Prints the version.
.SH KEYS
\fBAlt+Super+C\fR, anywhere in the desktop, does what \fBvelmora toggle\fR does. Where the desktop keeps that combination for itself, bind a
key of your own to \fBvelmora toggle\fR.
.SH STATUS
The object that \fBvelmora status \-\-json\fR prints always has \fIstate\fR, \fIdescription\fR, \fIisRecording\fR and
\fIshortcutIsRegistered\fR. While a recording runs it has \fIrecordingSeconds\fR, how long that is, and \fIrecordingBytes\fR, how large its file
is on the disk, and \fIisPaused\fR; pauses do not count. \fIclipsFolder\fR is where clips go. While instant replay is on it has \fIreplay\fR, with \fIseconds\fR and the \fIbytes\fR that
it holds. Where there is something to say it has \fIwindow\fR (with \fIid\fR, \fItitle\fR and \fIapplication\fR), \fIlastSavedClip\fR,
\fInotice\fR, \fIshortcutError\fR, \fIpermissionExplanation\fR and, where the recording in progress or else the last one lost more than
two of a hundred pictures because the machine did not keep up, \fIlostPictures\fR, with how many were \fIlost\fR \fIof\fR how many, and
\fItext\fR.
.PP
\fIstate\fR is one of \fInotConfigured\fR (no permission), \fIwaitingForWindowSelection\fR, \fIcapturing\fR, \fIrecordingClip\fR and
\fIcaptureUnavailable\fR. A path that is no text is a file: URI, here and in all that follows.
.SH EVENTS
Each object that \fBvelmora events \-\-json\fR prints has \fIevent\fR, which is one of these. Programs ignore events and keys that they do not
know.
.TP
.I state
There is another state, \fIstate\fR; the first object says which there is.
.TP
.I recordingStarted
A recording has begun.
.TP
.I recordingPaused
The recording in progress has been paused.
.TP
.I recordingResumed
It goes on. A recording that ends while it is paused does not.
.TP
.I clipSaved
The clip \fIpath\fR is safe on the disk.
.TP
.I captureFailed
\fImessage\fR is what the user is told: the window was closed, or something could not be begun or saved.
.PP
On the session bus they are the signals StateChanged(s), RecordingStarted(), RecordingPaused(), RecordingResumed(), ClipSaved(s) and CaptureFailed(s) of
com.velmora.Velmora.Control at /com/velmora/Velmora, of the service com.velmora.Velmora. Its methods that scripts may rely on are Toggle() and
Stop(), which return the saved clip's path or nothing, Pause(), Resume() and TogglePause(), which return a sentence, Select(u), SelectMatching(a{sv}) with \fIapplication\fR, \fItitle\fR and \fIsound\fR as
strings, ReplayOn(d) and ReplaySave(d), whose argument is a number of seconds or 0 for the usual, ReplayOff(), and Status(), which
returns the object above.
.SH RESTORE
Each object of the array that \fBvelmora restore \-\-list \-\-json\fR prints has \fIname\fR, \fIpath\fR (in the trash), \fIorigin\fR (where it was
recorded), \fIdiscardedAt\fR (UTC, ISO 8601), \fIseconds\fR and \fIbytes\fR.
.SH DOCTOR
The object that \fBvelmora doctor \-\-json\fR prints has \fIversion\fR, \fIsystem\fR, \fIcanRecord\fR and \fIfindings\fR, an array of
objects with \fItopic\fR, \fIseverity\fR (good, note, warning or fault), \fItext\fR and \fIremedy\fR.
.SH EXIT STATUS
.TP
.B 0
It was done.
.TP
.B 1
It failed; standard error says why. Of \fBvelmora doctor\fR: a fault stands in the way of every recording; warnings alone do not count.
.TP
.B 2
The command line makes no sense.
.TP
.B 3
The clip is saved, but \fBvelmora record\fR ended before it was asked to: the window was closed, for example. Standard error says why.
.SH ENVIRONMENT
.TP
.B DISPLAY
The X display whose windows are recorded.
.TP
.B WAYLAND_DISPLAY
Set on a Wayland desktop: windows are recorded through its portal, and the program's own are shown through Xwayland where there is one.
.TP
.B QT_QPA_PLATFORM
With \fIwayland\fR the program's own windows do without Xwayland.
.TP
.B DBUS_SESSION_BUS_ADDRESS
The session bus on which the commands for the running program reach it.
.TP
.B VELMORA_VIDEO_ENCODER
The one encoder to use, by its name in FFmpeg, in place of the first that proves itself. For developers.
.SH FILES
.TP
.I $XDG_VIDEOS_DIR/Velmora
The clips, unless another folder is chosen in the settings. Without a videos folder of its own: \fI~/Movies/Velmora\fR.
.TP
.I $XDG_CACHE_HOME/thumbnails
The pictures that \fBvelmora clips\fR shows, which the desktop's file browser uses too, and makes others for. Made for clips that were on the screen.
.TP
.I $XDG_CONFIG_HOME/velmora/velmora.conf
That the walkthrough of the first start has been completed.
.TP
.I ~/.config/autostart/com.velmora.Velmora.desktop
Starts the program at log\-in, once that has been switched on in its settings or those of the desktop.
.SH EXAMPLES
Record ten seconds of a window whose number \fBvelmora windows\fR prints:
.PP
.RS
.nf
velmora record \-\-window 20971523 \-\-duration 10
.fi
.RE
.PP
Cut the part from 1:23.5 to 1:41.25 out of a clip:
.PP
.RS
.nf
velmora trim clip.mp4 \-\-start 1:23.5 \-\-end 1:41.25
.fi
.RE
.PP
Leave two parts of a clip out:
.PP
.RS
.nf
velmora trim clip.mp4 \-\-cut 12.5\-20 \-\-cut 1:03\-1:10.25
.fi
.RE
)";

}  // namespace

std::string manPage(std::string_view version)
{
    std::string page = ".TH VELMORA 1 \"\" \"Velmora " + std::string{version} + "\" \"User Commands\"\n.SH NAME\nvelmora \\- "
        + escaped(programPurpose) + "\n.SH SYNOPSIS\n.nf\n";
    for (const auto& group : commandGroups()) {
        for (const auto& command : group.commands)
            page += synopsis(command) + '\n';
    }
    page += bold("velmora") + ' ' + bold("--help") + " | " + bold("--version") + "\n.fi\n.SH DESCRIPTION\n"
        + "Velmora captures one window that you choose, all the time, and compresses every picture of it. A recording writes what has been "
          "compressed\nto a file, so it starts at once and costs next to nothing. There is no other window in the picture and no other "
          "program in the sound.\n.SH COMMANDS\n";
    for (const auto& group : commandGroups()) {
        page += ".SS " + escaped(group.heading) + '\n';
        for (const auto& command : group.commands)
            page += commandEntry(command);
    }
    return page + std::string{afterTheCommands};
}

}  // namespace velmora::command_line
