#include "app/doctor/Diagnosis.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace velmora {

namespace {

using platform::DesktopFacts;
using Encoder = DesktopFacts::Encoder;
using Severity = Finding::Severity;

constexpr const char* shortcutName = "Alt+Super+C";
constexpr const char* bindToggle = "Bind a key of your own to 'velmora toggle' in the desktop's keyboard settings.";

/// What a recording with much motion takes: pictures and sound (bytes a second).
constexpr std::uint64_t bytesPerSecond = (8'000'000 + 192'000) / 8;
/// Less than that is as good as full: a recording reserves a part of it before its first picture.
constexpr std::uint64_t leastBytes = 10 * bytesPerSecond;
constexpr std::uint64_t fewMinutes = 10;

class Findings {
public:
    void add(const char* topic, Severity severity, std::string text, std::string remedy = {})
    {
        findings_.push_back({topic, severity, std::move(text), std::move(remedy)});
    }
    std::vector<Finding> take() { return std::move(findings_); }

private:
    std::vector<Finding> findings_;
};

void judgeEncoder(const Encoder& encoder, const DesktopFacts::Encoders& all, bool isInUse, Findings& findings)
{
    switch (encoder.outcome) {
    case Encoder::Outcome::works:
        return findings.add(
            "encoder", Severity::good, encoder.name + " works" + (isInUse ? ", and is the one in use (" + all.library + ')' : ""));
    case Encoder::Outcome::missing:
        return findings.add("encoder", Severity::note, encoder.name + " is not in " + all.library);
    case Encoder::Outcome::ruledOut:
        return findings.add("encoder", Severity::note, encoder.name + " is ruled out: VELMORA_VIDEO_ENCODER names " + all.onlyEncoder);
    case Encoder::Outcome::endedAProgram:
        return findings.add("encoder", Severity::warning,
            encoder.name + " ended a program when it was tried out, and is passed over until the next log-in",
            "Update the graphics driver; until then another encoder does its work.");
    case Encoder::Outcome::fails:
        break;
    }
    findings.add("encoder", Severity::note, encoder.name + " cannot be used here: " + encoder.reason);
}

void judgeEncoders(const DesktopFacts::Encoders& encoders, Findings& findings)
{
    if (!encoders.failure.empty())
        return findings.add("encoder", Severity::fault, "The encoders cannot be tried out: " + encoders.failure,
            "Install Velmora again, with the libraries of FFmpeg that it was built for.");
    const auto inUse = std::find_if(
        encoders.tried.begin(), encoders.tried.end(), [](const Encoder& encoder) { return encoder.outcome == Encoder::Outcome::works; });
    for (auto encoder = encoders.tried.begin(); encoder != encoders.tried.end(); ++encoder)
        judgeEncoder(*encoder, encoders, encoder == inUse, findings);
    if (inUse != encoders.tried.end())
        return;
    findings.add("encoder", Severity::fault, "No encoder works, so nothing can be recorded",
        encoders.onlyEncoder.empty() ? "Install an FFmpeg that has libx264, which needs no hardware."
                                     : "Unset VELMORA_VIDEO_ENCODER, which allows " + encoders.onlyEncoder + " alone.");
}

void judgeDisplay(const DesktopFacts::Display& display, Findings& findings)
{
    constexpr const char* remedy = "Run Velmora inside a desktop session; DISPLAY or WAYLAND_DISPLAY has to name its display.";
    if (display.kind == DesktopFacts::DisplayKind::none)
        return findings.add("display", Severity::fault, "There is no display: neither DISPLAY nor WAYLAND_DISPLAY is set", remedy);
    if (display.kind == DesktopFacts::DisplayKind::mac)
        return display.failure.empty() ? findings.add("display", Severity::good, "The screen may be captured")
                                       : findings.add("display", Severity::fault, "On this Mac " + display.failure,
                                           "Allow Velmora to record the screen in System Settings, and start it again.");
    const std::string kind = display.kind == DesktopFacts::DisplayKind::x11 ? "X11" : "Wayland";
    if (!display.failure.empty())
        return findings.add("display", Severity::fault, kind + " display " + display.name + ": " + display.failure, remedy);
    findings.add("display", Severity::good,
        kind + " display " + display.name + (display.server.empty() ? "" : ", " + display.server)
            + (display.desktop.empty() ? "" : ", desktop " + display.desktop));
}

void judgePortal(const DesktopFacts& facts, Findings& findings)
{
    if (facts.display.kind != DesktopFacts::DisplayKind::wayland)
        return;
    constexpr const char* remedy = "Install xdg-desktop-portal with the part for your desktop (xdg-desktop-portal-gnome or "
                                   "xdg-desktop-portal-kde), and log in again.";
    const auto& portal = facts.portal;
    if (!portal.failure.empty())
        return findings.add("portal", Severity::fault, "The desktop's portal cannot be asked: " + portal.failure, remedy);
    if (!portal.isRunning && portal.canBeStarted)
        return findings.add("portal", Severity::note, "The desktop's portal is not running yet; it is started when it is needed");
    if (!portal.isRunning || portal.screenCast == 0)
        return findings.add("portal", Severity::fault, "No portal shares windows, and a Wayland desktop has no other way", remedy);
    const auto versions = "ScreenCast " + std::to_string(portal.screenCast)
        + (portal.shortcuts == 0 ? std::string{", no GlobalShortcuts"} : ", GlobalShortcuts " + std::to_string(portal.shortcuts));
    if (!portal.sharesWindows)
        return findings.add("portal", Severity::fault, "The portal shares whole screens and no single windows (" + versions + ')', remedy);
    findings.add("portal", Severity::good, "The portal shares windows (" + versions + ')');
}

void judgeShortcut(const DesktopFacts& facts, const QJsonObject& status, Findings& findings)
{
    const std::string keys = shortcutName;
    if (facts.program.isRunning && status.contains(QLatin1String("shortcutIsRegistered"))) {
        if (status.value(QLatin1String("shortcutIsRegistered")).toBool())
            return findings.add("shortcut", Severity::good, "The running program has its shortcut");
        const auto reason = status.value(QLatin1String("shortcutError")).toString().toStdString();
        return findings.add(
            "shortcut", Severity::warning, "The running program has no shortcut" + (reason.empty() ? "" : ": " + reason), bindToggle);
    }
    using State = DesktopFacts::Shortcut::State;
    switch (facts.shortcut.state) {
    case State::free:
        return findings.add("shortcut", Severity::good, keys + " is free for the program");
    case State::taken:
        return findings.add("shortcut", Severity::warning, keys + " belongs to another program or to the desktop", bindToggle);
    case State::impossible:
        return findings.add("shortcut", Severity::warning, "This keyboard has no keys for " + keys, bindToggle);
    case State::unknown:
        break;
    }
    const auto& portal = facts.portal;
    if (facts.display.kind == DesktopFacts::DisplayKind::wayland && portal.isRunning && portal.shortcuts == 0)
        return findings.add("shortcut", Severity::warning, "The desktop's portal binds no shortcuts for programs", bindToggle);
    findings.add("shortcut", Severity::note, "Whether " + keys + " can be had shows when the program runs");
}

void judgeProgram(const DesktopFacts::Program& program, const QJsonObject& status, Findings& findings)
{
    if (!program.failure.empty())
        return findings.add("program", Severity::warning, "The running program cannot be asked: " + program.failure,
            "Log in to a desktop with a session bus; if Velmora is running and hangs, end it and start it again.");
    if (!program.isRunning)
        return findings.add("program", Severity::note, "Velmora is not running");
    auto text = "Velmora is running: " + status.value(QLatin1String("description")).toString().toStdString();
    for (const auto* word : {"notice", "permissionExplanation"}) {
        if (const auto more = status.value(QLatin1String{word}).toString(); !more.isEmpty())
            text += "; " + more.toStdString();
    }
    findings.add("program", Severity::good, std::move(text));
}

void judgeSound(const DesktopFacts::Sound& sound, Findings& findings)
{
    constexpr const char* remedy = "Start PipeWire or PulseAudio (systemctl --user start pipewire wireplumber); it is heard from then on.";
    if (!sound.failure.empty())
        return findings.add("sound", Severity::warning, "The sound server cannot be asked: " + sound.failure, remedy);
    if (sound.server.empty())
        return findings.add("sound", Severity::warning,
            "No sound server answers, so clips are silent" + (sound.reason.empty() ? "" : ": " + sound.reason), remedy);
    findings.add("sound", Severity::good, sound.server + " answers");
}

void judgeNotifications(const DesktopFacts::Notifications& notifications, Findings& findings)
{
    constexpr const char* remedy =
        "Install a notification service, dunst say; without one the panel in the screen's corner says that a clip is saved.";
    if (!notifications.failure.empty())
        return findings.add(
            "notifications", Severity::warning, "The notification service cannot be asked: " + notifications.failure, remedy);
    if (!notifications.service.empty())
        return findings.add("notifications", Severity::good, notifications.service + " shows them");
    if (notifications.canBeStarted)
        return findings.add("notifications", Severity::good, "A service is started with the first of them");
    findings.add("notifications", Severity::warning, "There is no notification service", remedy);
}

void judgeTray(const DesktopFacts::Tray& tray, Findings& findings)
{
    constexpr const char* remedy =
        "The menu opens in a small window instead. On GNOME, the extension \"AppIndicator and KStatusNotifierItem "
        "Support\" makes a place for it; elsewhere, add a tray to the panel.";
    if (tray.hasXEmbedHost)
        return findings.add("tray", Severity::good, "A tray is there (XEmbed)");
    if (!tray.failure.empty())
        return findings.add("tray", Severity::warning, "The tray cannot be asked for: " + tray.failure, remedy);
    if (tray.hasStatusNotifierHost)
        return findings.add("tray", Severity::good, "A host for status items is there");
    findings.add("tray", Severity::warning, "There is no tray", remedy);
}

void judgeDisk(const DesktopFacts::Disk& disk, Findings& findings)
{
    const auto folder = disk.folder.string();
    if (!disk.failure.empty())
        return findings.add("disk", Severity::fault, "The clips folder " + folder + " cannot be looked at: " + disk.failure,
            "See whether its file system still answers, or choose another clips folder in the settings.");
    if (!disk.refusal.empty())
        return findings.add("disk", Severity::fault, "No clip can be created in " + folder + ": " + disk.refusal,
            "Make it writable for you, or choose another clips folder in the settings.");
    const auto where = folder + (disk.exists ? "" : " (made with the first clip)");
    if (!disk.freeBytes)
        return findings.add("disk", Severity::note, where + ": how much is free is not known");
    if (*disk.freeBytes < leastBytes)
        return findings.add("disk", Severity::fault, "The disk of " + where + " is full",
            "Make room on it, or choose another clips folder in the settings.");
    const auto minutes = *disk.freeBytes / bytesPerSecond / 60;
    const auto room = where + ": room for " + std::to_string(minutes) + (minutes == 1 ? " minute" : " minutes") + " of recording";
    if (minutes < fewMinutes)
        return findings.add("disk", Severity::warning, room, "Make room on it, or choose another clips folder in the settings.");
    findings.add("disk", Severity::good, room);
}

}  // namespace

std::vector<Finding> diagnose(const DesktopFacts& facts)
{
    const auto status = QJsonDocument::fromJson(QByteArray::fromStdString(facts.program.status)).object();
    Findings findings;
    judgeEncoders(facts.encoders, findings);
    judgeDisplay(facts.display, findings);
    judgePortal(facts, findings);
    judgeShortcut(facts, status, findings);
    judgeProgram(facts.program, status, findings);
    judgeSound(facts.sound, findings);
    judgeNotifications(facts.notifications, findings);
    judgeTray(facts.tray, findings);
    judgeDisk(facts.disk, findings);
    return findings.take();
}

bool canRecord(const std::vector<Finding>& findings)
{
    return std::none_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.severity == Severity::fault; });
}

}  // namespace velmora
