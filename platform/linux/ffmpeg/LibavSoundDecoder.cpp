#include "platform/linux/ffmpeg/LibavSoundDecoder.h"

#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <cerrno>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* soundNotDecoded = "The clip's sound could not be decoded";

tl::unexpected<Error> soundFailure(int averror)
{
    return fail(libavError(averror, soundNotDecoded));
}

}  // namespace

Result<std::unique_ptr<engine::SoundDecoder>> LibavSoundDecoder::create(const AudioFormat& format, std::int32_t channelCount)
{
    auto context = openDecoder(format);
    if (!context)
        return soundFailure(context.error());
    std::unique_ptr<LibavSoundDecoder> decoder{new LibavSoundDecoder{std::move(*context), channelCount}};
    if (!decoder->packet_ || !decoder->frame_)
        return soundFailure(AVERROR(ENOMEM));
    return decoder;
}

LibavSoundDecoder::LibavSoundDecoder(AvCodecContext context, std::int32_t channelCount)
    : context_(std::move(context))
    , channelCount_(channelCount)
    , packet_(av_packet_alloc())
    , frame_(av_frame_alloc())
{
}

Result<void> LibavSoundDecoder::decode(const engine::CodedSamples::Sample& sample, std::vector<Block>& blocks)
{
    if (const int status = setData(*packet_, sample.bytes); status < 0)
        return soundFailure(status);
    packet_->pts = sample.time;
    auto sent = send(packet_.get(), blocks);
    av_packet_unref(packet_.get());
    return sent;
}

Result<void> LibavSoundDecoder::finish(std::vector<Block>& blocks)
{
    return send(nullptr, blocks);
}

Result<void> LibavSoundDecoder::send(const AVPacket* packet, std::vector<Block>& blocks)
{
    if (const int error = avcodec_send_packet(context_.get(), packet); error < 0)
        return soundFailure(error);
    for (;;) {
        const int error = avcodec_receive_frame(context_.get(), frame_.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
            return {};
        if (error < 0)
            return soundFailure(error);
        auto block = convert(*frame_);
        av_frame_unref(frame_.get());
        if (!block)
            return fail(block.error());
        blocks.push_back(std::move(*block));
    }
}

Result<engine::SoundDecoder::Block> LibavSoundDecoder::convert(const AVFrame& frame)
{
    const int channels = frame.ch_layout.nb_channels;
    if (!mixer_ || frame.format != mixedFormat_ || channels != mixedChannels_) {
        AVChannelLayout from{};
        // Some streams say how many channels they have, but not which.
        if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
            av_channel_layout_default(&from, channels);
        else if (const int error = av_channel_layout_copy(&from, &frame.ch_layout))
            return soundFailure(error);
        AVChannelLayout to{};
        av_channel_layout_default(&to, channelCount_);
        SwrContext* mixer = nullptr;
        int error = swr_alloc_set_opts2(&mixer, &to, AV_SAMPLE_FMT_FLT, frame.sample_rate, &from, static_cast<AVSampleFormat>(frame.format),
            frame.sample_rate, 0, nullptr);
        mixer_.reset(mixer);
        av_channel_layout_uninit(&from);
        av_channel_layout_uninit(&to);
        if (!error)
            error = swr_init(mixer_.get());
        if (error < 0)
            return soundFailure(error);
        mixedFormat_ = frame.format;
        mixedChannels_ = channels;
    }
    Block block;
    block.time = frame.pts == AV_NOPTS_VALUE ? frame.best_effort_timestamp : frame.pts;
    block.sampleRate = frame.sample_rate;
    block.frames.resize(static_cast<std::size_t>(frame.nb_samples) * static_cast<std::size_t>(channelCount_));
    auto* out = reinterpret_cast<std::uint8_t*>(block.frames.data());
    // Without another rate nothing is held back.
    const int count =
        swr_convert(mixer_.get(), &out, frame.nb_samples, const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
    if (count < 0)
        return soundFailure(count);
    block.frames.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(channelCount_));
    return block;
}

}  // namespace velmora::linux_backend
