// What the bytes of a picture tell that an index may be wrong about.
#pragma once

#include "base/Result.h"
#include "media/mp4/File.h"
#include "media/mp4/Movie.h"

namespace velmora::mp4 {

struct PictureContent {
    /// Decoding can begin here: an IDR picture, or one whose recovery point says that all is right at once (ISO 14496-10 D.2.8).
    bool startsAfresh = false;
    bool hasParameterSets = false;  ///< of both kinds
};

/// The content of a sample of `track`, which is H.264 (ISO 14496-15 5.3.4.2). What is no sequence of NAL units has nothing. Errors: the
/// system's.
Result<PictureContent> readPictureContent(File& file, const Track& track, const Sample& sample);

/// Whether the track's sample entry holds parameter sets: where it has none, or where others may follow ("avc3"), the pictures bring them.
[[nodiscard]] bool hasParameterSetsInEntry(const Track& track);

}  // namespace velmora::mp4
