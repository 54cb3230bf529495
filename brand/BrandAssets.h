// Images of the mark, for menus and for the program's item in the menu bar.
#pragma once

#include "brand/BrandColors.h"
#include "capture/CaptureState.h"

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QString>

#include <optional>

namespace velmora {

/// What the program's item shows, 18 x 18 points, drawn from its outlines at whatever size the desktop asks for.
struct MenuBarImage {
    struct Dot {
        QRectF rectangle;  ///< in points; its circle is filled; the origin is the image's bottom left, y points up
        QColor fill;
        friend bool operator==(const Dot&, const Dot&) = default;
    };

    static constexpr double side = 18;

    QColor markFill;
    std::optional<Dot> dot;

    /// Only the shape counts: it is shown wholly in the colour of the desktop's own items.
    bool isTemplate = true;
    QString accessibleDescription = QStringLiteral("Velmora");

    /// A square of `pixels`, the background transparent. `templateColor` replaces all colours of a template image and none of any other.
    [[nodiscard]] QImage rendered(int pixels, const QColor& templateColor = BrandColors::snowSlate) const;

    friend bool operator==(const MenuBarImage&, const MenuBarImage&) = default;
};

class BrandAssets {
public:
    /// The mark on a transparent square of `size` points, that is `size` times `scale` pixels. The small cut if `isSmallCut`, and at sizes
    /// up to 24 points in any case.
    [[nodiscard]] static QImage symbolImage(double size, const QColor& color, bool isSmallCut, double scale = 1);

    [[nodiscard]] static MenuBarImage menuBarImage(const CaptureState& state);
};

}  // namespace velmora
