#include "tests/support/media/ForeignClip.h"

#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "tests/support/media/NumberedPicture.h"
#include "tests/support/media/Require.h"

#include <cstring>
#include <memory>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/log.h>
}

namespace velmora::test {

namespace {

template <typename T, void (*Free)(T**)>
struct Release {
    void operator()(T* handle) const { Free(&handle); }
};

struct CloseOutput {
    void operator()(AVFormatContext* context) const
    {
        avio_closep(&context->pb);
        avformat_free_context(context);
    }
};

class Options {
public:
    explicit Options(const std::string& text) { av_dict_parse_string(&entries_, text.c_str(), "=", ":", 0); }
    ~Options() { av_dict_free(&entries_); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    AVDictionary** get() { return &entries_; }

private:
    AVDictionary* entries_ = nullptr;
};

}  // namespace

void writeForeignClip(const std::filesystem::path& path, const ForeignClip& clip)
{
    av_log_set_level(AV_LOG_ERROR);
    AVFormatContext* made = nullptr;
    require(avformat_alloc_output_context2(&made, nullptr, "mp4", path.c_str()) == 0, "no muxer");
    const std::unique_ptr<AVFormatContext, CloseOutput> file{made};
    const auto* codec = avcodec_find_encoder_by_name(clip.encoder.c_str());
    require(codec, "no such encoder");
    const std::unique_ptr<AVCodecContext, Release<AVCodecContext, avcodec_free_context>> context{avcodec_alloc_context3(codec)};
    context->width = clip.width;
    context->height = clip.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, clip.rate};
    context->framerate = {clip.rate, 1};
    context->sample_aspect_ratio = {clip.pixelShape, 1};
    context->colorspace = static_cast<AVColorSpace>(clip.matrix);
    context->color_range = clip.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_UNSPECIFIED;
    context->thread_count = 1;
    context->gop_size = clip.keyFrameInterval;
    context->max_b_frames = clip.bFrames;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    Options encoderOptions{clip.encoderOptions};
    require(avcodec_open2(context.get(), codec, encoderOptions.get()) == 0, "the encoder does not open");

    auto* stream = avformat_new_stream(file.get(), nullptr);
    require(stream && avcodec_parameters_from_context(stream->codecpar, context.get()) == 0, "no stream");
    stream->time_base = context->time_base;
    stream->sample_aspect_ratio = context->sample_aspect_ratio;
    if (clip.quarterTurns != 0) {
        auto* matrix = linux_backend::newSideData(*stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t));
        require(matrix, "no memory");
        // There they are counted counterclockwise.
        av_display_rotation_set(reinterpret_cast<std::int32_t*>(matrix), clip.quarterTurns * 90.0);
    }
    require(avio_open(&file->pb, path.c_str(), AVIO_FLAG_WRITE) >= 0, "the file cannot be written");
    Options muxerOptions{clip.muxerOptions};
    require(avformat_write_header(file.get(), muxerOptions.get()) >= 0, "the muxer refuses");

    const std::unique_ptr<AVFrame, Release<AVFrame, av_frame_free>> frame{av_frame_alloc()};
    frame->format = context->pix_fmt;
    frame->width = clip.width;
    frame->height = clip.height;
    require(av_frame_get_buffer(frame.get(), 0) == 0, "no memory");
    const std::unique_ptr<AVPacket, Release<AVPacket, av_packet_free>> packet{av_packet_alloc()};
    const auto write = [&] {
        while (avcodec_receive_packet(context.get(), packet.get()) == 0) {
            // Not every version of an encoder says it, and the last picture of a file has its duration from nowhere else.
            packet->duration = 1;
            av_packet_rescale_ts(packet.get(), context->time_base, stream->time_base);
            packet->stream_index = stream->index;
            require(av_interleaved_write_frame(file.get(), packet.get()) == 0, "a packet is not written");
        }
    };
    for (int i = 0; i < clip.pictureCount; ++i) {
        require(av_frame_make_writable(frame.get()) == 0, "no memory");
        paintNumber(*frame, i);
        for (const auto& [plane, value] : {std::pair{1, clip.cb}, {2, clip.cr}})
            std::memset(frame->data[plane], value, static_cast<std::size_t>(frame->linesize[plane] * frame->height / 2));
        frame->pts = i;
        require(avcodec_send_frame(context.get(), frame.get()) == 0, "a frame is not taken");
        write();
    }
    avcodec_send_frame(context.get(), nullptr);
    write();
    require(av_write_trailer(file.get()) >= 0, "the file is not finished");
}

}  // namespace velmora::test
