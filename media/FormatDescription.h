// What the bytes of a sample are.
#pragma once

#include "media/FourCharacterCode.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

namespace velmora {

enum class MediaType { video, audio };

/// Colour as numbered by ISO 23091-2 (also H.264 E.2.1); 2 is "unspecified".
struct ColourDescription {
    std::uint16_t primaries = 2;
    std::uint16_t transfer = 2;
    std::uint16_t matrix = 2;
    bool fullRange = false;

    /// BT.709 with limited range: what this system writes.
    static constexpr ColourDescription bt709() { return {1, 1, 1, false}; }

    friend bool operator==(const ColourDescription&, const ColourDescription&) = default;
};

struct VideoFormat {
    FourCharacterCode codec;  ///< "avc1" for H.264, "BGRA" for pictures
    std::int32_t width = 0;  ///< pixels as shown (after cropping)
    std::int32_t height = 0;
    ColourDescription colour;
    /// AVCDecoderConfigurationRecord for "avc1" (ISO 14496-15 5.3.3.1), whose samples then have 4-byte length prefixes; else empty.
    std::vector<std::byte> decoderConfiguration;

    friend bool operator==(const VideoFormat&, const VideoFormat&) = default;
};

struct AudioFormat {
    FourCharacterCode codec;  ///< "lpcm" for raw sound, "mp4a" for AAC
    std::int32_t sampleRate = 0;
    std::int32_t channelCount = 0;
    /// AudioSpecificConfig for "mp4a" (ISO 14496-3 1.6.2.1); else empty. "lpcm" is interleaved native-endian 32-bit float.
    std::vector<std::byte> decoderConfiguration;

    friend bool operator==(const AudioFormat&, const AudioFormat&) = default;
};

/// Immutable; shared by every sample of a stream, so that "same format" is usually one pointer comparison.
class FormatDescription {
public:
    explicit FormatDescription(VideoFormat format) : format_(std::move(format)) { }
    explicit FormatDescription(AudioFormat format) : format_(std::move(format)) { }

    [[nodiscard]] MediaType mediaType() const { return video() ? MediaType::video : MediaType::audio; }
    [[nodiscard]] const VideoFormat* video() const { return std::get_if<VideoFormat>(&format_); }
    [[nodiscard]] const AudioFormat* audio() const { return std::get_if<AudioFormat>(&format_); }

    friend bool operator==(const FormatDescription&, const FormatDescription&) = default;

private:
    std::variant<VideoFormat, AudioFormat> format_;
};

using FormatDescriptionRef = std::shared_ptr<const FormatDescription>;

}  // namespace velmora
