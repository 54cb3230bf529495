#include "engine/sharing/SharedCopy.h"

#include "engine/sharing/SmallFilePlan.h"
#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

namespace velmora::engine {

namespace {

using platform::TranscodingErrorCode;

/// Rounded up, so that what is said to suffice does.
std::string sizeText(double bytes)
{
    const bool isSmall = bytes < 1e6;
    char text[32];
    std::snprintf(text, sizeof text, isSmall || bytes >= 10e6 ? "%.0f %s" : "%.1f %s",
        isSmall ? std::ceil(bytes / 1e3) : std::ceil(bytes / 1e5) / 10, isSmall ? "KB" : "MB");
    // The decimal point follows the locale.
    std::replace(text, text + sizeof text, ',', '.');
    return text;
}

std::string lengthText(double seconds)
{
    const auto whole = static_cast<long long>(std::llround(seconds));
    char text[40];
    std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

}  // namespace

tl::unexpected<Error> sharingFailure(TranscodingErrorCode code, std::string description)
{
    return fail(std::string{platform::transcodingErrorDomain}, static_cast<int>(code), std::move(description));
}

tl::unexpected<Error> limitTooSmall(double limit, double seconds, double least)
{
    return sharingFailure(TranscodingErrorCode::limitTooSmall,
        sizeText(limit) + " are too little for a clip of " + lengthText(seconds) + ", even with the smallest pictures: it takes about "
            + sizeText(least) + ".");
}

tl::unexpected<Error> limitMissed(double limit)
{
    return sharingFailure(TranscodingErrorCode::missed, "The clip could not be made to fit into " + sizeText(limit) + ".");
}

std::int64_t soundBitRateFor(double limit, double seconds, double sourceBytesPerSecond)
{
    // Bytes a second, far above what sound can use.
    constexpr double unlimited = 1e6;
    return limit > 0 ? soundBitRate(limit / seconds, sourceBytesPerSecond) : soundBitRate(unlimited, unlimited);
}

Result<bool> copyBytes(mp4::File& source, std::uint64_t size, mp4::File& target, const std::function<bool(double)>& progress)
{
    std::vector<std::byte> buffer(std::size_t{1} << 20);
    for (std::uint64_t done = 0; done < size;) {
        if (!progress(static_cast<double>(done) / static_cast<double>(size)))
            return false;
        const auto block = std::min<std::uint64_t>(size - done, std::uint64_t{8} << 20);
        const auto complete = target.copyFrom(source, done, done, block, buffer);
        if (!complete)
            return fail(complete.error());
        if (!*complete)
            return fail(mp4::makeError(mp4::ErrorCode::damaged, "The file became shorter while it was being copied."));
        done += block;
    }
    return true;
}

}  // namespace velmora::engine
