// With which quality pictures take a given number of bytes.
#pragma once

#include <vector>

namespace velmora::engine {

/// Learns from what was encoded: the logarithm of the size is nearly a straight line over x264's constant rate factor.
class SmallFileSearch {
public:
    /// The finest: more bytes show nothing more. The coarsest that is any use; and the coarsest before fewer pixels look better than coarse
    /// ones.
    static constexpr double finest = 4;
    static constexpr double coarsest = 48;
    static constexpr double coarsestOfGood = 30;

    /// So many bytes were the result. Above 0.
    void add(double quality, double bytes);

    /// What comes closest to `bytes`, not held to the bounds above. A usual guess where nothing is known.
    [[nodiscard]] double qualityFor(double bytes) const;

private:
    struct Point {
        double quality = 0;
        double logarithm = 0;
    };
    std::vector<Point> points_;
};

}  // namespace velmora::engine
