// How hard a software encoder may try on this machine, beside all else that runs on it.
#pragma once

#include "base/MonotonicClock.h"
#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <chrono>
#include <functional>

namespace velmora::linux_backend {

/// What a picture may take of the sixtieth of a second that it has, about a third: the window's own program, which decodes and draws it,
/// needs the processors too, and what a busier moment costs is not known yet.
inline constexpr std::chrono::milliseconds greatestPictureTime{6};

/// Encodes some pictures of moving shades and grain and says how long one takes: the median, without the first few, which warm up, where
/// there is time for more. By the clock, so that a machine that is busy counts as slow. Stops early where a few pictures take long. The
/// encoder is used up.
[[nodiscard]] tl::expected<std::chrono::nanoseconds, AvError> measurePictureTime(
    VideoEncoder& encoder, const VideoEncoderSettings& settings, const std::function<MonotonicTime()>& now = MonotonicClock::now);

/// Normal effort where a picture takes no longer than `greatestPictureTime` with it.
[[nodiscard]] EncodingEffort effortWithin(std::chrono::nanoseconds pictureTime);

}  // namespace velmora::linux_backend
