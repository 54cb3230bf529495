#include "platform/linux/ffmpeg/PictureFilter.h"

#include "engine/codecs/PictureSchedule.h"
#include "platform/linux/ffmpeg/ClipPictures.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"

#include <algorithm>
#include <cerrno>
#include <utility>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

namespace velmora::linux_backend {

namespace {

struct FreeEnds {
    void operator()(AVFilterInOut* ends) const { avfilter_inout_free(&ends); }
};
using Ends = std::unique_ptr<AVFilterInOut, FreeEnds>;

Ends makeEnd(const char* name, AVFilterContext* filter, Ends next)
{
    Ends end{avfilter_inout_alloc()};
    if (!end)
        return nullptr;
    end->name = av_strdup(name);
    end->filter_ctx = filter;
    end->next = next.release();
    return end;
}

}  // namespace

std::string turningFilters(int quarterTurns)
{
    switch (quarterTurns) {
    case 1:
        return "transpose=clock,";
    case 2:
        return "hflip,vflip,";
    case 3:
        return "transpose=cclock,";
    default:
        return {};
    }
}

tl::expected<std::unique_ptr<PictureFilter>, int> PictureFilter::create(const std::string& description, std::span<const Input> inputs)
{
    std::unique_ptr<PictureFilter> filter{new PictureFilter};
    if (const int error = filter->build(description, inputs); error < 0)
        return tl::unexpected(error);
    return filter;
}

int PictureFilter::build(const std::string& description, std::span<const Input> inputs)
{
    if (!graph_)
        return AVERROR(ENOMEM);
    graph_->nb_threads = clipThreads();
    // For the conversions that the graph puts in by itself.
    av_opt_set(graph_.get(), "scale_sws_opts", "flags=bicubic+accurate_rnd+full_chroma_int", 0);
    Ends sources;
    for (const auto& input : inputs) {
        AVFilterContext* source = avfilter_graph_alloc_filter(graph_.get(), avfilter_get_by_name("buffer"), input.name);
        AVBufferSrcParameters* parameters = source ? av_buffersrc_parameters_alloc() : nullptr;
        if (!parameters)
            return AVERROR(ENOMEM);
        parameters->format = input.like->format;
        parameters->width = input.like->width;
        parameters->height = input.like->height;
        parameters->time_base = {1, engine::pictureTimescale};
        parameters->sample_aspect_ratio = {1, 1};
        setColourOfSource(*parameters, *input.like);
        int error = av_buffersrc_parameters_set(source, parameters);
        av_free(parameters);
        if (error >= 0)
            error = avfilter_init_str(source, nullptr);
        if (error < 0)
            return error;
        sources_.push_back(source);
        sources = makeEnd(input.name, source, std::move(sources));
    }
    int error = avfilter_graph_create_filter(&sink_, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, graph_.get());
    if (error < 0)
        return error;
    auto sink = makeEnd("out", sink_, nullptr);
    // What the sources put out is what the description takes in.
    auto* open = sources.release();
    auto* closed = sink.release();
    error = avfilter_graph_parse_ptr(graph_.get(), description.c_str(), &closed, &open, nullptr);
    sources.reset(open);
    sink.reset(closed);
    return error < 0 ? error : avfilter_graph_config(graph_.get(), nullptr);
}

int PictureFilter::push(std::size_t input, AVFrame* picture)
{
    return av_buffersrc_add_frame_flags(sources_.at(input), picture, AV_BUFFERSRC_FLAG_KEEP_REF);
}

int PictureFilter::pull(AvFrame& picture)
{
    AvFrame next{av_frame_alloc()};
    if (!next)
        return AVERROR(ENOMEM);
    const int error = av_buffersink_get_frame(sink_, next.get());
    if (error >= 0)
        picture = std::move(next);
    else
        picture.reset();
    return error == AVERROR(EAGAIN) || error == AVERROR_EOF ? 0 : std::min(error, 0);
}

}  // namespace velmora::linux_backend
