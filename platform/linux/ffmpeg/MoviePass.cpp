#include "platform/linux/ffmpeg/MoviePass.h"

#include "platform/linux/ffmpeg/ClipPictures.h"
#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/mathematics.h>
}

namespace velmora::linux_backend {

namespace {

class Filtering {
public:
    Filtering(const FilteredPictures& pictures, const TakeFiltered& take)
        : pictures_(pictures)
        , take_(take)
        , scaler_(pictures.encoding.width, pictures.encoding.height)
    {
    }

    /// An AVERROR where it fails or no more is wanted.
    int show(AVFrame& frame, const std::vector<std::int64_t>& times)
    {
        const auto scaled = scaler_.scale(frame);
        if (!scaled)
            return AVERROR(ENOMEM);
        setColour(*scaled, frame, pictures_.format.colour);
        scaled->sample_aspect_ratio = {1, 1};
        scaled->pict_type = AV_PICTURE_TYPE_NONE;
        if (!filter_) {
            if (const int error = open(*scaled); error < 0)
                return error;
        }
        for (const auto time : times) {
            scaled->pts = time;
            if (const int error = filter_->push(0, scaled.get()); error < 0)
                return error;
            if (const int error = drain(); error < 0)
                return error;
        }
        return 0;
    }

    int finish()
    {
        const int error = filter_->push(0, nullptr);
        return error < 0 ? error : drain();
    }

private:
    int open(const AVFrame& first)
    {
        std::vector<PictureFilter::Input> inputs{{"in", &first}};
        if (pictures_.palette)
            inputs.push_back({"palette", pictures_.palette});
        auto filter = PictureFilter::create("[in]" + turningFilters(pictures_.encoding.quarterTurns) + pictures_.filters, inputs);
        if (!filter)
            return filter.error();
        filter_ = std::move(*filter);
        if (!pictures_.palette)
            return 0;
        pictures_.palette->pts = 0;
        const int error = filter_->push(1, pictures_.palette);
        return error < 0 ? error : filter_->push(1, nullptr);
    }

    int drain()
    {
        for (;;) {
            AvFrame picture;
            if (const int error = filter_->pull(picture); error < 0 || !picture)
                return error;
            if (const int error = take_(*picture); error < 0)
                return error;
        }
    }

    const FilteredPictures& pictures_;
    const TakeFiltered& take_;
    FrameScaler scaler_;
    std::unique_ptr<PictureFilter> filter_;
};

}  // namespace

tl::unexpected<Error> movieFailure(int averror)
{
    return fail(libavError(averror, "The clip's pictures could not be encoded"));
}

Result<bool> filterPictures(
    engine::CodedSamples& source, const FilteredPictures& pictures, const std::function<bool(double)>& progress, const TakeFiltered& take)
{
    auto decoder = openDecoder(pictures.format, clipThreads());
    if (!decoder)
        return fail(libavError(decoder.error(), picturesNotDecoded));
    const auto& encoding = pictures.encoding;
    Filtering filtering{pictures, take};
    const auto length = static_cast<double>(std::max<std::int64_t>(1, encoding.end - encoding.begin));
    auto shown = showPictures(
        std::move(*decoder), source, {encoding.begin, encoding.end, encoding.timing},
        [&](std::int64_t time) { return progress(static_cast<double>(time - encoding.begin) / length); },
        [&](AVFrame& frame, const std::vector<std::int64_t>& times) -> Result<bool> {
            const int error = filtering.show(frame, times);
            if (error < 0 && error != AVERROR_EXIT)
                return movieFailure(error);
            return error >= 0;
        });
    if (!shown || !*shown)
        return shown;
    const int error = filtering.finish();
    if (error < 0 && error != AVERROR_EXIT)
        return movieFailure(error);
    return error >= 0;
}

bool PictureTicks::take(AVFrame& picture)
{
    const auto time = countIn(picture.pts);
    if (count_ > 0 && time <= last_)
        return false;
    picture.pts = last_ = time;
    picture.pict_type = AV_PICTURE_TYPE_NONE;
    ++count_;
    return true;
}

std::int64_t PictureTicks::countIn(std::int64_t duration) const
{
    return av_rescale(duration, tick_.den, engine::pictureTimescale * tick_.num);
}

AvCodecContext makePictureEncoder(const AVCodec& codec, const AVFrame& first, const engine::MovieEncoding& encoding, AVRational timeBase)
{
    AvCodecContext context{avcodec_alloc_context3(&codec)};
    if (!context)
        return nullptr;
    context->width = first.width;
    context->height = first.height;
    context->pix_fmt = static_cast<AVPixelFormat>(first.format);
    context->time_base = timeBase;
    context->framerate = {plannedRate(encoding.timing), 1};
    context->sample_aspect_ratio = {1, 1};
    context->color_range = first.color_range;
    context->color_primaries = first.color_primaries;
    context->color_trc = first.color_trc;
    context->colorspace = first.colorspace;
    context->thread_count = clipThreads();
    context->flags |= AV_CODEC_FLAG_BITEXACT;
    return context;
}

int encodePicture(AVCodecContext& encoder, AVFrame* picture, const std::function<int(AVPacket&)>& take)
{
    AvPacket packet{av_packet_alloc()};
    int error = packet ? avcodec_send_frame(&encoder, picture) : AVERROR(ENOMEM);
    while (error >= 0) {
        error = avcodec_receive_packet(&encoder, packet.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
            return 0;
        if (error >= 0)
            error = take(*packet);
        av_packet_unref(packet.get());
    }
    return error;
}

}  // namespace velmora::linux_backend
