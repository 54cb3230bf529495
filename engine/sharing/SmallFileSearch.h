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

    /// Half the bytes for 6 more, until it is measured.
    SmallFileSearch() = default;
    /// As steep as another has found, of whose points none are taken over.
    [[nodiscard]] static SmallFileSearch withSlopeOf(const SmallFileSearch& other);

    /// So many bytes were the result. Above 0.
    void add(double quality, double bytes);

    /// What comes closest to `bytes`, not held to the bounds above. A usual guess where nothing is known.
    [[nodiscard]] double qualityFor(double bytes) const;

private:
    struct Point {
        double quality = 0;
        double logarithm = 0;
    };
    [[nodiscard]] std::vector<Point> nearestTo(double logarithm) const;
    [[nodiscard]] double slopeOf(const std::vector<Point>& nearest) const;

    std::vector<Point> points_;
    double slope_ = -1.0 / 6;
};

}  // namespace velmora::engine
