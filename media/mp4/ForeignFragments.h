// Puts together what the fragments of another program's file say, whatever their order. For use inside this library.
#pragma once

#include "media/mp4/Movie.h"
#include "media/mp4/MovieParser.h"
#include "media/mp4/MovieReader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::mp4 {

/// Runs go to their tracks by their times: those that come late are put where they belong, those that are already there are left out.
/// What fits nowhere is noted, and so is what the caller could not read.
class ForeignFragments {
public:
    /// The movie outlives this; samples must lie before `fileEnd`.
    ForeignFragments(Movie& movie, std::uint64_t fileEnd) : movie_(movie), fileEnd_(fileEnd), late_(movie.tracks.size()) { }

    void add(std::vector<ParsedRun> runs);

    /// From the tracks' current ends on, something may be missing.
    void noteUnread(std::string what);

    /// Once, after the last fragment: what could not be read, from the earliest time on.
    std::optional<Unread> finish();

private:
    struct Note {
        std::vector<std::optional<std::int64_t>> ends;  ///< of each track, in its ticks; none: it had no samples
        std::string what;
    };

    void append(ParsedRun& run);
    void insertLate(std::size_t index);
    [[nodiscard]] MediaTime shownAt(const Track& track, std::int64_t decodeTime) const;
    [[nodiscard]] std::optional<MediaTime> earliest(const Note& note) const;

    Movie& movie_;
    const std::uint64_t fileEnd_;
    std::vector<std::vector<ParsedRun>> late_;  ///< by track
    std::vector<Note> notes_;
};

}  // namespace velmora::mp4
