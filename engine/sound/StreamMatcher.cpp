#include "engine/sound/StreamMatcher.h"

#include <utility>

namespace velmora::engine {

std::int32_t knownProcess(const StreamIdentity& stream, const ProcessTree::Reader& reader)
{
    if (stream.processIDIsCertain)
        return stream.processID;
    // 1 and 2 are the first process and the kernel's, neither of which plays: a program in a pid namespace is often 1 or 2 there.
    // One that came through a portal lives in such a namespace too.
    if (stream.processID <= 2 || !stream.portalApplicationID.empty() || !reader(stream.processID))
        return 0;
    return stream.processID;
}

ApplicationIdentity applicationIdentity(const StreamIdentity& stream)
{
    return {.name = stream.applicationName, .binary = stream.binary, .portalApplicationID = stream.portalApplicationID};
}

StreamMatcher::StreamMatcher(const AudioTarget& target, Processes processes)
    : target_(target)
    , processes_(std::move(processes))
    , tree_(target.processID, target.ownsWindowsOfAnotherApplication, processes_.record)
    , beginning_(processes_.now())
    , targetLived_(tree_.contains(target.processID))
{
}

/// Whether it runs, or ran, beside the process that was chosen.
bool StreamMatcher::isAnotherInstance(std::int32_t process) const
{
    if (!targetLived_ || process <= 0)
        return false;
    const auto record = processes_.record(process);
    return tree_.contains(target_.processID) || !record || record->startTime <= beginning_;
}

StreamMatch StreamMatcher::match(const StreamIdentity& stream) const
{
    const auto process = knownProcess(stream, processes_.record);
    if (target_.excludesCurrentProcess && process == processes_.own)
        return StreamMatch::none;
    const bool bothProcessesKnown = process > 0 && target_.processID > 0;
    if (bothProcessesKnown && tree_.contains(process))
        return StreamMatch::processTree;
    if (!target_.portalApplicationID.empty() && !stream.portalApplicationID.empty()) {
        return target_.portalApplicationID == stream.portalApplicationID ? StreamMatch::portalApplication : StreamMatch::none;
    }
    if (target_.isFollowedByName) {
        const ApplicationIdentity wanted{target_.applicationName, target_.bundleIdentifier, target_.portalApplicationID};
        return !isAnotherInstance(process) && isSameApplication(wanted, applicationIdentity(stream)) ? StreamMatch::name
                                                                                                     : StreamMatch::none;
    }
    if (bothProcessesKnown)
        return StreamMatch::none;
    for (const auto& wanted : {target_.applicationName, target_.bundleIdentifier}) {
        if (equalNames(wanted, stream.applicationName) || equalNames(wanted, stream.binary))
            return StreamMatch::name;
    }
    return StreamMatch::none;
}

}  // namespace velmora::engine
