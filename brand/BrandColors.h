// The palette that everything the program shows is painted with.
#pragma once

#include <QColor>

namespace velmora {

/// sRGB, opaque.
class BrandColors {
public:
    static inline const QColor coral{255, 59, 48};
    static inline const QColor obsidian{15, 23, 42};
    static inline const QColor snowSlate{248, 250, 252};
    static inline const QColor studioWhite{255, 255, 255};
    static inline const QColor cardSlate{30, 41, 59};
    static inline const QColor borderSlate{51, 65, 85};
};

}  // namespace velmora
