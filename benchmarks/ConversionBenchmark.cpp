// What a picture costs on its way into the encoder, and in it.

#include "engine/codecs/ColourConversion.h"
#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <benchmark/benchmark.h>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace velmora::linux_backend {
namespace {

/// A moving pattern of fields under a little grain.
class Scene {
public:
    Scene(std::int32_t width, std::int32_t height, int frame)
        : width_(width)
        , height_(height)
        , pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4)
    {
        std::uint32_t random = static_cast<std::uint32_t>(frame) + 1;
        std::size_t byte = 0;
        for (std::int32_t y = 0; y < height; ++y) {
            for (std::int32_t x = 0; x < width; ++x) {
                random = random * 1664525U + 1013904223U;
                const std::uint32_t grain = random >> 28;
                const auto field = static_cast<std::uint32_t>((x + 7 * frame) / 24 + (y + 3 * frame) / 24) % 5 * 40 + 20;
                for (const std::uint32_t value : {180 - field / 2 + grain, field / 2 + grain + 40, field + grain, 0U})
                    pixels_[byte++] = static_cast<std::byte>(value);
            }
        }
    }

    [[nodiscard]] engine::BgraView view() const { return {pixels_.data(), static_cast<std::size_t>(width_) * 4, width_, height_}; }

private:
    std::int32_t width_;
    std::int32_t height_;
    std::vector<std::byte> pixels_;
};

struct I420 {
    I420(std::int32_t width, std::int32_t height) : frame(av_frame_alloc())
    {
        frame->width = width;
        frame->height = height;
        frame->format = AV_PIX_FMT_YUV420P;
        av_frame_get_buffer(frame.get(), 0);
    }

    [[nodiscard]] engine::Yuv420View view() const
    {
        return {engine::Yuv420View::Layout::i420, frame->data[0], static_cast<std::size_t>(frame->linesize[0]), frame->data[1],
            frame->data[2], static_cast<std::size_t>(frame->linesize[1])};
    }

    AvFrame frame;
};

void convertOnPath(benchmark::State& state, engine::ConversionPath path)
{
    const auto width = static_cast<std::int32_t>(state.range(0));
    const auto height = static_cast<std::int32_t>(state.range(1));
    // A quarter of the picture: half its width, half its height, at odd coordinates.
    const PixelRect area =
        state.range(2) == 4 ? PixelRect{width / 4 + 1, height / 4 + 1, width / 2, height / 2} : PixelRect{0, 0, width, height};
    const Scene scene{width, height, 1};
    const I420 planes{width, height};
    for (auto _ : state) {
        engine::convertToYuv420(scene.view(), area, planes.view(), path);
        benchmark::ClobberMemory();
    }
}

void convertWithAvx2(benchmark::State& state)
{
    if (engine::fastestConversionPath() != engine::ConversionPath::avx2)
        state.SkipWithError("no AVX2 here");
    else
        convertOnPath(state, engine::ConversionPath::avx2);
}

void convertPortably(benchmark::State& state)
{
    convertOnPath(state, engine::ConversionPath::portable);
}

void convertWithSwscale(benchmark::State& state)
{
    const auto width = static_cast<std::int32_t>(state.range(0));
    const auto height = static_cast<std::int32_t>(state.range(1));
    const Scene scene{width, height, 1};
    const I420 planes{width, height};
    const AvScaler scaler{
        sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr)};
    const std::uint8_t* source[] = {reinterpret_cast<const std::uint8_t*>(scene.view().pixels)};
    const int stride[] = {4 * width};
    for (auto _ : state) {
        sws_scale(scaler.get(), source, stride, 0, height, planes.frame->data, planes.frame->linesize);
        benchmark::ClobberMemory();
    }
}

/// One moving picture, `superfast` (1) or `ultrafast` (0). Time is real time: two slices are encoded side by side.
void encode(benchmark::State& state)
{
    av_log_set_level(AV_LOG_QUIET);
    VideoEncoderSettings settings;
    settings.width = static_cast<std::int32_t>(state.range(0));
    settings.height = static_cast<std::int32_t>(state.range(1));
    settings.effort = state.range(2) == 1 ? EncodingEffort::normal : EncodingEffort::low;
    auto encoder = openVideoEncoder(videoEncoderCandidates().back(), settings);
    if (!encoder) {
        state.SkipWithError("no software encoder");
        return;
    }
    std::vector<I420> pictures;
    for (int frame = 0; frame < 16; ++frame) {
        const Scene scene{settings.width, settings.height, frame};
        pictures.emplace_back(settings.width, settings.height);
        engine::convertToYuv420(scene.view(), {0, 0, settings.width, settings.height}, pictures.back().view());
    }
    std::vector<VideoEncoder::Packet> packets;
    std::int64_t time = 0;
    std::size_t frame = 0;
    for (auto _ : state) {
        (*encoder)->encode(*pictures[frame++ % pictures.size()].frame, time, false, packets);
        packets.clear();
        time += VideoEncoder::timescale / 60;
    }
}

BENCHMARK(convertWithAvx2)->ArgsProduct({{1280}, {720}, {1, 4}})->ArgsProduct({{1920}, {1080}, {1, 4}})->Unit(benchmark::kMicrosecond);
BENCHMARK(convertPortably)->ArgsProduct({{1280}, {720}, {1, 4}})->ArgsProduct({{1920}, {1080}, {1, 4}})->Unit(benchmark::kMicrosecond);
BENCHMARK(convertWithSwscale)->Args({1280, 720})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);
BENCHMARK(encode)
    ->ArgsProduct({{1280}, {720}, {0, 1}})
    ->ArgsProduct({{1920}, {1080}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
}  // namespace velmora::linux_backend

BENCHMARK_MAIN();
