// Which samples of one or several movies a new movie is made of, and which have to be encoded anew where their spans meet.
#pragma once

#include "base/Result.h"
#include "media/TimeRange.h"
#include "media/mp4/Movie.h"
#include "media/mp4/SoundSplice.h"
#include "media/mp4/TrimPlanner.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::mp4 {

/// A movie from which spans are taken.
struct SpliceSource {
    const Movie* movie = nullptr;
    std::string name;  ///< for errors
    /// As for planTrim().
    StartsAfresh startsAfresh = {};
    /// Whether nothing from before the sample is needed by anything behind it: an IDR picture. Without it all sync samples are taken for that.
    StartsAfresh isInstantRefresh = {};
};

/// A stretch of one of the sources.
struct KeptSpan {
    std::size_t source = 0;
    TimeRange range;
};

/// Where a sample of the new movie comes from.
struct SampleOrigin {
    static constexpr std::size_t anew = static_cast<std::size_t>(-1);

    std::size_t source = 0;  ///< or `anew`
    std::uint64_t offset = 0;  ///< bytes from the beginning of the source, or of the media that was encoded anew
    std::uint32_t size = 0;
};

/// Pictures to be encoded anew, the first of them as an IDR picture and each from those before it alone.
struct PictureRun {
    std::size_t source = 0;
    /// Samples of the source's track of pictures to be decoded, in this order.
    std::size_t firstDecoded = 0;
    std::size_t lastDecoded = 0;
    /// Those samples among them whose pictures are encoded, in the order of presentation.
    std::vector<std::size_t> encoded;
};

/// A sample of the new track of pictures, in decode order.
struct SplicedPicture {
    SampleOrigin origin;  ///< nothing but `anew` is known of one that is encoded anew
    std::int64_t presentation = 0;
    std::int64_t decode = 0;
    bool isSync = false;
};

/// What becomes a movie once its runs have been encoded.
struct SplicePlan {
    /// Where nothing has to be encoded and one span is kept: all there is to it (planTrim()). Else its tracks have formats, but no samples.
    Movie movie;
    bool isTrim = false;

    std::vector<PictureRun> pictureRuns;
    std::vector<SplicedPicture> pictures;  ///< those of the runs come in the runs' order
    std::int64_t picturesEnd = 0;  ///< on the track's scale
    std::optional<SoundSplice> sound;
};

/// The spans one after the other. One span is planned as planTrim() does, byte for byte.
///
/// Several spans play in every player as one that was never cut: no edit divides the media, whose sound FFmpeg and whose pictures Chromium
/// would cut at the first edit alone. A span whose first picture is no IDR picture has its pictures up to the next one encoded anew; so has
/// one of a reordered stream its last pictures, where they need some that are not shown. All others are copied. Each is shown when its span
/// says, to the tick. Sound: SoundSplice.
///
/// Errors: those of planTrim(), which name the source where there are several; ErrorCode::unsupported, which says what differs, for sources
/// whose pictures or sound are not of one kind: size, colour, parameter sets, rotation; sound or none, its rate, channels and kind.
[[nodiscard]] Result<SplicePlan> planSplice(const std::vector<SpliceSource>& sources, const std::vector<KeptSpan>& spans);

/// What of `whole` is left without `cuts`, which may come in any order, overlap and reach beyond it. Cuts that are empty are ignored.
[[nodiscard]] std::vector<TimeRange> rangesWithout(const TimeRange& whole, std::vector<TimeRange> cuts);

}  // namespace velmora::mp4
