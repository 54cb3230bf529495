// Which pictures of a clip's copy are key frames, beside those that begin a scene.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmora::engine {

/// Where somebody who looks through the copy can go to: after eight seconds, but of few pictures, as a window has that stood still, only
/// once there are 240 of them or a minute has passed. There key frames would take nearly all of a small file. Not thread-safe.
class CopyKeyFrames {
public:
    static constexpr double leastSeconds = 8;
    static constexpr double mostSeconds = 60;
    static constexpr std::int64_t leastPictures = 240;

    /// `ticksPerSecond` is the unit of the times that follow.
    explicit CopyKeyFrames(std::int64_t ticksPerSecond) : ticksPerSecond_(static_cast<double>(ticksPerSecond)) { }

    /// Of each picture in turn, whether it has to be a key frame. The first one is one by itself.
    bool take(std::int64_t time)
    {
        if (isFirst_) {
            isFirst_ = false;
            last_ = time;
            return false;
        }
        ++picturesSince_;
        const auto seconds = static_cast<double>(time - last_) / ticksPerSecond_;
        if (seconds < leastSeconds || (picturesSince_ < leastPictures && seconds < mostSeconds))
            return false;
        last_ = time;
        picturesSince_ = 0;
        return true;
    }

    /// About how many there are among so many pictures, the first one included.
    [[nodiscard]] static double expectedCount(double seconds, double pictureCount)
    {
        return std::ceil(std::max(1.0, std::min(seconds / leastSeconds, std::max(pictureCount / leastPictures, seconds / mostSeconds))));
    }

private:
    double ticksPerSecond_;
    std::int64_t last_ = 0;
    std::int64_t picturesSince_ = 0;
    bool isFirst_ = true;
};

}  // namespace velmora::engine
