#include "platform/linux/ffmpeg/ClipPictures.h"

#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
}

namespace velmora::linux_backend {

namespace {

using engine::pictureTimescale;

/// More threads take more memory, and pictures that are small leave them nothing to do.
constexpr unsigned mostThreads = 8;

class Showing {
public:
    Showing(AvCodecContext decoder, const ClipPart& part, const engine::PictureProgress& progress, const ShowPicture& show)
        : decoder_(std::move(decoder))
        , part_(part)
        , progress_(progress)
        , show_(show)
        , schedule_(part.timing)
        , packet_(av_packet_alloc())
    {
    }

    Result<bool> run(engine::CodedSamples& source)
    {
        if (!packet_)
            return fail(libavError(AVERROR(ENOMEM), picturesNotDecoded));
        while (!isEnded_) {
            const auto sample = source.next();
            if (!sample)
                return fail(sample.error());
            if (!*sample)
                break;
            if (const int error = setData(*packet_, (*sample)->bytes); error < 0)
                return fail(libavError(error, picturesNotDecoded));
            packet_->pts = av_rescale((*sample)->time, pictureTimescale, source.timescale());
            auto decoded = decode(packet_.get());
            av_packet_unref(packet_.get());
            if (!decoded)
                return fail(decoded.error());
        }
        if (!isEnded_) {
            if (auto decoded = decode(nullptr); !decoded)
                return fail(decoded.error());
        }
        if (isWanted_ && held_) {
            if (auto shown = showHeld(part_.end); !shown)
                return fail(shown.error());
        }
        if (isWanted_ && !hasShown_)
            return fail(libavError(AVERROR_INVALIDDATA, picturesNotDecoded));
        return isWanted_;
    }

private:
    Result<void> decode(const AVPacket* packet)
    {
        int error = avcodec_send_packet(decoder_.get(), packet);
        if (error < 0 && error != AVERROR(EAGAIN))
            return fail(libavError(error, picturesNotDecoded));
        for (;;) {
            AvFrame frame{av_frame_alloc()};
            if (!frame)
                return fail(libavError(AVERROR(ENOMEM), picturesNotDecoded));
            const int status = avcodec_receive_frame(decoder_.get(), frame.get());
            if (status == AVERROR_EOF)
                return {};
            if (status == AVERROR(EAGAIN)) {
                if (error != AVERROR(EAGAIN))
                    return {};
                error = avcodec_send_packet(decoder_.get(), packet);
                if (error < 0)
                    return fail(libavError(error, picturesNotDecoded));
                continue;
            }
            if (status < 0)
                return fail(libavError(status, picturesNotDecoded));
            if (auto taken = decoded(std::move(frame)); !taken || isEnded_)
                return taken;
        }
    }

    Result<void> decoded(AvFrame frame)
    {
        const auto time = frame->pts == AV_NOPTS_VALUE ? frame->best_effort_timestamp : frame->pts;
        if (time == AV_NOPTS_VALUE || (held_ && time <= heldTime_))
            return {};
        if (!progress_(std::clamp(time, part_.begin, part_.end))) {
            isWanted_ = false;
            isEnded_ = true;
            return {};
        }
        if (held_ && time > part_.begin) {
            if (auto shown = showHeld(std::min(time, part_.end)); !shown)
                return shown;
        }
        if (time >= part_.end) {
            // Where nothing came before, it is what the part shows.
            if (held_ || hasShown_)
                held_.reset();
            else {
                held_ = std::move(frame);
                heldTime_ = time;
            }
            isEnded_ = true;
            return {};
        }
        held_ = std::move(frame);
        heldTime_ = time;
        return {};
    }

    /// The picture that is on the screen until `end`.
    Result<void> showHeld(std::int64_t end)
    {
        const auto frame = std::exchange(held_, nullptr);
        const auto begin = hasShown_ ? std::max(heldTime_, part_.begin) : part_.begin;
        const auto& times = schedule_.timesOf(begin - part_.begin, end - part_.begin);
        if (times.empty())
            return {};
        hasShown_ = true;
        const auto goesOn = show_(*frame, times);
        if (!goesOn)
            return fail(goesOn.error());
        if (!*goesOn) {
            isWanted_ = false;
            isEnded_ = true;
        }
        return {};
    }

    const AvCodecContext decoder_;
    const ClipPart part_;
    const engine::PictureProgress& progress_;
    const ShowPicture& show_;
    engine::PictureSchedule schedule_;
    AvPacket packet_;
    AvFrame held_;
    std::int64_t heldTime_ = 0;
    bool hasShown_ = false;
    bool isEnded_ = false;  // no more is read
    bool isWanted_ = true;
};

}  // namespace

int clipThreads()
{
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, mostThreads));
}

Result<bool> showPictures(AvCodecContext decoder, engine::CodedSamples& source, const ClipPart& part,
    const engine::PictureProgress& progress, const ShowPicture& show)
{
    return Showing{std::move(decoder), part, progress, show}.run(source);
}

int plannedRate(const engine::PictureTiming& timing)
{
    constexpr int usual = 60;
    const double rate = timing.constantRate > 0 ? timing.constantRate : timing.largestRate > 0 ? timing.largestRate : usual;
    return std::max(1, static_cast<int>(std::lround(rate)));
}

AvFrame FrameScaler::scale(AVFrame& frame)
{
    // What is one line or column too many for 4:2:0 is left out, which keeps all others sharp.
    const int width = frame.width == width_ + 1 ? width_ : frame.width;
    const int height = frame.height == height_ + 1 ? height_ : frame.height;
    const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P
        || frame.format == AV_PIX_FMT_YUVJ422P || frame.format == AV_PIX_FMT_YUVJ444P;
    if (width == width_ && height == height_ && frame.format == AV_PIX_FMT_YUV420P && !isFullRange) {
        AvFrame same{av_frame_clone(&frame)};
        if (same) {
            same->width = width;
            same->height = height;
        }
        return same;
    }
    const auto format = static_cast<AVPixelFormat>(frame.format);
    if (!scaler_ || sourceWidth_ != width || sourceHeight_ != height || sourceFormat_ != format || sourceIsFullRange_ != isFullRange) {
        scaler_.reset(sws_getContext(
            width, height, format, width_, height_, AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
        if (!scaler_)
            return nullptr;
        const int matrix =
            frame.colorspace == AVCOL_SPC_UNSPECIFIED || frame.colorspace == AVCOL_SPC_RGB ? SWS_CS_ITU709 : frame.colorspace;
        sws_setColorspaceDetails(
            scaler_.get(), sws_getCoefficients(matrix), isFullRange ? 1 : 0, sws_getCoefficients(matrix), 0, 0, 1 << 16, 1 << 16);
        sourceWidth_ = width;
        sourceHeight_ = height;
        sourceFormat_ = format;
        sourceIsFullRange_ = isFullRange;
    }
    AvFrame scaled{av_frame_alloc()};
    if (!scaled)
        return nullptr;
    scaled->format = AV_PIX_FMT_YUV420P;
    scaled->width = width_;
    scaled->height = height_;
    if (av_frame_get_buffer(scaled.get(), 0) < 0
        || sws_scale(scaler_.get(), frame.data, frame.linesize, 0, height, scaled->data, scaled->linesize) != height_)
        return nullptr;
    return scaled;
}

}  // namespace velmora::linux_backend
