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

    // Besides the palette proper, for text of less weight, the edges of controls, and states. Text has 4.5:1 and edges have 3:1 on
    // every background of ours; white on coral, which the palette gives, is 3.5:1.
    static inline const QColor secondarySlate{0xB0, 0xBB, 0xCA};
    static inline const QColor tertiarySlate{0x94, 0xA3, 0xB8};
    static inline const QColor controlSlate{0x74, 0x84, 0x9B};
    static inline const QColor green{0x30, 0xD1, 0x58};
    static inline const QColor amber{0xFB, 0xBF, 0x24};
};

}  // namespace velmora
