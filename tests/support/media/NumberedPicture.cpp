#include "tests/support/media/NumberedPicture.h"

#include "tests/support/media/EncodedClip.h"

#include <cstring>

namespace velmora::test {

namespace {

constexpr int barCount = 16;
constexpr int bitCount = 12;

}  // namespace

void paintNumber(AVFrame& frame, int number)
{
    const int bar = frame.width / barCount;
    for (int y = 0; y < frame.height; ++y) {
        auto* line = frame.data[0] + y * frame.linesize[0];
        for (int x = 0; x < frame.width; ++x) {
            const int bit = x / bar;
            const bool isBar = y < frame.height / 2 && bit < bitCount;
            const bool white = isBar && ((number >> bit) & 1) != 0;
            line[x] = static_cast<std::uint8_t>(isBar ? (white ? 220 : 30) : (x * 3 + y * 5 + number * 7) % 200 + 20);
        }
    }
    for (int plane = 1; plane < 3; ++plane)
        std::memset(frame.data[plane], 110 + plane * 10, static_cast<std::size_t>(frame.linesize[plane] * frame.height / 2));
}

int numberInPicture(const std::uint8_t* luma, int lineSize, int width, int height)
{
    const int bar = width / barCount;
    int number = 0;
    for (int bit = 0; bit < bitCount; ++bit) {
        if (luma[height / 4 * lineSize + bit * bar + bar / 2] > 125)
            number |= 1 << bit;
    }
    return number;
}

}  // namespace velmora::test
