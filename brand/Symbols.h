// The glyphs of buttons, lists and states, under the names that views use.
#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>

namespace velmora {

/// Drawn from outlines, so sharp at any size. Any thread.
class Symbols {
public:
    [[nodiscard]] static QStringList names();

    /// The glyph in one colour, in the middle of a transparent picture of `pixels`; null when there is no symbol of that name.
    [[nodiscard]] static QImage image(const QString& name, const QColor& color, const QSize& pixels);
};

}  // namespace velmora
