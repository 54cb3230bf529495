// Clips longer than anybody wants to record for a benchmark, and what it costs to copy and to trim them. What fails throws.
#pragma once

#include "base/Result.h"
#include "media/TimeRange.h"
#include "media/mp4/File.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <utility>

namespace velmora::benchmarks {

template <typename T>
T valueOf(Result<T> result)
{
    if (!result)
        throw std::runtime_error(result.error().localizedDescription);
    return std::move(*result);
}

/// Writes a clip that nothing is left of in the folder, however the program ends. 8 Mbit/s of pictures and 192 kbit/s of sound that no file
/// system can make smaller, in the recorder's own fragments: a gigabyte is some sixteen minutes.
[[nodiscard]] std::shared_ptr<mp4::File> openLongClip(const std::filesystem::path& folder, std::int64_t seconds);

/// How long it takes to write a clip's bytes into a new file as a trim does, up to the disk. The file is gone afterwards.
double copySeconds(mp4::File& source, const std::filesystem::path& folder);

/// And to trim it.
double trimSeconds(mp4::File& source, const std::filesystem::path& folder, const TimeRange& range);

}  // namespace velmora::benchmarks
