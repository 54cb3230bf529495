#include "engine/sound/SoundingApplications.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace velmora::engine {

namespace {

/// What programs call a stream for which they have no name.
bool saysNothing(const std::string& mediaName)
{
    static constexpr std::array<std::string_view, 4> placeholders{"playback", "playback stream", "audio stream", "audiostream"};
    return mediaName.empty()
        || std::any_of(placeholders.begin(), placeholders.end(), [&](auto placeholder) { return equalNames(placeholder, mediaName); });
}

bool belongTogether(const SoundingApplication& application, const SoundingApplication& stream)
{
    if (!application.identity.portalApplicationID.empty() || !stream.identity.portalApplicationID.empty())
        return application.identity.portalApplicationID == stream.identity.portalApplicationID;
    if (application.processID > 0 || stream.processID > 0)
        return application.processID == stream.processID;
    return isSameApplication(application.identity, stream.identity);
}

}  // namespace

std::string SoundingApplication::displayName() const
{
    if (!identity.name.empty())
        return identity.name;
    return identity.binary.empty() ? identity.portalApplicationID : identity.binary;
}

std::vector<SoundingApplication> soundingApplications(const std::vector<SoundStream>& streams, const Processes& processes)
{
    const ProcessTree ourselves{processes.own, {}, processes.record};
    std::vector<SoundingApplication> applications;
    for (const auto& stream : streams) {
        const auto process = knownProcess(stream.identity, processes.record);
        SoundingApplication application{
            .identity = applicationIdentity(stream.identity),
            .processID = process > 0 ? topmostOfProgram(process, processes.record, processes.executable) : 0,
            .nowPlaying = saysNothing(stream.mediaName) ? std::string{} : stream.mediaName,
            .isPlaying = stream.isPlaying,
        };
        if (!application.identity.isKnown() || ourselves.contains(process))
            continue;
        const auto known =
            std::find_if(applications.begin(), applications.end(), [&](const auto& other) { return belongTogether(other, application); });
        if (known == applications.end()) {
            applications.push_back(std::move(application));
            continue;
        }
        if (known->nowPlaying.empty() || (application.isPlaying && !known->isPlaying && !application.nowPlaying.empty()))
            known->nowPlaying = application.nowPlaying;
        known->isPlaying = known->isPlaying || application.isPlaying;
    }
    for (auto& application : applications) {
        if (equalNames(application.nowPlaying, application.displayName()))
            application.nowPlaying.clear();
    }
    std::stable_sort(applications.begin(), applications.end(),
        [](const auto& a, const auto& b) { return a.isPlaying != b.isPlaying ? a.isPlaying : a.displayName() < b.displayName(); });
    return applications;
}

}  // namespace velmora::engine
