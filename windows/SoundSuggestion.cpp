#include "windows/SoundSuggestion.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

using platform::AudibleApplication;

bool ownsWindow(const AudibleApplication& application)
{
    return application.ownsWindow;
}

bool wasChosen(const AudibleApplication& application)
{
    return application.wasChosen;
}

bool isPlaying(const AudibleApplication& application)
{
    return application.isPlaying;
}

bool ownsWindowAndWasChosen(const AudibleApplication& application)
{
    return application.ownsWindow && application.wasChosen;
}

}  // namespace

SoundSuggestion suggestSound(platform::SoundChoices choices)
{
    using Reason = SoundSuggestion::Reason;
    SoundSuggestion suggestion{.applications = std::move(choices.applications)};
    auto& applications = suggestion.applications;
    const auto count = [&](auto isOne) { return std::count_if(applications.begin(), applications.end(), isOne); };
    const auto putFirst = [&](auto isOne) { std::stable_partition(applications.begin(), applications.end(), isOne); };
    const auto suggestFirst = [&](auto isOne, Reason reason) {
        putFirst(isOne);
        suggestion.reason = reason;
        suggestion.choice = platform::SoundChoice{applications.front().application};
    };

    const auto chosenBefore = count(wasChosen);
    const bool wasDecided = choices.wasNoSoundChosen || chosenBefore > 0;
    if (count(ownsWindow) == 1 && (!wasDecided || count(ownsWindowAndWasChosen) == 1)) {
        suggestFirst(ownsWindow, Reason::windowsOwn);
    } else if (chosenBefore == 1) {
        suggestFirst(wasChosen, Reason::asBefore);
    } else if (chosenBefore > 1) {
        putFirst(wasChosen);
    } else if (choices.wasNoSoundChosen) {
        suggestion.reason = Reason::asBefore;
        suggestion.choice = platform::SoundChoice{};
    } else if (applications.empty()) {
        suggestion.reason = Reason::nothingSounds;
        suggestion.choice = platform::SoundChoice{};
    } else if (count(isPlaying) == 1) {
        suggestFirst(isPlaying, Reason::onlyPlaying);
    }
    return suggestion;
}

}  // namespace velmora
