#include "platform/linux/ffmpeg/LibavSoundDecoder.h"

#include "platform/linux/ffmpeg/LibavDecoding.h"
#include "platform/linux/ffmpeg/LibavError.h"

namespace velmora::linux_backend {

namespace {

tl::unexpected<Error> soundFailure(int averror)
{
    return fail(libavError(averror, "The sound could not be decoded"));
}

}  // namespace

Result<std::unique_ptr<engine::SoundDecoder>> LibavSoundDecoder::create(const AudioFormat& format)
{
    // By its name: what it is called says that it puts out floats.
    const auto* codec = avcodec_find_decoder_by_name("aac");
    if (!codec)
        return soundFailure(AVERROR_DECODER_NOT_FOUND);
    AvCodecContext context{avcodec_alloc_context3(codec)};
    if (!context)
        return soundFailure(AVERROR(ENOMEM));
    context->thread_count = 1;
    context->sample_rate = format.sampleRate;
    if (const int status = setExtradata(*context, format.decoderConfiguration); status < 0)
        return soundFailure(status);
    if (const int status = avcodec_open2(context.get(), codec, nullptr); status < 0)
        return soundFailure(status);
    std::unique_ptr<LibavSoundDecoder> decoder{new LibavSoundDecoder(std::move(context))};
    if (!decoder->packet_ || !decoder->frame_)
        return soundFailure(AVERROR(ENOMEM));
    return decoder;
}

Result<std::vector<float>> LibavSoundDecoder::decode(std::span<const std::byte> packet)
{
    if (const int status = setData(*packet_, packet); status < 0)
        return soundFailure(status);
    int status = avcodec_send_packet(context_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (status == 0)
        status = avcodec_receive_frame(context_.get(), frame_.get());
    if (status < 0)
        return soundFailure(status);
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
        return soundFailure(AVERROR_PATCHWELCOME);
    return frames;
}

}  // namespace velmora::linux_backend
