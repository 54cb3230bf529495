// Which compressed pictures may begin a recording while the pictures change their size.
#pragma once

#include "base/Mutex.h"
#include "media/MediaTime.h"

#include <cstdint>
#include <optional>

namespace velmora {

struct PictureSize {
    std::int32_t width = 0;
    std::int32_t height = 0;

    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// Open until a change begins; then it admits nothing until a picture of the new size has come, and from then on nothing from before it: what
/// an encoder still has of the former size gets into no file with pictures of the new one. Thread-safe.
class PictureSizeGate {
public:
    /// Pictures of this size are to come.
    void beginChange(PictureSize size)
    {
        MutexLock lock(mutex_);
        awaited_ = size;
    }

    /// None has come and none will. What was admitted before is again.
    void abandonChange()
    {
        MutexLock lock(mutex_);
        awaited_.reset();
    }

    /// For every picture, before it is compressed.
    void note(PictureSize size, MediaTime time)
    {
        MutexLock lock(mutex_);
        if (awaited_ != size)
            return;
        awaited_.reset();
        begin_ = time;
    }

    /// For every picture once it is compressed.
    [[nodiscard]] bool admits(MediaTime time) const
    {
        MutexLock lock(mutex_);
        return !awaited_ && (!begin_ || time >= *begin_);
    }

    /// For another stream.
    void reset()
    {
        MutexLock lock(mutex_);
        awaited_.reset();
        begin_.reset();
    }

private:
    mutable Mutex mutex_;
    std::optional<PictureSize> awaited_ GUARDED_BY(mutex_);
    std::optional<MediaTime> begin_ GUARDED_BY(mutex_);
};

}  // namespace velmora
