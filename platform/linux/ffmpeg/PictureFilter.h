// What libavfilter does to pictures on their way to an encoder.
#pragma once

#include "platform/linux/ffmpeg/AvHandles.h"

#include <memory>
#include <span>
#include <string>
#include <tl/expected.hpp>
#include <vector>

extern "C" {
#include <libavfilter/avfilter.h>
}

namespace velmora::linux_backend {

/// How pictures are turned upright, clockwise; ends in a comma where they are.
[[nodiscard]] std::string turningFilters(int quarterTurns);

/// A graph of filters with one output. Times are ticks of engine::pictureTimescale. Used on one thread.
class PictureFilter {
public:
    struct Input {
        const char* name;
        const AVFrame* like;  ///< all of its pictures have this one's size, layout and colours
    };

    /// `description` is libavfilter's own language, with its inputs by their names, and "out". An AVERROR where the library refuses.
    static tl::expected<std::unique_ptr<PictureFilter>, int> create(const std::string& description, std::span<const Input> inputs);

    /// Null: no more pictures come in. 0 or an AVERROR.
    [[nodiscard]] int push(std::size_t input, AVFrame* picture);

    /// The next picture that comes out; null and 0 where none does yet, or any more.
    [[nodiscard]] int pull(AvFrame& picture);

private:
    struct FreeGraph {
        void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
    };

    PictureFilter() = default;
    [[nodiscard]] int build(const std::string& description, std::span<const Input> inputs);

    std::unique_ptr<AVFilterGraph, FreeGraph> graph_{avfilter_graph_alloc()};
    std::vector<AVFilterContext*> sources_;  // the graph's
    AVFilterContext* sink_ = nullptr;
};

}  // namespace velmora::linux_backend
