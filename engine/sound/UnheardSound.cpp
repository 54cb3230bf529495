#include "engine/sound/UnheardSound.h"

#include <algorithm>

namespace velmora::engine {

namespace {

using platform::UnheardReason;

std::optional<UnheardReason> reasonOf(const SoundStream& stream)
{
    if (stream.isMuted)
        return UnheardReason::muted;
    if (stream.isPassedThrough)
        return UnheardReason::undecoded;
    return stream.isOfAnotherServer ? std::optional{UnheardReason::anotherServer} : std::nullopt;
}

bool belongsToAWindow(std::int32_t process, const Processes& processes, const std::function<bool(std::int32_t)>& ownsWindow)
{
    // No deeper than any tree is: a process may end, and its number come again, while it is looked at.
    constexpr int deepest = 100;
    for (int i = 0; i < deepest && process > 1; ++i) {
        if (ownsWindow(process))
            return true;
        const auto record = processes.record(process);
        if (!record)
            return false;
        process = record->parent;
    }
    return false;
}

}  // namespace

std::optional<UnheardReason> whyUnheard(const std::vector<SoundStream>& streams, const AudioTarget& target, const Processes& processes,
    const std::function<bool(std::int32_t processID)>& ownsWindow)
{
    const StreamMatcher matcher{target, processes};
    std::optional<UnheardReason> reason;
    bool hasStream = false;
    bool isPlayedElsewhere = false;
    for (const auto& stream : streams) {
        if (matcher.match(stream.identity) != StreamMatch::none) {
            hasStream = true;
            const auto own = reasonOf(stream);
            if (stream.isPlaying && !own)
                return std::nullopt;
            if (stream.isPlaying && !reason)
                reason = own;
            continue;
        }
        const auto process = knownProcess(stream.identity, processes.record);
        const auto isNamedLike = [&](const std::string& wanted) {
            return equalNames(wanted, stream.identity.applicationName) || equalNames(wanted, stream.identity.binary);
        };
        if (stream.isPlaying && process > 0 && process != processes.own
            && (isNamedLike(target.applicationName) || isNamedLike(target.bundleIdentifier))
            && !belongsToAWindow(process, processes, ownsWindow))
            isPlayedElsewhere = true;
    }
    if (!hasStream && isPlayedElsewhere)
        return UnheardReason::noStream;
    return reason;
}

}  // namespace velmora::engine
