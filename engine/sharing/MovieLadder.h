// How good a copy in another format than MP4 is, from its best down to what can just be looked at. Nothing here reads or encodes.
#pragma once

#include "engine/codecs/MovieCodecs.h"
#include "engine/sharing/SmallFilePlan.h"

#include <optional>

namespace velmora::engine {

/// A line from fine to coarse, on which sizes fall: first there are fewer pictures a second, then smaller ones, then coarser ones with fewer
/// colours, and again. GIF and WebP begin where chats and wikis show them well, WebM with all that the clip has. Colours fall in steps, and
/// sizes with them; whoever seeks a size between two of these keeps the colours.
class MovieLadder {
public:
    MovieLadder(platform::CopyFormat format, const ClipShape& clip);

    /// Where the line ends; it begins at 0.
    [[nodiscard]] double coarsest() const;

    /// The encoding of the whole clip at this place of the line; with so many colours, where that is given and the line does not end there.
    [[nodiscard]] MovieEncoding at(double place, std::optional<int> colours = std::nullopt) const;

private:
    const platform::CopyFormat format_;
    const ClipShape& clip_;
    const double usualRate_;
};

}  // namespace velmora::engine
