#include "app/views/Placement.h"

#include "app/views/FittedView.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace velmora {

namespace {

/// The one whose pixels begin where the frame's do.
QScreen* screenOf(const PixelRect& frame)
{
    const auto screens = QGuiApplication::screens();
    const auto found = std::find_if(
        screens.begin(), screens.end(), [&](const QScreen* screen) { return screen->geometry().topLeft() == QPoint(frame.x, frame.y); });
    return found == screens.end() ? nullptr : *found;
}

}  // namespace

QRect inPoints(const PixelRect& pixels, const QRect& geometry, double scale)
{
    const auto point = [&](int pixel, int origin, auto round) { return origin + static_cast<int>(round((pixel - origin) / scale)); };
    const auto up = [](double value) { return std::ceil(value); };
    const auto down = [](double value) { return std::floor(value); };
    const QPoint topLeft{point(pixels.x, geometry.x(), up), point(pixels.y, geometry.y(), up)};
    const QPoint end{point(pixels.x + pixels.width, geometry.x(), down), point(pixels.y + pixels.height, geometry.y(), down)};
    return {topLeft, end - QPoint{1, 1}};
}

std::optional<WorkArea> mainWorkArea(platform::WindowActivation& activation)
{
    if (const auto frames = activation.mainScreen()) {
        if (auto* screen = screenOf(frames->frame))
            return WorkArea{screen, inPoints(frames->visibleFrame, screen->geometry(), screen->devicePixelRatio())};
    }
    const auto* focused = QGuiApplication::focusWindow();
    auto* screen = focused && focused->screen() ? focused->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return {};
    return WorkArea{screen, screen->availableGeometry()};
}

void centre(QWindow& window, platform::WindowActivation& activation)
{
    const auto workArea = mainWorkArea(activation);
    if (!workArea)
        return;
    QRect frame{{}, window.size()};
    frame.moveCenter(workArea->area.center());
    window.setScreen(workArea->screen);
    window.setPosition(frame.topLeft());
}

void fitAndCentre(FittedView& window, platform::WindowActivation& activation)
{
    if (const auto workArea = mainWorkArea(activation))
        window.setWorkArea(workArea->area);
    centre(window, activation);
}

double remainingTextScale(double wanted, double screenScale)
{
    return std::max(1.0, wanted / std::max(1.0, screenScale));
}

}  // namespace velmora
