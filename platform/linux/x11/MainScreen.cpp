#include "platform/linux/x11/MainScreen.h"

#include <algorithm>

namespace velmora::linux_backend {

namespace {

constexpr std::size_t wholeValues = 4;
constexpr std::size_t partialValues = 12;
constexpr std::int32_t largestCoordinate = 0xffff;  // the protocol has 16 bits for one

std::int64_t area(const PixelRect& rectangle)
{
    return std::int64_t{rectangle.width} * rectangle.height;
}

/// A client may have set any value.
std::int32_t within(std::uint32_t value, std::int32_t length)
{
    return static_cast<std::int32_t>(std::min<std::uint32_t>(value, static_cast<std::uint32_t>(std::max(length, 0))));
}

struct Range {
    std::int32_t start;
    std::int32_t length;
};

Range range(std::uint32_t first, std::uint32_t last, std::int32_t length)
{
    const auto start = within(first, length);
    const auto end = last < static_cast<std::uint32_t>(length) ? static_cast<std::int32_t>(last) + 1 : length;
    return {start, std::max(0, end - start)};
}

bool reaches(const PixelRect& reserved, const PixelRect& monitor)
{
    return !reserved.intersected(monitor).isEmpty();
}

void moveLeftEdge(PixelRect& free, std::int32_t x)
{
    const auto right = free.x + free.width;
    free.x = std::max(free.x, x);
    free.width = right - free.x;
}

void moveTopEdge(PixelRect& free, std::int32_t y)
{
    const auto bottom = free.y + free.height;
    free.y = std::max(free.y, y);
    free.height = bottom - free.y;
}

void apply(const Strut& strut, const PixelRect& root, const PixelRect& monitor, PixelRect& free)
{
    const auto leftEdge = within(strut.left, root.width);
    const auto rightEdge = root.width - within(strut.right, root.width);
    const auto topEdge = within(strut.top, root.height);
    const auto bottomEdge = root.height - within(strut.bottom, root.height);
    const auto beside = range(strut.leftStart, strut.leftEnd, root.height);
    const auto otherSide = range(strut.rightStart, strut.rightEnd, root.height);
    const auto above = range(strut.topStart, strut.topEnd, root.width);
    const auto below = range(strut.bottomStart, strut.bottomEnd, root.width);

    if (leftEdge < monitor.x + monitor.width && reaches({0, beside.start, leftEdge, beside.length}, monitor))
        moveLeftEdge(free, leftEdge);
    if (rightEdge > monitor.x && reaches({rightEdge, otherSide.start, root.width - rightEdge, otherSide.length}, monitor))
        free.width = std::min(free.width, rightEdge - free.x);
    if (topEdge < monitor.y + monitor.height && reaches({above.start, 0, above.length, topEdge}, monitor))
        moveTopEdge(free, topEdge);
    if (bottomEdge > monitor.y && reaches({below.start, bottomEdge, below.length, root.height - bottomEdge}, monitor))
        free.height = std::min(free.height, bottomEdge - free.y);
}

void keepTo(const PixelRect& workArea, PixelRect& free)
{
    if (const auto common = free.intersected(workArea); !common.isEmpty())
        free = common;
}

PixelRect visibleFrame(const DesktopLayout& layout, const PixelRect& monitor)
{
    PixelRect free = monitor;
    for (const auto& strut : layout.struts) {
        PixelRect left = free;
        apply(strut, layout.root, monitor, left);
        if (!left.isEmpty())
            free = left;
    }
    for (const auto& workArea : layout.monitorWorkAreas)
        keepTo(workArea, free);
    const bool isAlone = layout.monitors.size() <= 1;
    if (layout.workArea && (isAlone || (layout.struts.empty() && layout.monitorWorkAreas.empty())))
        keepTo(*layout.workArea, free);
    return free;
}

PixelRect mainMonitor(const DesktopLayout& layout)
{
    if (layout.monitors.empty())
        return layout.root;
    const auto isPrimary = [](const Monitor& monitor) { return monitor.isPrimary; };
    auto chosen = std::find_if(layout.monitors.begin(), layout.monitors.end(), isPrimary);
    if (chosen == layout.monitors.end())
        chosen = layout.monitors.begin();
    if (layout.focusedWindow) {
        const auto shown = [&](const Monitor& monitor) { return area(monitor.frame.intersected(*layout.focusedWindow)); };
        // The primary one stays chosen where two show equally much.
        for (auto other = layout.monitors.begin(); other != layout.monitors.end(); ++other) {
            if (shown(*other) > shown(*chosen))
                chosen = other;
        }
    }
    return chosen->frame;
}

}  // namespace

std::optional<Strut> Strut::fromValues(const std::vector<std::uint32_t>& partial, const std::vector<std::uint32_t>& whole)
{
    Strut strut;
    if (partial.size() >= partialValues)
        strut = {partial[0], partial[1], partial[2], partial[3], partial[4], partial[5], partial[6], partial[7], partial[8], partial[9],
            partial[10], partial[11]};
    else if (whole.size() >= wholeValues)
        strut = {whole[0], whole[1], whole[2], whole[3]};
    if (strut.left == 0 && strut.right == 0 && strut.top == 0 && strut.bottom == 0)
        return {};
    return strut;
}

std::vector<PixelRect> workAreasFrom(const std::vector<std::uint32_t>& values)
{
    const auto limited = [](std::uint32_t value) {
        return std::clamp(static_cast<std::int32_t>(value), -largestCoordinate, largestCoordinate);
    };
    std::vector<PixelRect> areas;
    for (std::size_t i = 0; i + 4 <= values.size(); i += 4)
        areas.push_back({limited(values[i]), limited(values[i + 1]), limited(values[i + 2]), limited(values[i + 3])});
    return areas;
}

std::optional<platform::ScreenFrames> mainScreen(const DesktopLayout& layout)
{
    const auto monitor = mainMonitor(layout);
    if (monitor.isEmpty())
        return {};
    return platform::ScreenFrames{monitor, visibleFrame(layout, monitor)};
}

}  // namespace velmora::linux_backend
