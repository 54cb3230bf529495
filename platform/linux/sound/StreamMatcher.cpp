#include "platform/linux/sound/StreamMatcher.h"

#include <algorithm>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

bool equalNames(std::string_view a, std::string_view b)
{
    // ASCII only: names of programs as their authors write them, in one case or another.
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return !a.empty() && a.size() == b.size()
        && std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

StreamMatcher::StreamMatcher(const AudioTarget& target, ProcessTree::Reader reader)
    : target_(target)
    , reader_(reader)
    , tree_(target.processID, target.ownsWindowsOfAnotherApplication, std::move(reader))
{
}

/// The process as far as it can be relied on; 0 when it cannot.
std::int32_t StreamMatcher::knownProcess(const StreamIdentity& stream) const
{
    if (stream.processIDIsCertain)
        return stream.processID;
    // 1 and 2 are the first process and the kernel's, neither of which plays: a program in a pid namespace is often 1 or 2 there.
    // One that came through a portal lives in such a namespace too.
    if (stream.processID <= 2 || !stream.portalApplicationID.empty() || !reader_(stream.processID))
        return 0;
    return stream.processID;
}

StreamMatch StreamMatcher::match(const StreamIdentity& stream) const
{
    const auto process = knownProcess(stream);
    if (target_.excludesCurrentProcess && process == ::getpid())
        return StreamMatch::none;
    const bool bothProcessesKnown = process > 0 && target_.processID > 0;
    if (bothProcessesKnown && tree_.contains(process))
        return StreamMatch::processTree;
    if (!target_.portalApplicationID.empty() && !stream.portalApplicationID.empty()) {
        return target_.portalApplicationID == stream.portalApplicationID ? StreamMatch::portalApplication : StreamMatch::none;
    }
    if (bothProcessesKnown)
        return StreamMatch::none;
    for (const auto& wanted : {target_.applicationName, target_.bundleIdentifier}) {
        if (equalNames(wanted, stream.applicationName) || equalNames(wanted, stream.binary))
            return StreamMatch::name;
    }
    return StreamMatch::none;
}

}  // namespace velmora::linux_backend
