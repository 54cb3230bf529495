#include "platform/linux/ffmpeg/EncodingHeadroom.h"

#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace velmora::linux_backend {

namespace {

constexpr std::size_t warmingPictures = 2;
constexpr std::size_t measuredPictures = 5;

/// Whoever starts a capture waits at most this long, give or take a picture.
constexpr std::chrono::milliseconds patience{120};

/// A camera's grain, from so many random values that none is repeated near itself.
class Grain {
public:
    Grain()
    {
        std::uint32_t state = 1;
        for (auto& value : values_) {
            state = state * 1'664'525U + 1'013'904'223U;
            value = static_cast<std::uint8_t>(state >> 28U);
        }
    }

    [[nodiscard]] std::uint8_t at(std::size_t x, std::size_t y) const { return values_[(y * stride + x) % values_.size()]; }

private:
    static constexpr std::size_t stride = 521;
    std::array<std::uint8_t, 65'521> values_{};
};

/// Shades that move slantwise, each time under different grain: what video costs, neither the least nor the most that a picture can.
void paint(AVFrame& frame, std::size_t number, const Grain& grain)
{
    const std::size_t shift = 3 * number;
    for (int y = 0; y < frame.height; ++y) {
        auto* row = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
        const auto down = static_cast<std::size_t>(y);
        for (std::size_t x = 0; x < static_cast<std::size_t>(frame.width); ++x) {
            const std::size_t shade = ((x + shift) ^ (down + shift)) & 127U;
            row[x] = static_cast<std::uint8_t>(48 + shade + grain.at(x + 97 * number, down));
        }
    }
    removeColours(frame);
}

}  // namespace

tl::expected<std::chrono::nanoseconds, AvError> measurePictureTime(
    VideoEncoder& encoder, const VideoEncoderSettings& settings, const std::function<MonotonicTime()>& now)
{
    const Grain grain;
    std::vector<VideoEncoder::Packet> packets;
    std::vector<std::chrono::nanoseconds> times;
    const auto begin = now();
    for (std::size_t number = 0; number < warmingPictures + measuredPictures; ++number) {
        // The encoder may keep a picture, so each is a new one.
        const AvFrame picture = makeYuv420Frame(encoder.layout(), settings.width, settings.height);
        if (!picture)
            return tl::unexpected(AVERROR(ENOMEM));
        paint(*picture, number, grain);
        const auto before = now();
        if (const int error =
                encoder.encode(*picture, static_cast<std::int64_t>(number) * VideoEncoder::timescale / 60, number == 0, packets))
            return tl::unexpected(error);
        const auto after = now();
        if (number >= warmingPictures || after - begin > patience)
            times.push_back(after - before);
        if (after - begin > patience)
            break;
    }
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

EncodingEffort effortWithin(std::chrono::nanoseconds pictureTime)
{
    return pictureTime <= greatestPictureTime ? EncodingEffort::normal : EncodingEffort::low;
}

}  // namespace velmora::linux_backend
