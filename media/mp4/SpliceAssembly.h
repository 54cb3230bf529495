// From a plan and what was encoded for it to the movie that is written.
#pragma once

#include "media/mp4/SplicePlanner.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velmora::mp4 {

/// Samples that were encoded for a plan.
struct AnewMedia {
    struct Extent {
        std::uint64_t offset = 0;  ///< in `bytes`
        std::uint32_t size = 0;
    };

    std::vector<std::byte> bytes;
    std::vector<Extent> pictures;  ///< of all runs, in their order
    std::vector<Extent> sound;  ///< of all runs that are not copied, in their order
    /// AVCDecoderConfigurationRecord (ISO 14496-15 5.3.3.1) of the pictures, whose lengths have four bytes; empty without pictures.
    std::vector<std::byte> decoderConfiguration;

    /// What follows is to lie in another chunk of the file.
    void beginChunk()
    {
        if (!bytes.empty())
            bytes.push_back(std::byte{0});
    }

    [[nodiscard]] Extent add(std::span<const std::byte> sample)
    {
        const Extent extent{bytes.size(), static_cast<std::uint32_t>(sample.size())};
        bytes.insert(bytes.end(), sample.begin(), sample.end());
        return extent;
    }
};

/// Where each source, and then what was encoded anew, begins, when they are thought of as one file after the other. `reach` is where the last
/// sample of each ends, or further. No sample of one touches a sample of another.
[[nodiscard]] std::vector<std::uint64_t> sourceOffsets(const std::vector<std::uint64_t>& reach);

/// The movie of a plan with these samples; `offsets` are sourceOffsets(). Its picture track has the parameter sets of both encoders.
/// Precondition: `anew` is what the plan asks for. Errors: tooLarge; unsupported, where the parameter sets cannot stand in one sample entry.
[[nodiscard]] Result<Movie> assembleSplice(const SplicePlan& plan, const AnewMedia& anew, const std::vector<std::uint64_t>& offsets);

/// A number that no parameter set in the record has; 31 at most. None where all are taken or the record makes no sense.
[[nodiscard]] std::optional<int> freeParameterSetNumber(std::span<const std::byte> decoderConfiguration);

/// The record with the parameter sets of `added` behind its own, for a decoder of both. None where one of them makes no sense.
[[nodiscard]] std::optional<std::vector<std::byte>> withParameterSets(
    std::span<const std::byte> decoderConfiguration, std::span<const std::byte> added);

}  // namespace velmora::mp4
