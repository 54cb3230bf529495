#include "platform/linux/ffmpeg/LibavAudioEncoder.h"

#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace velmora::linux_backend {

namespace {

/// What the encoder remembers of sound is its last three blocks, and how well it kept its bit rate, which is at the end of its scale
/// after a few packets of next to nothing.
constexpr std::int64_t blocksOfSound = 16;

constexpr const char* notEncoded = "The sound could not be encoded";

}  // namespace

Result<std::unique_ptr<engine::AudioEncoder>> LibavAudioEncoder::create(const platform::AudioOutputSettings& settings)
{
    constexpr std::int64_t greatestChannelCount = 8;
    if (settings.format != FourCharacterCode{"aac "} || settings.channelCount < 1 || settings.channelCount > greatestChannelCount
        || settings.sampleRate < 1 || settings.sampleRate > INT32_MAX || settings.bitRate < 1)
        return fail(libavError(AVERROR(EINVAL), notEncoded));
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    if (!codec)
        return fail(libavError(AVERROR_ENCODER_NOT_FOUND, notEncoded));
    AvCodecContext context{avcodec_alloc_context3(codec)};
    AvFrame frame{av_frame_alloc()};
    if (!context || !frame)
        return fail(libavError(AVERROR(ENOMEM), notEncoded));

    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = static_cast<int>(settings.sampleRate);
    context->time_base = {1, context->sample_rate};
    av_channel_layout_default(&context->ch_layout, static_cast<int>(settings.channelCount));
    context->bit_rate = settings.bitRate;
    context->profile = profileAacLow;
    // Without the library's name in every 256th packet, what is encoded depends on the sound alone.
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    if (const int error = avcodec_open2(context.get(), codec, nullptr))
        return fail(libavError(error, notEncoded));

    frame->format = context->sample_fmt;
    frame->sample_rate = context->sample_rate;
    frame->nb_samples = context->frame_size;
    int error = av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
    if (error == 0)
        error = av_frame_get_buffer(frame.get(), 0);
    if (error)
        return fail(libavError(error, notEncoded));

    AudioFormat format;
    format.codec = FourCharacterCode{"mp4a"};
    format.sampleRate = context->sample_rate;
    format.channelCount = context->ch_layout.nb_channels;
    const auto* header = reinterpret_cast<const std::byte*>(context->extradata);
    format.decoderConfiguration.assign(header, header + context->extradata_size);
    auto description = std::make_shared<const FormatDescription>(std::move(format));
    return std::unique_ptr<engine::AudioEncoder>{new LibavAudioEncoder(std::move(context), std::move(frame), std::move(description))};
}

LibavAudioEncoder::LibavAudioEncoder(AvCodecContext context, AvFrame frame, FormatDescriptionRef format)
    : context_(std::move(context))
    , frame_(std::move(frame))
    , format_(std::move(format))
{
}

Result<void> LibavAudioEncoder::encode(std::span<const float> frames, std::vector<Packet>& packets)
{
    assert(!ended_);
    const auto channelCount = static_cast<std::size_t>(context_->ch_layout.nb_channels);
    assert(frames.size() % channelCount == 0);
    while (!frames.empty()) {
        if (filled_ == 0) {
            // The encoder may still hold the block that was sent last.
            if (const int error = av_frame_make_writable(frame_.get()))
                return fail(libavError(error, notEncoded));
        }
        const auto count = std::min(frames.size() / channelCount, static_cast<std::size_t>(context_->frame_size - filled_));
        for (std::size_t channel = 0; channel < channelCount; ++channel) {
            float* plane = reinterpret_cast<float*>(frame_->extended_data[channel]) + filled_;
            for (std::size_t i = 0; i < count; ++i)
                plane[i] = engine::encodableSample(frames[i * channelCount + channel]);
            isSilent_ = isSilent_ && std::all_of(plane, plane + count, [](float value) { return value == 0; });
        }
        filled_ += static_cast<int>(count);
        frames = frames.subspan(count * channelCount);
        if (filled_ == context_->frame_size) {
            if (auto encoded = encodeBlock(packets); !encoded)
                return encoded;
        }
    }
    return {};
}

Result<void> LibavAudioEncoder::flush(std::vector<Packet>& packets)
{
    if (ended_)
        return {};
    if (filled_ > 0) {
        const auto channelCount = static_cast<std::size_t>(context_->ch_layout.nb_channels);
        const std::vector<float> silence(static_cast<std::size_t>(context_->frame_size - filled_) * channelCount, 0.0F);
        if (auto encoded = encode(silence, packets); !encoded)
            return encoded;
    }
    ended_ = true;
    if (encodedBlocks_ == 0)
        return {};
    if (const int error = avcodec_send_frame(context_.get(), nullptr))
        return fail(libavError(error, notEncoded));
    return receive(packets);
}

Result<void> LibavAudioEncoder::encodeBlock(std::vector<Packet>& packets)
{
    filled_ = 0;
    const bool isSilent = std::exchange(isSilent_, true);
    if (isSilent && isPacketKnown()) {
        packets.push_back({lastPacket_, context_->frame_size});
        return {};
    }
    silentBlocks_ = isSilent ? silentBlocks_ + 1 : 0;
    frame_->pts = encodedBlocks_++ * context_->frame_size;
    if (const int error = avcodec_send_frame(context_.get(), frame_.get()))
        return fail(libavError(error, notEncoded));
    return receive(packets);
}

bool LibavAudioEncoder::isPacketKnown() const
{
    return silentBlocks_ >= blocksOfSound && isLastRepeated_;
}

Result<void> LibavAudioEncoder::receive(std::vector<Packet>& packets)
{
    for (;;) {
        AvPacket packet{av_packet_alloc()};
        if (!packet)
            return fail(libavError(AVERROR(ENOMEM), notEncoded));
        const int error = avcodec_receive_packet(context_.get(), packet.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
            return {};
        if (error)
            return fail(libavError(error, notEncoded));
        const std::span data{reinterpret_cast<const std::byte*>(packet->data), static_cast<std::size_t>(packet->size)};
        isLastRepeated_ = std::ranges::equal(data, lastPacket_.bytes);
        lastPacket_ = {data, std::shared_ptr<const AVPacket>(std::move(packet))};
        packets.push_back({lastPacket_, context_->frame_size});
    }
}

}  // namespace velmora::linux_backend
