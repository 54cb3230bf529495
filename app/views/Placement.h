// Where the program's windows go.
#pragma once

#include "platform/WindowActivation.h"

#include <QRect>

#include <optional>

class QScreen;
class QWindow;

namespace velmora {

class FittedView;

/// Part of a screen, in points.
struct WorkArea {
    QScreen* screen = nullptr;
    QRect area;  ///< without panels
};

/// Of the main screen, the one answer for all windows. None when there is no screen. Where the desktop does not say, that of the window of
/// ours that has the focus, else the primary one.
[[nodiscard]] std::optional<WorkArea> mainWorkArea(platform::WindowActivation& activation);

/// Moves the window's content, of its present size, to the middle of the main screen.
void centre(QWindow& window, platform::WindowActivation& activation);

/// The same for a window with a given size, of which it gets what fits into that screen's work area.
void fitAndCentre(FittedView& window, platform::WindowActivation& activation);

/// A rectangle of pixels in the points of a screen of `geometry`, which is enlarged `scale` times: its top left corner is the same in both.
/// What a point covers in part is left out.
[[nodiscard]] QRect inPoints(const PixelRect& pixels, const QRect& geometry, double scale);

/// How much larger text has to be on a screen whose scale may have some of the desktop's factor for text in it already: where that reaches us as
/// a finer resolution (Xft.dpi), windows are larger as a whole. At least 1.
[[nodiscard]] double remainingTextScale(double wanted, double screenScale);

}  // namespace velmora
