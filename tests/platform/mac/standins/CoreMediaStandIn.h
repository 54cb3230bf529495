// Objects of Core Media and Core Video as their systems make them, and what the stand-ins say of their use. Each is made with one
// reference, which is the caller's. Any thread.
#pragma once

#include <CoreMedia/CoreMedia.h>
#include <cstdint>
#include <string>
#include <vector>

namespace velmora::standin {

/// With 64 bytes behind each row.
[[nodiscard]] CVPixelBufferRef makePixelBuffer(std::size_t width, std::size_t height, OSType format = kCVPixelFormatType_32BGRA);

/// Somebody has locked its memory and not unlocked it.
[[nodiscard]] bool isLocked(CVPixelBufferRef pixels);

struct FrameParts {
    std::int32_t width = 64;
    std::int32_t height = 48;
    CMTime time = kCMTimeInvalid;
    CMTime duration = kCMTimeInvalid;
    std::vector<std::vector<std::uint8_t>> pieces{{0, 0, 0, 1, 0x65}};  ///< of its bytes, which may lie apart
    std::vector<std::vector<std::uint8_t>> parameterSets{{0x67, 100, 0, 31, 0xAC}, {0x68, 0xEE}};
    int lengthSize = 4;  ///< bytes before each part of the frame
    bool saysBt709 = true;
    std::vector<CFStringRef> attachments{};  ///< those that are there and true
    bool hasAttachments = true;  ///< an array at all
};
[[nodiscard]] CMFormatDescriptionRef makeFormat(const FrameParts& parts);

/// `format` is one of makeFormat(), which frames may share.
[[nodiscard]] CMSampleBufferRef makeFrame(const FrameParts& parts, CMFormatDescriptionRef format);

struct SoundParts {
    std::vector<std::vector<float>> channels{{0.F}, {0.F}};  ///< of the same length each
    CMTime time = kCMTimeInvalid;
    double sampleRate = 48000;
    bool isPlanar = true;  ///< a buffer for each channel
    bool isFloat = true;
};
[[nodiscard]] CMSampleBufferRef makeSound(const SoundParts& parts);

/// A sample as a capture has it: none where there is no picture.
[[nodiscard]] CMSampleBufferRef makePicture(CVPixelBufferRef pixels, CMTime time, CFArrayRef attachments);

/// A format as a program has described it.
struct DescribedFormat {
    CMVideoCodecType codec = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::string box;  ///< in which the configuration is
    std::vector<std::uint8_t> configuration;
};
[[nodiscard]] DescribedFormat describedFormat(CMFormatDescriptionRef format);

/// Of a sample that a program has made of its own memory.
[[nodiscard]] std::vector<std::uint8_t> sampleBytes(CMSampleBufferRef sample);

}  // namespace velmora::standin
