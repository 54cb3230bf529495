// What the application icon is made of.
#pragma once

#include "brand/BrandColors.h"

#include <QColor>
#include <QPointF>

#include <cmath>

namespace velmora {

/// Lengths in parts of the icon's side, from its top left.
struct BrandAppIcon {
    double cornerRadius = 0.225;

    // Along a line 20 degrees off the vertical, long enough for the corners to have the end colours.
    QColor groundTop{0x26, 0x34, 0x4D};
    QColor groundBottom = BrandColors::obsidian;
    QPointF gradientStart{0.28081, -0.10221};
    QPointF gradientEnd{0.71919, 1.10221};

    double markSide = 0.66;  ///< of the square that the mark is designed on
    double ringShare = 0.75;  ///< of that square, what the ring takes up

    // The glow: strokes around the mark, each a little wider than the last and just as faint. Unlike a blur, an SVG can say that exactly.
    static constexpr int glowStrokes = 16;
    double glowReach = 0.12;
    double strokeOpacity = 0.020;

    /// Of the stroke `index`, from 0, the narrowest.
    [[nodiscard]] double strokeWidth(int index) const { return 2 * glowReach * std::pow((index + 1.0) / glowStrokes, 1.6); }

    double borderWidth = 1.0 / 128;
};

}  // namespace velmora
