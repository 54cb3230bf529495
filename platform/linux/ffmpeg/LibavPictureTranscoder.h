// A clip's pictures by libavcodec, libswscale and x264.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

namespace velmora::linux_backend {

/// Threads that it starts have the priority of the calling one.
class LibavPictureTranscoder final : public engine::PictureTranscoder {
public:
    static Result<std::unique_ptr<engine::PictureTranscoder>> create(const VideoFormat& format);

    Result<FormatDescriptionRef> transcode(engine::CodedSamples& source, const engine::PictureEncoding& encoding,
        const engine::PictureProgress& progress, const engine::TakePicture& take) override;

private:
    explicit LibavPictureTranscoder(const VideoFormat& format) : format_(format) { }

    const VideoFormat format_;
};

}  // namespace velmora::linux_backend
