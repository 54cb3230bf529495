#include "media/mp4/MediaLayout.h"

#include "media/mp4/RecordingLayout.h"

#include <algorithm>

namespace velmora::mp4 {

MediaLayout::MediaLayout(const Movie& plan, Order order)
{
    for (std::size_t track = 0; track < plan.tracks.size(); ++track)
        addChunks(track, plan.tracks[track]);
    std::stable_sort(chunks_.begin(), chunks_.end(),
        [order](const Chunk& a, const Chunk& b) { return order == Order::source ? a.from < b.from : a.time < b.time; });
    for (auto& chunk : chunks_) {
        chunk.to = size_;
        size_ += chunk.size;
        if (!extents_.empty() && extents_.back().from + extents_.back().size == chunk.from)
            extents_.back().size += chunk.size;
        else
            extents_.push_back({chunk.from, chunk.size});
    }
}

std::vector<std::byte> MediaLayout::headOf(Movie& plan) const
{
    // Offsets beyond 4 GiB make the index larger, which moves them further, never back.
    std::uint64_t begin = 0;
    for (;;) {
        apply(plan, begin);
        auto head = serializeWholeHead(plan, size_);
        if (head.size() == begin)
            return head;
        begin = head.size();
    }
}

void MediaLayout::addChunks(std::size_t number, const Track& track)
{
    SampleTable::Cursor cursor{track.samples};
    Sample sample;
    for (std::size_t index = 0; index < track.samples.chunks().size(); ++index) {
        Chunk chunk{number, index, {}, track.samples.chunks()[index].offset, 0, 0};
        for (std::uint32_t i = 0; i < track.samples.chunks()[index].sampleCount && cursor.next(sample); ++i) {
            if (i == 0)
                chunk.time = {sample.decodeTime, track.timescale};
            chunk.size += sample.size;
        }
        chunks_.push_back(chunk);
    }
}

void MediaLayout::apply(Movie& plan, std::uint64_t begin) const
{
    std::vector<std::vector<std::uint64_t>> offsets;
    for (const auto& track : plan.tracks)
        offsets.emplace_back(track.samples.chunks().size());
    for (const auto& chunk : chunks_)
        offsets[chunk.track][chunk.index] = begin + chunk.to;
    for (std::size_t track = 0; track < plan.tracks.size(); ++track)
        plan.tracks[track].samples.setChunkOffsets(offsets[track]);
}

}  // namespace velmora::mp4
