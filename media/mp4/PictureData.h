// What the bytes of a picture say about which an index may be wrong.
#pragma once

#include "base/Result.h"
#include "media/mp4/File.h"
#include "media/mp4/Movie.h"

namespace velmora::mp4 {

struct PictureContent {
    /// Decoding can begin here: an IDR picture, or one whose recovery point is reached at once (ISO 14496-10 D.2.8).
    bool startsAfresh = false;
    /// An IDR picture: nothing behind it needs anything from before it.
    bool isInstantRefresh = false;
    bool hasParameterSets = false;  ///< both kinds
};

/// The content of a sample of `track`, which is H.264 (ISO 14496-15 5.3.4.2). What precedes bytes that are no NAL unit
/// counts, nothing from there on does. Errors: the system's.
Result<PictureContent> readPictureContent(File& file, const Track& track, const Sample& sample);

/// Whether the track's sample entry holds parameter sets: if it has none, or if others may follow ("avc3"), they come with the pictures.
[[nodiscard]] bool hasParameterSetsInEntry(const Track& track);

}  // namespace velmora::mp4
