// What the transcoders of GIF, WebP and WebM have in common: pictures from the clip through filters to an encoder.
#pragma once

#include "engine/codecs/MovieCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"
#include "platform/linux/ffmpeg/PictureFilter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace velmora::linux_backend {

/// What both WebP and WebM count times in.
inline constexpr AVRational milliseconds{1, 1000};

[[nodiscard]] tl::unexpected<Error> movieFailure(int averror);

/// Takes a picture as it comes out of the filters; its time, in ticks of engine::pictureTimescale, is its `pts`. 0 or an AVERROR, of which
/// AVERROR_EXIT says that no more is wanted.
using TakeFiltered = std::function<int(AVFrame&)>;

struct FilteredPictures {
    const VideoFormat& format;
    const engine::MovieEncoding& encoding;
    /// In libavfilter's language, from "in" to "out", behind the turning.
    std::string filters;
    /// A picture for a second input of the filters, "palette"; may be null.
    AVFrame* palette = nullptr;
};

/// Scales the pictures of the part, turns them upright and filters them. `progress` is told a part of the work, 0 to 1. False: it returned
/// false, or no more was wanted.
Result<bool> filterPictures(
    engine::CodedSamples& source, const FilteredPictures& pictures, const std::function<bool(double)>& progress, const TakeFiltered& take);

/// Pictures on a format's own time line. One that falls onto the tick of the one before it is left out: what is shown for no time means
/// another thing, or nothing.
class PictureTicks {
public:
    explicit PictureTicks(AVRational tick) : tick_(tick) { }

    /// Puts a filtered picture onto the line; false: it is left out.
    [[nodiscard]] bool take(AVFrame& picture);

    /// How many ticks so much of the clip takes, in ticks of engine::pictureTimescale.
    [[nodiscard]] std::int64_t countIn(std::int64_t duration) const;

    [[nodiscard]] std::int64_t last() const { return last_; }
    [[nodiscard]] std::size_t count() const { return count_; }

private:
    const AVRational tick_;
    std::int64_t last_ = 0;
    std::size_t count_ = 0;
};

/// An encoder for pictures like `first`, with times in `timeBase`; not opened yet. Null: out of memory.
[[nodiscard]] AvCodecContext makePictureEncoder(
    const AVCodec& codec, const AVFrame& first, const engine::MovieEncoding& encoding, AVRational timeBase);

/// Hands a picture (null: none follows) to the encoder, and each packet that comes out to `take`. 0 or an AVERROR.
[[nodiscard]] int encodePicture(AVCodecContext& encoder, AVFrame* picture, const std::function<int(AVPacket&)>& take);

}  // namespace velmora::linux_backend
