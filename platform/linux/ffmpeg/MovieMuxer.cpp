#include "platform/linux/ffmpeg/MovieMuxer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

namespace velmora::linux_backend {

namespace {

constexpr int bufferSize = 1 << 16;

}  // namespace

std::unique_ptr<MovieMuxer> MovieMuxer::create(const char* format, const engine::WriteMovie& write)
{
    std::unique_ptr<MovieMuxer> muxer{new MovieMuxer{write}};
    if (avformat_alloc_output_context2(&muxer->context_, nullptr, format, nullptr) < 0)
        return nullptr;
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    if (!buffer)
        return nullptr;
    // The library's versions differ in whether what is written is const.
    muxer->context_->pb = avio_alloc_context(
        buffer, bufferSize, 1, muxer.get(), nullptr,
        [](void* self, auto* data, int size) {
            return static_cast<MovieMuxer*>(self)->write({reinterpret_cast<const std::byte*>(data), static_cast<std::size_t>(size)});
        },
        [](void* self, std::int64_t offset, int whence) { return static_cast<MovieMuxer*>(self)->seek(offset, whence); });
    if (!muxer->context_->pb) {
        av_free(buffer);
        return nullptr;
    }
    // What is written depends on the clip alone.
    muxer->context_->flags |= AVFMT_FLAG_BITEXACT;
    return muxer;
}

MovieMuxer::~MovieMuxer()
{
    // Some formats let go of what they hold back only at the file's end.
    if (isRunning_) {
        isGivenUp_ = true;
        av_write_trailer(context_);
    }
    if (context_ && context_->pb) {
        av_freep(&context_->pb->buffer);
        avio_context_free(&context_->pb);
    }
    avformat_free_context(context_);
}

AVStream* MovieMuxer::addStream(const AVCodecContext& encoder)
{
    AVStream* stream = addStream();
    if (!stream || avcodec_parameters_from_context(stream->codecpar, &encoder) < 0)
        return nullptr;
    stream->time_base = encoder.time_base;
    stream->avg_frame_rate = encoder.framerate;
    return stream;
}

AVStream* MovieMuxer::addStream()
{
    return avformat_new_stream(context_, nullptr);
}

int MovieMuxer::begin()
{
    const int error = avformat_write_header(context_, nullptr);
    isRunning_ = error >= 0;
    return std::min(0, error);
}

int MovieMuxer::setOption(const char* name, std::int64_t value)
{
    return av_opt_set_int(context_, name, value, AV_OPT_SEARCH_CHILDREN);
}

int MovieMuxer::add(AVPacket& packet, const AVStream& stream, AVRational timeBase)
{
    packet.stream_index = stream.index;
    av_packet_rescale_ts(&packet, timeBase, stream.time_base);
    return av_interleaved_write_frame(context_, &packet);
}

int MovieMuxer::end()
{
    isRunning_ = false;
    const int error = av_write_trailer(context_);
    avio_flush(context_->pb);
    return failure_ ? AVERROR(EIO) : error;
}

int MovieMuxer::write(std::span<const std::byte> bytes)
{
    if (isGivenUp_)
        return static_cast<int>(bytes.size());
    const auto written = write_(static_cast<std::uint64_t>(position_), bytes);
    if (!written) {
        failure_ = written.error();
        return AVERROR(EIO);
    }
    position_ += static_cast<std::int64_t>(bytes.size());
    size_ = std::max(size_, position_);
    return static_cast<int>(bytes.size());
}

std::int64_t MovieMuxer::seek(std::int64_t offset, int whence)
{
    if (whence == AVSEEK_SIZE)
        return size_;
    const auto from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position_ : size_;
    if (from + offset < 0)
        return AVERROR(EINVAL);
    return position_ = from + offset;
}

}  // namespace velmora::linux_backend
