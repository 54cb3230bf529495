#include "tests/support/media/EncodedClip.h"

#include "platform/linux/ffmpeg/AvHandles.h"
#include "tests/support/media/NumberedPicture.h"
#include "tests/support/media/Require.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <cstring>
#include <memory>

namespace velmora::test {

namespace {

std::span<const std::byte> bytesOf(const AVPacket& packet)
{
    return {reinterpret_cast<const std::byte*>(packet.data), static_cast<std::size_t>(packet.size)};
}

// ISO 14496-15 5.3.3.1, from parameter sets with 4-byte length prefixes. Newer versions of the encoder's wrapper give the record itself, whose
// first byte is 1, where a length begins with 0.
std::vector<std::byte> decoderConfiguration(std::span<const std::byte> parameterSets)
{
    if (!parameterSets.empty() && parameterSets.front() == std::byte{1})
        return {parameterSets.begin(), parameterSets.end()};
    std::vector<std::byte> sps;
    std::vector<std::byte> pps;
    while (parameterSets.size() > 4) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | static_cast<std::size_t>(parameterSets[i]);
        const auto unit = parameterSets.subspan(4, length);
        parameterSets = parameterSets.subspan(4 + length);
        const auto type = static_cast<int>(unit[0]) & 0x1F;
        if (type == 7)
            sps.assign(unit.begin(), unit.end());
        else if (type == 8)
            pps.assign(unit.begin(), unit.end());
    }
    require(sps.size() > 4 && !pps.empty(), "no parameter sets");
    std::vector<std::byte> record{std::byte{1}, sps[1], sps[2], sps[3], std::byte{0xFF}, std::byte{0xE1}};
    const auto append = [&record](const std::vector<std::byte>& unit) {
        record.push_back(static_cast<std::byte>(unit.size() >> 8));
        record.push_back(static_cast<std::byte>(unit.size()));
        record.insert(record.end(), unit.begin(), unit.end());
    };
    append(sps);
    record.push_back(std::byte{1});
    append(pps);
    record.insert(record.end(), {std::byte{0xFD}, std::byte{0xF8}, std::byte{0xF8}, std::byte{0}});
    return record;
}

}  // namespace

std::vector<MediaTime> steadyTimes(int count, int rate, MediaTime start)
{
    std::vector<MediaTime> times;
    for (int i = 0; i < count; ++i)
        times.push_back(MediaTime::nanoseconds((start + MediaTime{i, rate}).converted(MediaTime::nanosecondScale).value));
    return times;
}

EncodedClip encodeClip(const std::vector<MediaTime>& times, const ClipOptions& options)
{
    av_log_set_level(AV_LOG_ERROR);
    const auto* codec = avcodec_find_encoder_by_name("libx264");
    require(codec, "no libx264");
    const linux_backend::AvCodecContext context{avcodec_alloc_context3(codec)};
    context->width = options.width;
    context->height = options.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, 90000};
    context->framerate = {60, 1};
    context->thread_count = 1;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_range = AVCOL_RANGE_MPEG;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context->gop_size = options.keyFrameInterval;
    av_opt_set(context->priv_data, "crf", "18", 0);
    av_opt_set(context->priv_data, "preset", "ultrafast", 0);
    av_opt_set(context->priv_data, "tune", "zerolatency", 0);
    av_opt_set(context->priv_data, "profile", "high", 0);
    av_opt_set(context->priv_data, "x264-params", "annexb=0:bframes=0:force-cfr=0:scenecut=0:8x8dct=1", 0);
    require(avcodec_open2(context.get(), codec, nullptr) == 0, "the encoder does not open");

    VideoFormat format;
    format.codec = "avc1";
    format.width = options.width;
    format.height = options.height;
    format.colour = ColourDescription::bt709();
    format.decoderConfiguration =
        decoderConfiguration({reinterpret_cast<const std::byte*>(context->extradata), static_cast<std::size_t>(context->extradata_size)});
    EncodedClip clip;
    clip.format = std::make_shared<const FormatDescription>(std::move(format));

    const linux_backend::AvFrame frame{av_frame_alloc()};
    frame->format = context->pix_fmt;
    frame->width = options.width;
    frame->height = options.height;
    require(av_frame_get_buffer(frame.get(), 0) == 0, "no memory");
    const linux_backend::AvPacket packet{av_packet_alloc()};
    const auto receive = [&] {
        while (avcodec_receive_packet(context.get(), packet.get()) == 0) {
            SampleBuffer sample;
            sample.format = clip.format;
            sample.presentationTimeStamp = times.at(clip.samples.size());
            const auto bytes = bytesOf(*packet);
            sample.data = DataBlock::owning({bytes.begin(), bytes.end()});
            sample.attachments = packet->flags & AV_PKT_FLAG_KEY ? SampleBuffer::syncAttachments() : SampleBuffer::notSyncAttachments();
            clip.samples.push_back(std::make_shared<const SampleBuffer>(std::move(sample)));
            av_packet_unref(packet.get());
        }
    };
    for (std::size_t i = 0; i < times.size(); ++i) {
        require(av_frame_make_writable(frame.get()) == 0, "no memory");
        paintNumber(*frame, static_cast<int>(i));
        frame->pts = (times[i] - times[0]).converted(90000).value;
        require(avcodec_send_frame(context.get(), frame.get()) == 0, "a frame is not taken");
        receive();
    }
    avcodec_send_frame(context.get(), nullptr);
    receive();
    require(clip.samples.size() == times.size(), "frames are missing");
    return clip;
}

std::vector<float> clicks(std::int64_t frames, const std::vector<std::int64_t>& clicks)
{
    std::vector<float> sound(static_cast<std::size_t>(frames * 2));
    for (const auto click : clicks) {
        sound.at(static_cast<std::size_t>(click * 2)) = 0.8F;
        sound.at(static_cast<std::size_t>(click * 2 + 1)) = 0.8F;
    }
    return sound;
}

SampleBufferRef soundBlock(std::vector<float> interleaved, MediaTime time)
{
    static const auto format = std::make_shared<const FormatDescription>(AudioFormat{"lpcm", 48000, 2, {}});
    SampleBuffer sample;
    sample.format = format;
    sample.presentationTimeStamp = time;
    sample.sampleCount = static_cast<std::int64_t>(interleaved.size() / 2);
    auto owner = std::make_shared<const std::vector<float>>(std::move(interleaved));
    sample.data = {std::as_bytes(std::span{*owner}), owner};
    return std::make_shared<const SampleBuffer>(std::move(sample));
}

}  // namespace velmora::test
