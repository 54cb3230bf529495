// A recorded file as a player sees it: everything in it read and decoded by libavformat and libavcodec, edit lists honoured.
#pragma once

#include "tests/support/FrameNumber.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

struct ClipPacket {
    double time = 0;  ///< seconds
    std::int64_t pts = 0;
    std::int64_t dts = 0;
    std::int64_t bytes = 0;
    bool isKey = false;
};

struct ClipPicture {
    double time = 0;  ///< seconds
    int width = 0;
    int height = 0;
    int brightness = 0;  ///< of the middle of the picture, 0 to 255
    FrameNumberReading reading;
    std::size_t part = 0;  ///< in which of the parts the number was read
};

/// Names of codec, profile and colours as ffprobe prints them.
struct ClipVideo {
    std::string codec;
    std::string profile;
    int width = 0;
    int height = 0;
    int reorderedFrames = 0;  ///< how many B-frames a decoder has to expect
    std::string primaries;
    std::string transfer;
    std::string matrix;
    std::string range;
    std::string pixelFormat;
    double start = 0;
    double duration = 0;
    std::vector<ClipPacket> packets;
    std::vector<ClipPicture> pictures;

    [[nodiscard]] double bitRate() const;  ///< of the packets, bits per second
};

struct ClipAudio {
    std::string codec;
    int sampleRate = 0;
    int channelCount = 0;
    double duration = 0;
    std::vector<ClipPacket> packets;
    double start = 0;  ///< of the first sample
    std::vector<float> samples;  ///< interleaved

    [[nodiscard]] double bitRate() const;
    [[nodiscard]] std::size_t frames() const { return channelCount == 0 ? 0 : samples.size() / static_cast<std::size_t>(channelCount); }
    [[nodiscard]] double secondsOf(std::size_t frame) const { return start + static_cast<double>(frame) / sampleRate; }

    /// How loud `tone` is and how much louder or quieter `other`, in dB, in the eighth of a second in which `other` is quietest against
    /// it: if the player itself stumbles, a break in its tone is heard at every frequency.
    struct Levels {
        double tone = -200;
        double otherAgainstTone = 0;
    };
    [[nodiscard]] Levels levels(double tone, double other, int channel = 0) const;
};

struct RecordedClip {
    bool opened = false;
    std::vector<std::string> complaints;  ///< what the libraries logged as errors
    double duration = 0;  ///< of the container
    std::optional<ClipVideo> video;
    std::optional<ClipAudio> audio;
};

/// Sees each picture while it is decoded.
using LookAtPicture = std::function<void(const PictureView& luma, const ClipPicture& picture)>;

/// Frame numbers are read in the first of `parts` in which there is one; in the whole picture when there are no parts.
RecordedClip readClip(const std::filesystem::path& file, const std::vector<PicturePart>& parts = {}, const LookAtPicture& look = {});

/// The types of the boxes at the top of the file, in order (ISO 14496-12 4.2). Ends with "?" where the bytes are not a box.
std::vector<std::string> topLevelBoxes(const std::filesystem::path& file);

/// For every flash of the picture with a beep of 1000 Hz within half a second: beep minus flash, in seconds. As in
/// makeFlashAndBeepClip().
std::vector<double> beepsAgainstFlashes(const RecordedClip& clip);

/// The middle one.
double median(std::vector<double> values);

}  // namespace velmora::test
