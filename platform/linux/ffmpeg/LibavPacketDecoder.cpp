#include "platform/linux/ffmpeg/LibavPacketDecoder.h"

#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavError.h"

namespace velmora::linux_backend {

namespace {

tl::unexpected<Error> packetFailure(int averror)
{
    return fail(libavError(averror, "The sound could not be decoded"));
}

}  // namespace

Result<std::unique_ptr<engine::PacketDecoder>> LibavPacketDecoder::create(const AudioFormat& format)
{
    auto context = openDecoder(format);
    if (!context)
        return packetFailure(context.error());
    std::unique_ptr<LibavPacketDecoder> decoder{new LibavPacketDecoder(std::move(*context))};
    if (!decoder->packet_ || !decoder->frame_)
        return packetFailure(AVERROR(ENOMEM));
    return decoder;
}

Result<std::vector<float>> LibavPacketDecoder::decode(std::span<const std::byte> packet)
{
    if (const int status = setData(*packet_, packet); status < 0)
        return packetFailure(status);
    int status = avcodec_send_packet(context_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (status == 0)
        status = avcodec_receive_frame(context_.get(), frame_.get());
    if (status < 0)
        return packetFailure(status);
    const auto channels = static_cast<std::size_t>(frame_->ch_layout.nb_channels);
    const auto count = static_cast<std::size_t>(frame_->nb_samples);
    std::vector<float> frames(channels * count);
    const bool isPlanar = frame_->format == AV_SAMPLE_FMT_FLTP;
    if (isPlanar) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const auto* plane = reinterpret_cast<const float*>(frame_->extended_data[channel]);
            for (std::size_t i = 0; i < count; ++i)
                frames[i * channels + channel] = plane[i];
        }
    }
    av_frame_unref(frame_.get());
    if (!isPlanar)
        return packetFailure(AVERROR_PATCHWELCOME);
    return frames;
}

}  // namespace velmora::linux_backend
