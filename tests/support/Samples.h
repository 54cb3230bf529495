// Samples as a stream and an encoder make them, but with nothing in them.
#pragma once

#include "media/SampleBuffer.h"

#include <memory>
#include <vector>

namespace velmora::test {

inline PixelBufferRef picture(std::int32_t width, std::int32_t height)
{
    auto owner = std::make_shared<std::vector<std::byte>>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    auto buffer = std::make_shared<PixelBuffer>();
    buffer->width = width;
    buffer->height = height;
    buffer->bytesPerRow = static_cast<std::size_t>(width) * 4;
    buffer->baseAddress = owner->data();
    buffer->owner = std::move(owner);
    return buffer;
}

inline SampleBufferRef screenSample(std::int64_t nanoseconds, std::int32_t width = 640, std::int32_t height = 480)
{
    auto sample = std::make_shared<SampleBuffer>();
    sample->presentationTimeStamp = MediaTime::nanoseconds(nanoseconds);
    sample->duration = MediaTime{1, 60};
    sample->imageBuffer = picture(width, height);
    return sample;
}

inline SampleBufferRef audioSample(std::int64_t nanoseconds)
{
    static const auto format = std::make_shared<const FormatDescription>(AudioFormat{FourCharacterCode{"lpcm"}, 48000, 2, {}});
    auto sample = std::make_shared<SampleBuffer>();
    sample->format = format;
    sample->presentationTimeStamp = MediaTime::nanoseconds(nanoseconds);
    sample->duration = MediaTime{1024, 48000};
    sample->sampleCount = 1024;
    sample->data = DataBlock::owning(std::vector<std::byte>(std::size_t{1024} * 2 * 4));
    return sample;
}

inline SampleBufferRef videoSample(std::int64_t nanoseconds, bool keyFrame)
{
    static const auto format = std::make_shared<const FormatDescription>(VideoFormat{FourCharacterCode{"avc1"}, 640, 480, {}, {}});
    auto sample = std::make_shared<SampleBuffer>();
    sample->format = format;
    sample->presentationTimeStamp = MediaTime::nanoseconds(nanoseconds);
    sample->duration = MediaTime{1, 60};
    sample->data = DataBlock::owning(std::vector<std::byte>(16));
    sample->attachments = keyFrame ? SampleBuffer::syncAttachments() : SampleBuffer::notSyncAttachments();
    return sample;
}

}  // namespace velmora::test
