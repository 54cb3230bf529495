// Where the samples of a track lie and when they are decoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace velmora::mp4 {

/// One sample of a track. Times are in the track's time scale.
struct Sample {
    std::uint64_t offset = 0;  ///< bytes from the beginning of the file
    std::uint32_t size = 0;  ///< bytes
    std::int64_t decodeTime = 0;
    std::uint32_t duration = 0;
    std::int32_t compositionOffset = 0;  ///< presentation time minus decode time
    bool isSync = true;

    friend bool operator==(const Sample&, const Sample&) = default;
};

/// All samples of a track in decode order, stored as a file stores them (runs, chunks): about 5 bytes a sample, so that ten hours
/// stay below 20 MB. A sample lasts until the next one; the duration of the last is given separately.
class SampleTable {
public:
    struct Run {
        std::uint32_t count = 0;
        std::int64_t value = 0;
    };

    struct Chunk {
        std::uint64_t offset = 0;
        std::uint32_t sampleCount = 0;
    };

    /// More samples than any recording has; a file that claims more is not believed.
    static constexpr std::size_t largestCount = std::size_t{1} << 24;

    /// What is known about a sample when it is added.
    struct Entry {
        std::uint64_t offset = 0;
        std::uint32_t size = 0;
        std::int64_t decodeTime = 0;
        std::int32_t compositionOffset = 0;
        bool isSync = true;
    };

    /// False, and nothing is changed, when the decode time lies before the previous sample's or more than 32 bits after it, or when
    /// the table is full. A sample that follows the previous one's bytes joins its chunk.
    [[nodiscard]] bool append(const Entry& entry);

    void setLastDuration(std::uint32_t duration) { lastDuration_ = duration; }

    /// Shifts all decode times so that the first is `time`.
    void setFirstDecodeTime(std::int64_t time);

    /// Moves the chunks, each unchanged. Precondition: an offset for each of chunks().
    void setChunkOffsets(const std::vector<std::uint64_t>& offsets);

    [[nodiscard]] bool isEmpty() const { return sizes_.empty(); }
    [[nodiscard]] std::size_t count() const { return sizes_.size(); }
    [[nodiscard]] std::int64_t firstDecodeTime() const { return firstDecodeTime_; }
    [[nodiscard]] std::int64_t lastDecodeTime() const { return lastDecodeTime_; }
    [[nodiscard]] std::uint32_t lastDuration() const { return lastDuration_; }

    /// From the first decode time to the end of the last sample.
    [[nodiscard]] std::uint64_t duration() const;
    [[nodiscard]] std::uint64_t byteCount() const { return byteCount_; }
    [[nodiscard]] bool allSync() const { return syncSamples_.size() == sizes_.size(); }
    [[nodiscard]] bool hasCompositionOffsets() const { return hasCompositionOffsets_; }

    /// The columns. Durations are those of all samples but the last; sync samples are numbered from 0.
    [[nodiscard]] const std::vector<std::uint32_t>& sizes() const { return sizes_; }
    [[nodiscard]] const std::vector<Run>& durationRuns() const { return durationRuns_; }
    [[nodiscard]] const std::vector<Run>& compositionRuns() const { return compositionRuns_; }
    [[nodiscard]] const std::vector<Chunk>& chunks() const { return chunks_; }
    [[nodiscard]] const std::vector<std::uint32_t>& syncSamples() const { return syncSamples_; }

    /// One sample after another.
    class Cursor {
    public:
        explicit Cursor(const SampleTable& table) : table_(table) { }
        bool next(Sample& sample);

    private:
        const SampleTable& table_;
        std::size_t index_ = 0;
        std::size_t durationRun_ = 0, compositionRun_ = 0, chunk_ = 0, sync_ = 0;
        std::uint32_t inDurationRun_ = 0, inCompositionRun_ = 0, inChunk_ = 0;
        std::uint64_t offset_ = 0;
        std::int64_t time_ = 0;
    };

    /// All samples, 40 bytes each.
    [[nodiscard]] std::vector<Sample> expanded() const;

private:
    static void extend(std::vector<Run>& runs, std::int64_t value);

    std::vector<std::uint32_t> sizes_;
    std::vector<Run> durationRuns_;
    std::vector<Run> compositionRuns_;
    std::vector<Chunk> chunks_;
    std::vector<std::uint32_t> syncSamples_;
    std::int64_t firstDecodeTime_ = 0;
    std::int64_t lastDecodeTime_ = 0;
    std::uint64_t byteCount_ = 0;
    std::uint64_t nextOffset_ = 0;
    std::uint32_t lastDuration_ = 0;
    bool hasCompositionOffsets_ = false;
};

}  // namespace velmora::mp4
