// Key frames of a window that stands still, encoded once and put out again and again.
#pragma once

#include "media/SampleBuffer.h"

#include <array>
#include <cstddef>
#include <optional>

namespace velmora::engine {

/// A picture that stays is a key frame every half second, and all of these are alike: the encoder makes two, and they take turns. Two,
/// because the idr_pic_id of key frames that follow each other differs (ITU-T H.264 7.4.3), and encoders that alternate it use two
/// numbers. Used on one thread.
class StillKeyFrames {
public:
    /// Another picture is shown from now on.
    void pictureChanged();

    /// The encoder has made this key frame from the picture that is shown.
    void encoded(DataBlock keyFrame);

    /// The encoder has made a frame from that picture that is not a key frame.
    void encodedOther();

    /// The key frame to put out for the picture that is shown. None until the encoder has made two alike: after motion the rate control
    /// may allow the first ones fewer bits than those that follow, or more.
    std::optional<DataBlock> repeat();

    /// What was put out last is not the encoder's last: the next frame that it makes would refer to one that decoders do not have.
    [[nodiscard]] bool isEncoderAside() const { return isEncoderAside_; }

    /// The encoder's next key frame would moreover have the number of the one that was put out last.
    [[nodiscard]] bool isNumberTaken() const { return isEncoderAside_ && olderIsOut_; }

    /// What the encoder makes next will be a key frame with a number of its own.
    void encoderIsBack() { isEncoderAside_ = false; }

private:
    std::array<DataBlock, 2> keyFrames_;  ///< the older one first
    std::size_t count_ = 0;
    std::size_t next_ = 0;
    bool newerIsEncodersLast_ = false;
    bool olderIsOut_ = false;
    bool isEncoderAside_ = false;
};

}  // namespace velmora::engine
