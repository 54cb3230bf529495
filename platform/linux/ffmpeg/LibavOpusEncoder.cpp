#include "platform/linux/ffmpeg/LibavOpusEncoder.h"

#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* notEncoded = "The sound could not be encoded";

tl::unexpected<Error> soundFailure(int averror)
{
    return fail(libavError(averror, notEncoded));
}

}  // namespace

Result<std::unique_ptr<engine::AudioEncoder>> LibavOpusEncoder::create(const platform::AudioOutputSettings& settings)
{
    if (settings.channelCount < 1 || settings.channelCount > 2 || settings.sampleRate < 1 || settings.sampleRate > INT32_MAX
        || settings.bitRate < 1)
        return soundFailure(AVERROR(EINVAL));
    const AVCodec* codec = avcodec_find_encoder_by_name(opusEncoderName);
    if (!codec)
        return soundFailure(AVERROR_ENCODER_NOT_FOUND);
    AvCodecContext context{avcodec_alloc_context3(codec)};
    if (!context)
        return soundFailure(AVERROR(ENOMEM));
    context->sample_fmt = AV_SAMPLE_FMT_FLT;
    context->sample_rate = sampleRate;
    context->time_base = {1, sampleRate};
    av_channel_layout_default(&context->ch_layout, static_cast<int>(settings.channelCount));
    context->bit_rate = settings.bitRate;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    if (const int error = avcodec_open2(context.get(), codec, nullptr))
        return soundFailure(error);

    SwrContext* made = nullptr;
    int error = swr_alloc_set_opts2(&made, &context->ch_layout, AV_SAMPLE_FMT_FLT, sampleRate, &context->ch_layout, AV_SAMPLE_FMT_FLT,
        static_cast<int>(settings.sampleRate), 0, nullptr);
    AvResampler resampler{made};
    if (error >= 0)
        error = swr_init(resampler.get());
    if (error < 0)
        return soundFailure(error);

    AudioFormat format;
    format.codec = FourCharacterCode{"Opus"};
    format.sampleRate = sampleRate;
    format.channelCount = context->ch_layout.nb_channels;
    const auto* header = reinterpret_cast<const std::byte*>(context->extradata);
    format.decoderConfiguration.assign(header, header + context->extradata_size);
    auto description = std::make_shared<const FormatDescription>(std::move(format));
    return std::unique_ptr<engine::AudioEncoder>{new LibavOpusEncoder(std::move(context), std::move(resampler), std::move(description))};
}

LibavOpusEncoder::LibavOpusEncoder(AvCodecContext context, AvResampler resampler, FormatDescriptionRef format)
    : context_(std::move(context))
    , resampler_(std::move(resampler))
    , format_(std::move(format))
{
}

Result<void> LibavOpusEncoder::encode(std::span<const float> frames, std::vector<Packet>& packets)
{
    limited_.resize(frames.size());
    std::transform(frames.begin(), frames.end(), limited_.begin(), engine::encodableSample);
    return resample(limited_.data(), static_cast<int>(frames.size() / channelCount()), packets);
}

Result<void> LibavOpusEncoder::flush(std::vector<Packet>& packets)
{
    if (auto resampled = resample(nullptr, 0, packets); !resampled)
        return resampled;
    const auto block = static_cast<std::size_t>(context_->frame_size) * channelCount();
    if (!pending_.empty()) {
        pending_.resize(block, 0.0F);
        if (auto encoded = resample(nullptr, 0, packets); !encoded)
            return encoded;
    }
    return sentFrames_ > 0 ? send(nullptr, packets) : Result<void>{};
}

/// No frames: what the resampler still has comes out.
Result<void> LibavOpusEncoder::resample(const float* frames, int count, std::vector<Packet>& packets)
{
    const int room = swr_get_out_samples(resampler_.get(), count);
    if (room < 0)
        return soundFailure(room);
    const auto before = pending_.size();
    pending_.resize(before + static_cast<std::size_t>(room) * channelCount());
    auto* out = reinterpret_cast<std::uint8_t*>(pending_.data() + before);
    const auto* in = reinterpret_cast<const std::uint8_t*>(frames);
    const int converted = swr_convert(resampler_.get(), &out, room, frames ? &in : nullptr, count);
    if (converted < 0)
        return soundFailure(converted);
    pending_.resize(before + static_cast<std::size_t>(converted) * channelCount());

    const auto block = static_cast<std::size_t>(context_->frame_size) * channelCount();
    std::size_t done = 0;
    for (; pending_.size() - done >= block; done += block) {
        AvFrame frame{av_frame_alloc()};
        if (!frame)
            return soundFailure(AVERROR(ENOMEM));
        frame->format = context_->sample_fmt;
        frame->sample_rate = sampleRate;
        frame->nb_samples = context_->frame_size;
        frame->pts = sentFrames_;
        int error = av_channel_layout_copy(&frame->ch_layout, &context_->ch_layout);
        if (error == 0)
            error = av_frame_get_buffer(frame.get(), 0);
        if (error)
            return soundFailure(error);
        std::memcpy(frame->data[0], pending_.data() + done, block * sizeof(float));
        sentFrames_ += context_->frame_size;
        if (auto sent = send(frame.get(), packets); !sent)
            return sent;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(done));
    return {};
}

Result<void> LibavOpusEncoder::send(AVFrame* frame, std::vector<Packet>& packets)
{
    if (const int error = avcodec_send_frame(context_.get(), frame))
        return soundFailure(error);
    for (;;) {
        AvPacket packet{av_packet_alloc()};
        if (!packet)
            return soundFailure(AVERROR(ENOMEM));
        const int error = avcodec_receive_packet(context_.get(), packet.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
            return {};
        if (error)
            return soundFailure(error);
        const std::span data{reinterpret_cast<const std::byte*>(packet->data), static_cast<std::size_t>(packet->size)};
        packets.push_back({{data, std::shared_ptr<const AVPacket>(std::move(packet))}, context_->frame_size});
    }
}

}  // namespace velmora::linux_backend
