#include "media/mp4/SampleTable.h"

#include <cassert>

namespace velmora::mp4 {

void SampleTable::extend(std::vector<Run>& runs, std::int64_t value)
{
    if (!runs.empty() && runs.back().value == value)
        ++runs.back().count;
    else
        runs.push_back({1, value});
}

bool SampleTable::append(const Entry& entry)
{
    if (sizes_.size() >= largestCount)
        return false;
    if (sizes_.empty()) {
        firstDecodeTime_ = entry.decodeTime;
    } else {
        if (entry.decodeTime < lastDecodeTime_)
            return false;
        // As unsigned numbers: the difference of two signed ones may not fit.
        const auto duration = static_cast<std::uint64_t>(entry.decodeTime) - static_cast<std::uint64_t>(lastDecodeTime_);
        if (duration > std::numeric_limits<std::uint32_t>::max())
            return false;
        extend(durationRuns_, static_cast<std::int64_t>(duration));
    }
    lastDecodeTime_ = entry.decodeTime;
    extend(compositionRuns_, entry.compositionOffset);
    hasCompositionOffsets_ = hasCompositionOffsets_ || entry.compositionOffset != 0;
    if (entry.isSync)
        syncSamples_.push_back(static_cast<std::uint32_t>(sizes_.size()));
    if (!chunks_.empty() && entry.offset == nextOffset_)
        ++chunks_.back().sampleCount;
    else
        chunks_.push_back({entry.offset, 1});
    nextOffset_ = entry.offset + entry.size;
    byteCount_ += entry.size;
    sizes_.push_back(entry.size);
    return true;
}

void SampleTable::setFirstDecodeTime(std::int64_t time)
{
    lastDecodeTime_ = lastDecodeTime_ - firstDecodeTime_ + time;
    firstDecodeTime_ = time;
}

void SampleTable::setChunkOffsets(const std::vector<std::uint64_t>& offsets)
{
    assert(offsets.size() == chunks_.size());
    auto size = sizes_.begin();
    for (std::size_t i = 0; i < chunks_.size(); ++i) {
        chunks_[i].offset = offsets[i];
        nextOffset_ = offsets[i];
        for (std::uint32_t inChunk = 0; inChunk < chunks_[i].sampleCount; ++inChunk)
            nextOffset_ += *size++;
    }
}

std::uint64_t SampleTable::duration() const
{
    if (sizes_.empty())
        return 0;
    return static_cast<std::uint64_t>(lastDecodeTime_) - static_cast<std::uint64_t>(firstDecodeTime_) + lastDuration_;
}

bool SampleTable::Cursor::next(Sample& sample)
{
    if (index_ == table_.sizes_.size())
        return false;
    if (index_ == 0)
        time_ = table_.firstDecodeTime_;
    if (inChunk_ == 0)
        offset_ = table_.chunks_[chunk_].offset;
    sample.offset = offset_;
    sample.size = table_.sizes_[index_];
    sample.decodeTime = time_;
    sample.compositionOffset = static_cast<std::int32_t>(table_.compositionRuns_[compositionRun_].value);
    sample.isSync = sync_ < table_.syncSamples_.size() && table_.syncSamples_[sync_] == index_;
    const bool last = index_ + 1 == table_.sizes_.size();
    sample.duration = last ? table_.lastDuration_ : static_cast<std::uint32_t>(table_.durationRuns_[durationRun_].value);

    ++index_;
    if (sample.isSync)
        ++sync_;
    offset_ += sample.size;
    time_ += sample.duration;
    if (++inChunk_ == table_.chunks_[chunk_].sampleCount) {
        inChunk_ = 0;
        ++chunk_;
    }
    if (++inCompositionRun_ == table_.compositionRuns_[compositionRun_].count) {
        inCompositionRun_ = 0;
        ++compositionRun_;
    }
    if (!last && ++inDurationRun_ == table_.durationRuns_[durationRun_].count) {
        inDurationRun_ = 0;
        ++durationRun_;
    }
    return true;
}

std::vector<Sample> SampleTable::expanded() const
{
    std::vector<Sample> samples;
    samples.reserve(count());
    Cursor cursor{*this};
    Sample sample;
    while (cursor.next(sample))
        samples.push_back(sample);
    return samples;
}

}  // namespace velmora::mp4
