// Where the samples of a movie come to lie in the file that is written for it.
#pragma once

#include "media/mp4/Movie.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora::mp4 {

/// Bytes that follow one another in the source and in the target.
struct Extent {
    std::uint64_t from = 0;
    std::uint64_t size = 0;
};

/// The media of a plan without gaps, chunk by chunk.
class MediaLayout {
public:
    enum class Order {
        source,  ///< as in the source
        time,  ///< by the time of their first samples
    };

    MediaLayout(const Movie& plan, Order order);

    [[nodiscard]] std::uint64_t size() const { return size_; }
    [[nodiscard]] const std::vector<Extent>& extents() const { return extents_; }

    /// The bytes before the media, with the samples of `plan` put where they come to lie behind these.
    [[nodiscard]] std::vector<std::byte> headOf(Movie& plan) const;

private:
    struct Chunk {
        std::size_t track = 0;
        std::size_t index = 0;
        MediaTime time;
        std::uint64_t from = 0;
        std::uint64_t to = 0;
        std::uint64_t size = 0;
    };

    void addChunks(std::size_t number, const Track& track);
    void apply(Movie& plan, std::uint64_t begin) const;

    std::vector<Chunk> chunks_;
    std::vector<Extent> extents_;
    std::uint64_t size_ = 0;
};

}  // namespace velmora::mp4
