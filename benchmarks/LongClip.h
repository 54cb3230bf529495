// Clips longer than anybody wants to record for a benchmark, and what it costs to copy and to trim them. A failure ends the program.
#pragma once

#include "base/Result.h"
#include "media/TimeRange.h"
#include "media/mp4/File.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace velmora::benchmarks {

template <typename T>
T valueOf(Result<T> result)
{
    if (!result) {
        std::fprintf(stderr, "%s\n", result.error().localizedDescription.c_str());
        std::exit(1);
    }
    return std::move(*result);
}

/// 8 Mbit/s of pictures and 192 kbit/s of sound that no file system can make smaller, in the recorder's own fragments: a gigabyte is some
/// sixteen minutes.
void writeLongClip(const std::filesystem::path& path, std::int64_t seconds);

/// How long it takes to write a clip's bytes into a new file as a trim does, up to the disk. The file is gone afterwards.
double copySeconds(mp4::File& source, const std::filesystem::path& folder);

/// And to trim it.
double trimSeconds(mp4::File& source, const std::filesystem::path& folder, const TimeRange& range);

}  // namespace velmora::benchmarks
