// What a player would show and play of a file: everything decoded by libavformat and libavcodec, edit lists honoured.
#pragma once

#include "media/FormatDescription.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace velmora::test {

struct DecodedPicture {
    double time = 0;  ///< seconds
    int number = 0;  ///< painted into it by encodeClip
    std::array<double, 3> colour{};  ///< red, green and blue as they are seen, on average, 0 to 255
};

struct DecodedFile {
    bool opened = false;
    std::vector<std::string> complaints;  ///< what the libraries logged as errors
    double duration = 0;  ///< of the container, seconds

    bool hasVideo = false;
    std::vector<DecodedPicture> pictures;
    std::vector<double> keyFrames;  ///< seconds, as the container says
    double videoDuration = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    ColourDescription colour;

    bool hasAudio = false;
    std::int32_t sampleRate = 0;
    std::int32_t channelCount = 0;
    std::int64_t firstFrame = 0;  ///< time of the first decoded frame of sound, in frames
    std::vector<float> sound;  ///< first channel, from firstFrame on; gaps are silent

    /// Frames (on the file's time line) at which the sound peaks above `level`, the loudest in each neighbourhood of 512.
    [[nodiscard]] std::vector<std::int64_t> peaks(float level = 0.3F) const;
    [[nodiscard]] std::int64_t endFrame() const { return firstFrame + static_cast<std::int64_t>(sound.size()); }
};

DecodedFile decodeFile(const std::filesystem::path& path);

}  // namespace velmora::test
