#include "tests/support/media/DecodedWebp.h"

#include "tests/support/media/EncodedClip.h"

#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include <webp/demux.h>

namespace velmora::test {

DecodedPicture pictureOfPixels(const Pixels& pixels)
{
    std::vector<std::uint8_t> luma(static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height));
    std::array<double, 3> sum{};
    for (int y = 0; y < pixels.height; ++y) {
        for (int x = 0; x < pixels.width; ++x) {
            const auto* pixel = pixels.bytes + y * pixels.lineSize + x * 4;
            const std::array<int, 3> colour{pixel[pixels.redAt], pixel[1], pixel[2 - pixels.redAt]};
            for (std::size_t i = 0; i < 3; ++i)
                sum[i] += colour[i];
            luma[static_cast<std::size_t>(y * pixels.width + x)] = static_cast<std::uint8_t>((colour[0] + 2 * colour[1] + colour[2]) / 4);
        }
    }
    for (auto& value : sum)
        value /= static_cast<double>(luma.size());
    return {pixels.time, numberInPicture(luma.data(), pixels.width, pixels.width, pixels.height), sum};
}

DecodedFile decodeWebp(const std::filesystem::path& path)
{
    std::ifstream stream{path, std::ios::binary};
    const std::vector<char> bytes{std::istreambuf_iterator<char>{stream}, {}};
    const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
    DecodedFile file;
    const std::unique_ptr<WebPAnimDecoder, decltype(&WebPAnimDecoderDelete)> decoder{
        WebPAnimDecoderNew(&data, nullptr), WebPAnimDecoderDelete};
    WebPAnimInfo info;
    file.opened = decoder && WebPAnimDecoderGetInfo(decoder.get(), &info) != 0;
    if (!file.opened)
        return file;
    file.hasVideo = true;
    file.width = static_cast<std::int32_t>(info.canvas_width);
    file.height = static_cast<std::int32_t>(info.canvas_height);
    int begin = 0;
    while (WebPAnimDecoderHasMoreFrames(decoder.get()) != 0) {
        std::uint8_t* pixels = nullptr;
        int end = 0;
        if (WebPAnimDecoderGetNext(decoder.get(), &pixels, &end) == 0) {
            file.complaints.emplace_back("a picture is not decodable");
            break;
        }
        file.pictures.push_back(pictureOfPixels({begin / 1000.0, pixels, file.width * 4, file.width, file.height, 0}));
        begin = end;
    }
    file.duration = file.videoDuration = begin / 1000.0;
    return file;
}

}  // namespace velmora::test
