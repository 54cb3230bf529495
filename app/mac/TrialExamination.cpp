#include "app/mac/TrialExamination.h"

#include <utility>

namespace velmora {

namespace {

using Severity = TrialFinding::Severity;
using platform::DesktopFacts;

/// What a recording with much motion takes: pictures and sound (bytes a second).
constexpr std::uint64_t bytesPerSecond = (8'000'000 + 192'000) / 8;
constexpr std::uint64_t fewMinutes = 10;

TrialFinding permissionFinding(const DesktopFacts::Display& display)
{
    return display.failure.empty() ? TrialFinding{"permission", Severity::good, "The screen may be captured"}
                                   : TrialFinding{"permission", Severity::fault, "As things are, " + display.failure};
}

TrialFinding encoderFinding(const DesktopFacts::Encoders& encoders)
{
    if (!encoders.failure.empty() || encoders.tried.empty())
        return {"encoder", Severity::fault, "The encoder cannot be tried out: " + encoders.failure};
    const auto& encoder = encoders.tried.front();
    if (encoder.outcome != DesktopFacts::Encoder::Outcome::works)
        return {"encoder", Severity::fault, encoder.name + " does not work: " + encoder.reason};
    return {"encoder", Severity::good, encoder.name + " encoded its trial pictures, the first as a key frame; none was looked at"};
}

TrialFinding shortcutFinding(DesktopFacts::Shortcut::State state)
{
    using State = DesktopFacts::Shortcut::State;
    switch (state) {
    case State::free:
        return {"shortcut", Severity::good, "It is free for the program"};
    case State::taken:
        return {"shortcut", Severity::warning, "It belongs to another program"};
    case State::impossible:
    case State::unknown:
        break;
    }
    return {"shortcut", Severity::note, "Whether it can be had is not known"};
}

TrialFinding notificationsFinding(const DesktopFacts::Notifications& notifications)
{
    if (!notifications.failure.empty())
        return {"notifications", Severity::warning, "The system does not say whether it shows them: " + notifications.failure};
    if (!notifications.service.empty())
        return {"notifications", Severity::good, notifications.service + " shows them"};
    if (notifications.canBeStarted)
        return {"notifications", Severity::note, "The user has not been asked yet"};
    return {"notifications", Severity::warning, "The system shows none; the panel alone says that a clip is saved"};
}

TrialFinding diskFinding(const DesktopFacts::Disk& disk)
{
    const auto folder = disk.folder.native();
    if (!disk.failure.empty())
        return {"disk", Severity::fault, folder + " cannot be looked at: " + disk.failure};
    if (!disk.refusal.empty())
        return {"disk", Severity::fault, "No clip can be created in " + folder + ": " + disk.refusal};
    if (!disk.freeBytes)
        return {"disk", Severity::note, folder + ": how much is free is not known"};
    const auto minutes = *disk.freeBytes / bytesPerSecond / 60;
    return {"disk",
        minutes == 0               ? Severity::fault
            : minutes < fewMinutes ? Severity::warning
                                   : Severity::good,
        folder + ": room for " + std::to_string(minutes) + (minutes == 1 ? " minute" : " minutes") + " of recording"};
}

}  // namespace

std::string TrialFinding::line() const
{
    constexpr std::size_t severityWidth = 9;
    constexpr std::size_t topicWidth = 15;
    constexpr const char* names[] = {"good", "note", "warning", "fault"};
    std::string text_ = names[static_cast<std::size_t>(severity)];
    text_.resize(severityWidth, ' ');
    text_ += topic;
    text_.resize(severityWidth + topicWidth, ' ');
    return text_ + text;
}

std::vector<TrialFinding> trialFindings(const DesktopFacts& facts)
{
    return {permissionFinding(facts.display), encoderFinding(facts.encoders), shortcutFinding(facts.shortcut.state),
        notificationsFinding(facts.notifications), diskFinding(facts.disk)};
}

}  // namespace velmora
