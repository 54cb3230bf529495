// What the programs that people play clips with show of a file whose pictures carry numbers.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace velmora::test {

/// All pictures, in their order. A player that fails fails the test.
std::vector<int> shownByGStreamer(const std::filesystem::path& file, int width, int height);

/// From time 0 on; at most `most` pictures, or all.
std::vector<int> shownByMpv(const std::filesystem::path& file, std::optional<int> most = std::nullopt);

struct ShownByChromium {
    std::vector<int> numbers;  ///< one for each time
    double duration = 0;  ///< seconds
};

/// In a page that seeks to one time after the other.
ShownByChromium shownByChromium(const std::filesystem::path& file, const std::vector<double>& times);

}  // namespace velmora::test
