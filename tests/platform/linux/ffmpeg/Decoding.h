// Decoding what the tests have encoded.
#pragma once

#include "media/SampleBuffer.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/bsf.h>
#include <libavutil/log.h>
}

namespace velmora::linux_backend::testing {

/// One decoder of libavcodec. Every error and every damaged frame fails the test.
class Decoder {
public:
    Decoder(AVCodecID codecID, std::span<const std::byte> configuration, int sampleRate = 0, int channelCount = 0)
        : context_(avcodec_alloc_context3(avcodec_find_decoder(codecID)))
    {
        context_->extradata = static_cast<std::uint8_t*>(av_mallocz(configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::memcpy(context_->extradata, configuration.data(), configuration.size());
        context_->extradata_size = static_cast<int>(configuration.size());
        context_->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK | AV_EF_BITSTREAM;
        context_->thread_count = 1;
        context_->sample_rate = sampleRate;
        if (channelCount > 0)
            av_channel_layout_default(&context_->ch_layout, channelCount);
        EXPECT_EQ(avcodec_open2(context_.get(), nullptr, nullptr), 0);
    }

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }

    void send(std::span<const std::byte> data, std::int64_t time)
    {
        const AvPacket packet{av_packet_alloc()};
        ASSERT_EQ(av_new_packet(packet.get(), static_cast<int>(data.size())), 0);
        std::memcpy(packet->data, data.data(), data.size());
        packet->pts = packet->dts = time;
        ASSERT_EQ(avcodec_send_packet(context_.get(), packet.get()), 0);
        receive();
    }

    /// All frames so far and those that were still inside.
    std::vector<AvFrame> finish()
    {
        EXPECT_EQ(avcodec_send_packet(context_.get(), nullptr), 0);
        receive();
        return std::move(frames_);
    }

private:
    void receive()
    {
        for (;;) {
            AvFrame frame{av_frame_alloc()};
            const int status = avcodec_receive_frame(context_.get(), frame.get());
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
                return;
            ASSERT_EQ(status, 0);
            EXPECT_EQ(frame->decode_error_flags, 0);
            EXPECT_EQ(frame->flags & AV_FRAME_FLAG_CORRUPT, 0);
            frames_.push_back(std::move(frame));
        }
    }

    AvCodecContext context_;
    std::vector<AvFrame> frames_;
};

/// The pictures of `samples`, which start with a key frame; their time is the sample's in its own time scale.
inline std::vector<AvFrame> decodeVideo(std::span<const SampleBufferRef> samples)
{
    if (samples.empty())
        return {};
    Decoder decoder{AV_CODEC_ID_H264, samples.front()->format->video()->decoderConfiguration};
    for (const auto& sample : samples)
        decoder.send(sample->data.bytes, sample->presentationTimeStamp.value);
    return decoder.finish();
}

/// The fields of the parameter sets in `configuration` and of the headers in `accessUnit`, a line each: position, name, bits, value.
inline std::string traceH264Headers(std::span<const std::byte> configuration, std::span<const std::byte> accessUnit = {})
{
    static std::string lines;
    lines.clear();
    AVBSFContext* allocated = nullptr;
    EXPECT_EQ(av_bsf_alloc(av_bsf_get_by_name("trace_headers"), &allocated), 0);
    const std::unique_ptr<AVBSFContext, AvFree<AVBSFContext, av_bsf_free>> filter{allocated};
    filter->par_in->codec_id = AV_CODEC_ID_H264;
    filter->par_in->extradata = static_cast<std::uint8_t*>(av_mallocz(configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(filter->par_in->extradata, configuration.data(), configuration.size());
    filter->par_in->extradata_size = static_cast<int>(configuration.size());
    av_log_set_callback([](void*, int, const char* format, va_list arguments) {
        char line[256];
        std::vsnprintf(line, sizeof line, format, arguments);
        lines += line;
    });
    EXPECT_EQ(av_bsf_init(filter.get()), 0);
    if (!accessUnit.empty()) {
        const AvPacket packet{av_packet_alloc()};
        EXPECT_EQ(av_new_packet(packet.get(), static_cast<int>(accessUnit.size())), 0);
        std::memcpy(packet->data, accessUnit.data(), accessUnit.size());
        EXPECT_EQ(av_bsf_send_packet(filter.get(), packet.get()), 0);
        EXPECT_EQ(av_bsf_receive_packet(filter.get(), packet.get()), 0);
    }
    av_log_set_callback(av_log_default_callback);
    return lines;
}

inline bool isKeyFrame(const SampleBuffer& sample)
{
    return !sample.attachments->front().boolean(attachment_key::notSync);
}

}  // namespace velmora::linux_backend::testing
