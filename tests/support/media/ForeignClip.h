// MP4 files as other programs write them: with libavformat and any of its encoders.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace velmora::test {

struct ForeignClip {
    std::string encoder = "libx264";
    std::string encoderOptions = {};  ///< "key=value:key=value", as FFmpeg takes them
    std::string muxerOptions = {};  ///< the same; "movflags=…"
    std::int32_t width = 320;
    std::int32_t height = 240;
    int pictureCount = 60;
    int rate = 30;
    int keyFrameInterval = 30;
    int bFrames = 2;
    int quarterTurns = 0;  ///< clockwise: how the picture has to be turned to stand upright
    std::int32_t pixelShape = 1;  ///< how many times wider than high a pixel is
    int matrix = 2;  ///< of the colour, by its number in ISO 23091-2; 2: the stream says nothing
    bool fullRange = false;
    std::uint8_t cb = 120;  ///< the chroma of all pictures, everywhere
    std::uint8_t cr = 130;
};

/// Writes pictures with the numbers 0, 1, 2, … (numberInPicture()) to `path`. Throws std::runtime_error if FFmpeg refuses.
void writeForeignClip(const std::filesystem::path& path, const ForeignClip& clip = {});

}  // namespace velmora::test
