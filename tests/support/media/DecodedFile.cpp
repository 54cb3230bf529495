#include "tests/support/media/DecodedFile.h"

#include "platform/linux/ffmpeg/AvHandles.h"
#include "tests/support/media/DecodedWebp.h"
#include "tests/support/media/EncodedClip.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <memory>

namespace velmora::test {

namespace {

std::vector<std::string>* complaints = nullptr;

void note(void*, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_ERROR || !complaints)
        return;
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    complaints->emplace_back(text);
}

struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct Decoder {
    AVStream* stream = nullptr;
    linux_backend::AvCodecContext context;
};

/// By the numbers of ITU-R BT.601 and BT.709, from every fourth pixel of every fourth line.
std::array<double, 3> colourOf(const AVFrame& frame, bool isFullRange)
{
    const bool is601 = frame.colorspace == AVCOL_SPC_SMPTE170M || frame.colorspace == AVCOL_SPC_BT470BG;
    const double red = is601 ? 0.299 : 0.2126;
    const double blue = is601 ? 0.114 : 0.0722;
    std::array<double, 3> sum{};
    double count = 0;
    for (int y = 0; y < frame.height; y += 4) {
        for (int x = 0; x < frame.width; x += 4, ++count) {
            const auto chroma = [&, row = y / 2, column = x / 2](
                                    int plane) { return frame.data[plane][row * frame.linesize[plane] + column] - 128.0; };
            const double luma = frame.data[0][y * frame.linesize[0] + x];
            const double value = isFullRange ? luma : (luma - 16) * 255 / 219;
            const double scale = isFullRange ? 1 : 255.0 / 224;
            const double cb = chroma(1) * scale;
            const double cr = chroma(2) * scale;
            const std::array<double, 3> seen{value + 2 * (1 - red) * cr,
                value - 2 * (1 - blue) * blue / (1 - red - blue) * cb - 2 * (1 - red) * red / (1 - red - blue) * cr,
                value + 2 * (1 - blue) * cb};
            for (std::size_t i = 0; i < 3; ++i)
                sum[i] += std::clamp(seen[i], 0.0, 255.0);
        }
    }
    for (auto& value : sum)
        value /= count;
    return sum;
}

void takePicture(const Decoder& decoder, const AVFrame& frame, DecodedFile& file)
{
    const auto time = static_cast<double>(frame.pts) * av_q2d(decoder.stream->time_base);
    if (frame.format == AV_PIX_FMT_BGRA) {
        file.pictures.push_back(pictureOfPixels({time, frame.data[0], frame.linesize[0], frame.width, frame.height, 2}));
        return;
    }
    const auto number = numberInPicture(frame.data[0], frame.linesize[0], frame.width, frame.height);
    const bool is420 = frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P;
    const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
    file.pictures.push_back({time, number, is420 ? colourOf(frame, isFullRange) : std::array<double, 3>{}});
}

void takeSound(const Decoder& decoder, const AVFrame& frame, DecodedFile& file)
{
    const auto position = av_rescale_q(frame.pts, decoder.stream->time_base, AVRational{1, frame.sample_rate});
    if (file.sound.empty())
        file.firstFrame = position;
    const auto offset = position - file.firstFrame;
    if (offset < 0)
        return;
    const auto end = static_cast<std::size_t>(offset + frame.nb_samples);
    if (file.sound.size() < end)
        file.sound.resize(end);
    const auto* samples = reinterpret_cast<const float*>(frame.data[0]);
    for (int i = 0; i < frame.nb_samples; ++i)
        file.sound[static_cast<std::size_t>(offset + i)] = samples[i];
}

void receive(const Decoder& decoder, AVFrame& frame, DecodedFile& file)
{
    while (avcodec_receive_frame(decoder.context.get(), &frame) == 0) {
        if (frame.decode_error_flags != 0)
            file.complaints.emplace_back("a frame was damaged");
        if (decoder.context->codec_type == AVMEDIA_TYPE_VIDEO)
            takePicture(decoder, frame, file);
        else
            takeSound(decoder, frame, file);
    }
}

}  // namespace

std::vector<std::int64_t> DecodedFile::peaks(float level) const
{
    constexpr std::size_t neighbourhood = 512;
    std::vector<std::int64_t> found;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        if (std::abs(sound[i]) < level)
            continue;
        auto loudest = i;
        for (auto j = i; j < std::min(sound.size(), i + neighbourhood); ++j) {
            if (std::abs(sound[j]) > std::abs(sound[loudest]))
                loudest = j;
        }
        found.push_back(firstFrame + static_cast<std::int64_t>(loudest));
        i = loudest + neighbourhood;
    }
    return found;
}

DecodedFile decodeFile(const std::filesystem::path& path)
{
    DecodedFile file;
    complaints = &file.complaints;
    av_log_set_callback(note);
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) != 0) {
        complaints = nullptr;
        return file;
    }
    const std::unique_ptr<AVFormatContext, CloseInput> input{opened};
    file.opened = avformat_find_stream_info(input.get(), nullptr) >= 0;
    file.duration = static_cast<double>(input->duration) / AV_TIME_BASE;

    std::vector<Decoder> decoders;
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        auto* stream = input->streams[i];
        const auto* parameters = stream->codecpar;
        const auto* codec = avcodec_find_decoder(parameters->codec_id);
        Decoder decoder{stream, linux_backend::AvCodecContext{avcodec_alloc_context3(codec)}};
        avcodec_parameters_to_context(decoder.context.get(), parameters);
        decoder.context->pkt_timebase = stream->time_base;
        decoder.context->thread_count = 1;
        if (!codec || avcodec_open2(decoder.context.get(), codec, nullptr) != 0)
            file.complaints.emplace_back("a stream has no decoder");
        if (parameters->codec_type == AVMEDIA_TYPE_VIDEO) {
            file.hasVideo = true;
            file.width = parameters->width;
            file.height = parameters->height;
            file.colour = {static_cast<std::uint16_t>(parameters->color_primaries), static_cast<std::uint16_t>(parameters->color_trc),
                static_cast<std::uint16_t>(parameters->color_space), parameters->color_range == AVCOL_RANGE_JPEG};
            file.videoDuration = static_cast<double>(stream->duration) * av_q2d(stream->time_base);
        } else if (parameters->codec_type == AVMEDIA_TYPE_AUDIO) {
            file.hasAudio = true;
            file.sampleRate = parameters->sample_rate;
            file.channelCount = parameters->ch_layout.nb_channels;
        }
        decoders.push_back(std::move(decoder));
    }

    const linux_backend::AvFrame frame{av_frame_alloc()};
    const linux_backend::AvPacket packet{av_packet_alloc()};
    while (av_read_frame(input.get(), packet.get()) == 0) {
        const auto& decoder = decoders.at(static_cast<std::size_t>(packet->stream_index));
        if (decoder.context->codec_type == AVMEDIA_TYPE_VIDEO && (packet->flags & AV_PKT_FLAG_KEY) != 0)
            file.keyFrames.push_back(static_cast<double>(packet->pts) * av_q2d(decoder.stream->time_base));
        if (avcodec_send_packet(decoder.context.get(), packet.get()) != 0)
            file.complaints.emplace_back("a packet is not decodable");
        receive(decoder, *frame, file);
        av_packet_unref(packet.get());
    }
    for (const auto& decoder : decoders) {
        avcodec_send_packet(decoder.context.get(), nullptr);
        receive(decoder, *frame, file);
    }
    complaints = nullptr;
    return file;
}

}  // namespace velmora::test
