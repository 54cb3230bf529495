#include "tests/support/media/AacEncoder.h"

#include "platform/linux/ffmpeg/AvHandles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include <stdexcept>

namespace velmora::test {

namespace {

class AacEncoder final : public engine::AudioEncoder {
public:
    AacEncoder()
        : context_(avcodec_alloc_context3(avcodec_find_encoder_by_name("aac")))
        , frame_(av_frame_alloc())
        , packet_(av_packet_alloc())
    {
        context_->sample_rate = 48000;
        context_->sample_fmt = AV_SAMPLE_FMT_FLTP;
        av_channel_layout_default(&context_->ch_layout, 2);
        context_->bit_rate = 192000;
        context_->time_base = {1, 48000};
        // Not every 256th packet with the name of the library, so that what it encodes depends on the sound alone.
        context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
        if (avcodec_open2(context_.get(), nullptr, nullptr) != 0)
            throw std::runtime_error("no AAC encoder");
        frame_->format = AV_SAMPLE_FMT_FLTP;
        frame_->nb_samples = context_->frame_size;
        frame_->sample_rate = 48000;
        av_channel_layout_copy(&frame_->ch_layout, &context_->ch_layout);
        if (av_frame_get_buffer(frame_.get(), 0) != 0)
            throw std::runtime_error("no memory");
        const auto* data = reinterpret_cast<const std::byte*>(context_->extradata);
        format_ = std::make_shared<const FormatDescription>(AudioFormat{"mp4a", 48000, 2, {data, data + context_->extradata_size}});
    }

    [[nodiscard]] FormatDescriptionRef format() const override { return format_; }
    [[nodiscard]] std::int64_t primingFrames() const override { return context_->initial_padding; }

    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override
    {
        for (std::size_t i = 0; i + 1 < frames.size(); i += 2) {
            if (filled_ == 0 && av_frame_make_writable(frame_.get()) != 0)
                return fail("test", 1, "no memory");
            reinterpret_cast<float*>(frame_->data[0])[filled_] = frames[i];
            reinterpret_cast<float*>(frame_->data[1])[filled_] = frames[i + 1];
            if (++filled_ == context_->frame_size)
                send(packets);
        }
        return {};
    }

    Result<void> flush(std::vector<Packet>& packets) override
    {
        if (filled_ > 0) {
            frame_->nb_samples = filled_;
            send(packets);
        }
        avcodec_send_frame(context_.get(), nullptr);
        receive(packets);
        return {};
    }

private:
    void send(std::vector<Packet>& packets)
    {
        frame_->pts = time_;
        time_ += filled_;
        filled_ = 0;
        if (avcodec_send_frame(context_.get(), frame_.get()) != 0)
            throw std::runtime_error("the sound is not accepted");
        receive(packets);
    }

    void receive(std::vector<Packet>& packets)
    {
        while (avcodec_receive_packet(context_.get(), packet_.get()) == 0) {
            const auto* data = reinterpret_cast<const std::byte*>(packet_->data);
            packets.push_back({DataBlock::owning({data, data + packet_->size}), 1024});
            av_packet_unref(packet_.get());
        }
    }

    linux_backend::AvCodecContext context_;
    linux_backend::AvFrame frame_;
    linux_backend::AvPacket packet_;
    FormatDescriptionRef format_;
    int filled_ = 0;
    std::int64_t time_ = 0;
};

}  // namespace

std::unique_ptr<engine::AudioEncoder> makeAacEncoder()
{
    return std::make_unique<AacEncoder>();
}

}  // namespace velmora::test
