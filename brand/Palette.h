// The colours of everything shown, by what they are for: in the brand's own look, and for people who asked for more contrast.
#pragma once

#include "brand/BrandColors.h"

#include <QColor>

namespace velmora {

/// In the brand's look text has 4.5:1 and the edges of controls 3:1. With more contrast it is 7:1 for text, also on a tint, 4.5:1 for every
/// edge and for what is selected or prominent, and 3:1 for a slider's groove.
struct Palette {
    QColor coral = BrandColors::coral;
    QColor onCoral = BrandColors::studioWhite;  ///< text on a coral surface
    QColor window = BrandColors::obsidian;
    QColor card = BrandColors::cardSlate;
    QColor border = BrandColors::borderSlate;
    QColor groove = BrandColors::borderSlate;
    QColor toolTip = BrandColors::borderSlate;
    QColor text = BrandColors::snowSlate;
    QColor secondaryText = BrandColors::secondarySlate;
    QColor tertiaryText = BrandColors::tertiarySlate;
    QColor controlBorder = BrandColors::controlSlate;
    QColor granted = BrandColors::green;
    QColor tip = BrandColors::amber;
    double selectedTextTint = 0.5;  ///< of coral, behind what is selected in a text
    double disabledOpacity = 0.45;
    double passedTint = 0.5;  ///< of coral, where a step was before

    [[nodiscard]] static const Palette& of(bool increasesContrast)
    {
        static const Palette ordinary;
        static const Palette contrasting{{0xFF, 0xA6, 0x9E}, Qt::black, Qt::black, {0x0B, 0x11, 0x1C}, {0x94, 0xA3, 0xB8},
            {0x56, 0x65, 0x79}, {0x0B, 0x11, 0x1C}, Qt::white, {0xE2, 0xE8, 0xF0}, {0xCB, 0xD5, 0xE1}, {0xCB, 0xD5, 0xE1},
            {0xBB, 0xF7, 0xD0}, {0xFD, 0xE6, 0x8A}, 1, 0.7, 0.75};
        return increasesContrast ? contrasting : ordinary;
    }
};

}  // namespace velmora
