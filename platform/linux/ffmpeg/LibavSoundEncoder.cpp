#include "platform/linux/ffmpeg/LibavSoundEncoder.h"

#include "platform/linux/ffmpeg/LibavError.h"

#include <cerrno>
#include <memory>
#include <span>
#include <utility>

namespace velmora::linux_backend {

namespace {

FormatDescriptionRef formatOf(const AVCodecContext& context, FourCharacterCode codec)
{
    AudioFormat format;
    format.codec = codec;
    format.sampleRate = context.sample_rate;
    format.channelCount = context.ch_layout.nb_channels;
    const auto* header = reinterpret_cast<const std::byte*>(context.extradata);
    format.decoderConfiguration.assign(header, header + context.extradata_size);
    return std::make_shared<const FormatDescription>(std::move(format));
}

}  // namespace

tl::unexpected<Error> soundEncodingFailure(int averror)
{
    return fail(libavError(averror, "The sound could not be encoded"));
}

Result<AvCodecContext> openSoundEncoder(const SoundEncoderChoice& choice, const platform::AudioOutputSettings& settings)
{
    const AVCodec* codec = avcodec_find_encoder_by_name(choice.name);
    if (!codec)
        return soundEncodingFailure(AVERROR_ENCODER_NOT_FOUND);
    AvCodecContext context{avcodec_alloc_context3(codec)};
    if (!context)
        return soundEncodingFailure(AVERROR(ENOMEM));
    context->sample_fmt = choice.samples;
    context->sample_rate = static_cast<int>(choice.sampleRate);
    context->time_base = {1, context->sample_rate};
    av_channel_layout_default(&context->ch_layout, static_cast<int>(settings.channelCount));
    context->bit_rate = settings.bitRate;
    if (choice.profile)
        context->profile = *choice.profile;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    if (const int error = avcodec_open2(context.get(), codec, nullptr))
        return soundEncodingFailure(error);
    return context;
}

Result<AvFrame> makeSoundFrame(const AVCodecContext& context)
{
    AvFrame frame{av_frame_alloc()};
    if (!frame)
        return soundEncodingFailure(AVERROR(ENOMEM));
    frame->format = context.sample_fmt;
    frame->sample_rate = context.sample_rate;
    frame->nb_samples = context.frame_size;
    int error = av_channel_layout_copy(&frame->ch_layout, &context.ch_layout);
    if (error == 0)
        error = av_frame_get_buffer(frame.get(), 0);
    if (error)
        return soundEncodingFailure(error);
    return frame;
}

LibavSoundEncoder::LibavSoundEncoder(AvCodecContext context, FourCharacterCode codec)
    : context_(std::move(context))
    , format_(formatOf(*context_, codec))
{
}

Result<void> LibavSoundEncoder::send(const AVFrame* frame, std::vector<Packet>& packets)
{
    if (const int error = avcodec_send_frame(context_.get(), frame))
        return soundEncodingFailure(error);
    for (;;) {
        AvPacket packet{av_packet_alloc()};
        if (!packet)
            return soundEncodingFailure(AVERROR(ENOMEM));
        const int error = avcodec_receive_packet(context_.get(), packet.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
            return {};
        if (error)
            return soundEncodingFailure(error);
        const std::span data{reinterpret_cast<const std::byte*>(packet->data), static_cast<std::size_t>(packet->size)};
        packets.push_back({{data, std::shared_ptr<const AVPacket>(std::move(packet))}, context_->frame_size});
    }
}

}  // namespace velmora::linux_backend
