#include "engine/codecs/StillKeyFrames.h"

#include <algorithm>
#include <utility>

namespace velmora::engine {

namespace {

/// Key frames of one picture whose sizes differ by no more than this part look alike.
constexpr std::size_t noticeablePart = 16;

bool areAlike(std::size_t one, std::size_t other)
{
    const auto [smaller, larger] = std::minmax(one, other);
    return larger - smaller <= smaller / noticeablePart;
}

}  // namespace

void StillKeyFrames::pictureChanged()
{
    keyFrames_ = {};
    count_ = 0;
    next_ = 0;
}

void StillKeyFrames::encoded(DataBlock keyFrame)
{
    keyFrames_[0] = std::exchange(keyFrames_[1], std::move(keyFrame));
    ++count_;
    next_ = 0;
    newerIsEncodersLast_ = true;
}

void StillKeyFrames::encodedOther()
{
    newerIsEncodersLast_ = false;
}

std::optional<DataBlock> StillKeyFrames::repeat()
{
    if (count_ < keyFrames_.size() || !areAlike(keyFrames_[0].bytes.size(), keyFrames_[1].bytes.size()))
        return std::nullopt;
    olderIsOut_ = next_ == 0;
    isEncoderAside_ = olderIsOut_ || !newerIsEncodersLast_;
    next_ = 1 - next_;
    return keyFrames_[olderIsOut_ ? 0 : 1];
}

}  // namespace velmora::engine
