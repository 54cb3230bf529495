// What the movie module gives: copies in other formats than MP4. libavformat and libavfilter bring some seventy libraries that no other part of
// the program needs, so it is loaded when the first such copy is made.
#pragma once

#include "engine/codecs/MovieCodecs.h"

#include <memory>

namespace velmora::linux_backend {

class MovieModule {
public:
    virtual ~MovieModule() = default;

    virtual std::unique_ptr<engine::MovieCodecs> makeMovieCodecs() = 0;
};

/// As CodecModuleEntry.
using MovieModuleEntry = MovieModule*(const char* programVersion);

inline constexpr const char* movieModuleEntryName = "velmoraMakeMovieModule";
inline constexpr const char* movieModuleFileName = "velmora_movies.so";

}  // namespace velmora::linux_backend
