#include "app/menu/StateRemarks.h"

#include "brand/ShownText.h"
#include "capture/CaptureMessages.h"
#include "library/ClipFormat.h"

#include <cmath>
#include <initializer_list>

namespace velmora {

namespace {

constexpr const char* givenToolTip = "Velmora — Instant Video Clipping (Click to open menu)";
constexpr const char* bindAKey =
    "The shortcut is not active. Bind a key of your own to 'velmora toggle' in the desktop's keyboard settings.";

// A panel that draws the menu itself shows titles alone: what our captions say beneath three of them is said here.
constexpr const char* endings = "Quitting, stopping or changing the window ends the recording without saving it.";

std::string progressText(const RecordingProgress& progress)
{
    // A length that has not been reached yet is not said.
    auto text = formattedDuration(std::floor(std::chrono::duration<double>{progress.elapsed}.count()));
    if (progress.bytes > 0)
        text += ", " + formattedFileSize(static_cast<std::int64_t>(progress.bytes)) + " so far";
    return text;
}

/// `progress` after what is said of a recording that runs, or of one that is paused.
std::string withState(const StateRemarks& remarks, const char* running, const char* paused)
{
    return remarks.progress.empty() ? std::string{} : (remarks.isPaused ? paused : running) + remarks.progress;
}

std::string problemText(const StateFacts& facts)
{
    if (facts.state.is<CaptureState::CaptureUnavailable>())
        return facts.state.statusDescription() + ". Choose a window to try again.";
    if (facts.state.is<CaptureState::NotConfigured>())
        return facts.state.statusDescription() + ": "
            + (facts.permissionExplanation.empty() ? std::string{capture_message::permissionRequired} : facts.permissionExplanation);
    return facts.state.is<CaptureState::WaitingForWindowSelection>() ? facts.lostWindow : std::string{};
}

std::string lines(std::initializer_list<std::string> texts)
{
    std::string all;
    for (const auto& text : texts) {
        if (!text.empty())
            all += (all.empty() ? "" : "\n") + text;
    }
    return all;
}

}  // namespace

StateRemarks remarks(const StateFacts& facts)
{
    return {
        .progress = facts.progress ? progressText(*facts.progress) : std::string{},
        .isPaused = facts.progress && facts.progress->isPaused,
        .problem = problemText(facts),
        .shortcut = !facts.isShortcutRefused ? std::string{}
            : facts.shortcutReason.empty()   ? bindAKey
                                             : facts.shortcutReason,
        .notice = facts.notice,
        .ending = facts.isRecording && facts.progress ? endings : "",
    };
}

std::string toolTip(const StateRemarks& remarks)
{
    const auto shown = [](const std::string& reason) { return paragraphs(QString::fromStdString(reason)).toStdString(); };
    return lines({givenToolTip, withState(remarks, "Recording: ", "Recording paused at "), shown(remarks.problem), shown(remarks.notice),
        shown(remarks.shortcut), remarks.ending});
}

std::string stateCaption(const StateRemarks& remarks)
{
    return lines({withState(remarks, "", "Paused at "), remarks.problem, remarks.shortcut});
}

}  // namespace velmora
