// The program's mark: a thick ring, open to the right, with a play triangle inside.
#pragma once

#include <QPainterPath>
#include <QRectF>

namespace velmora {

/// Side of the square that the mark is designed on.
inline constexpr double designSide = 256;

/// The mark is drawn twice: `small` has the thicker ring, the wider opening and the larger triangle, to stay legible at 24 points and below.
enum class OpticalCut { master, small };

struct OrbelleShape {
    OpticalCut opticalCut = OpticalCut::master;

    /// Two closed sub-paths, to be filled: the ring and the triangle. The mark is drawn into the largest square that fits in the middle of
    /// `rectangle`, whose y points down. The square is that of the design, so the mark leaves a margin within it.
    [[nodiscard]] QPainterPath path(const QRectF& rectangle) const;

    /// Largest size, in points, for which the small cut is chosen.
    static constexpr double largestSmallSize = 24;
    [[nodiscard]] static OpticalCut cutForSize(double points)
    {
        return points <= largestSmallSize ? OpticalCut::small : OpticalCut::master;
    }

    friend bool operator==(const OrbelleShape&, const OrbelleShape&) = default;
};

}  // namespace velmora
