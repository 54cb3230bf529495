#include "platform/linux/x11/WindowIcon.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t mostPictures = 32;
constexpr std::uint32_t smallestSide = 8;
constexpr std::uint32_t largestSide = 1024;
constexpr std::uint32_t headItems = 2;

struct IconPicture {
    std::uint32_t offset = 0;  ///< of its head
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    [[nodiscard]] std::uint32_t side() const { return std::max(width, height); }
    [[nodiscard]] bool isUsable() const { return std::min(width, height) >= smallestSide && side() <= largestSide; }
};

bool isBetter(const IconPicture& one, const IconPicture& other, std::uint32_t side)
{
    const bool isLargeEnough = one.side() >= side;
    if (isLargeEnough != (other.side() >= side))
        return isLargeEnough;
    return isLargeEnough ? one.side() < other.side() : one.side() > other.side();
}

std::optional<IconPicture> bestPicture(std::uint32_t itemCount, const ReadItems& read, std::uint32_t side)
{
    std::optional<IconPicture> best;
    std::uint64_t offset = 0;
    for (std::uint32_t count = 0; count < mostPictures && offset + headItems < itemCount; ++count) {
        const auto head = read(static_cast<std::uint32_t>(offset), headItems);
        if (head.size() < headItems)
            break;
        const std::uint64_t items = std::uint64_t{head[0]} * head[1];
        const std::uint64_t left = itemCount - offset - headItems;
        // Behind such a picture nothing can be found.
        if (items == 0 || items > left)
            break;
        const IconPicture picture{static_cast<std::uint32_t>(offset), head[0], head[1]};
        if (picture.isUsable() && (!best || isBetter(picture, *best, side)))
            best = picture;
        offset += headItems + items;
    }
    return best;
}

/// The pixels of one direction that a pixel of the result covers, with how much of each.
struct Span {
    std::uint32_t first = 0;
    std::vector<float> shares;
};

/// `length` pixels in the middle of `whole`, divided among `side` pixels.
std::vector<Span> spansOf(std::uint32_t length, std::uint32_t whole, int side)
{
    const double step = double(whole) / side;
    const double margin = (double(whole) - length) / 2;
    std::vector<Span> spans(static_cast<std::size_t>(side));
    for (int index = 0; index < side; ++index) {
        const double begin = std::clamp(index * step - margin, 0.0, double(length));
        const double end = std::clamp((index + 1) * step - margin, 0.0, double(length));
        auto& span = spans[static_cast<std::size_t>(index)];
        span.first = static_cast<std::uint32_t>(begin);
        for (std::uint32_t pixel = span.first; pixel < length && pixel < end; ++pixel)
            span.shares.push_back(static_cast<float>((std::min<double>(pixel + 1.0, end) - std::max<double>(pixel, begin)) / step));
    }
    return spans;
}

std::uint8_t rounded(float value)
{
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

}  // namespace

platform::ApplicationIcon fitIcon(const std::uint32_t* argb, std::uint32_t width, std::uint32_t height, int side)
{
    const auto whole = std::max(width, height);
    const auto columns = spansOf(width, whole, side);
    const auto rows = spansOf(height, whole, side);
    platform::ApplicationIcon icon{.side = side, .rgba = {}};
    icon.rgba.reserve(static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * 4);
    for (const auto& row : rows) {
        for (const auto& column : columns) {
            float red = 0;
            float green = 0;
            float blue = 0;
            float alpha = 0;
            for (std::size_t y = 0; y < row.shares.size(); ++y) {
                const auto* line = argb + (row.first + y) * std::size_t{width} + column.first;
                for (std::size_t x = 0; x < column.shares.size(); ++x) {
                    // A pixel counts by how much of it can be seen.
                    const float opacity = static_cast<float>(line[x] >> 24) * row.shares[y] * column.shares[x];
                    red += opacity * static_cast<float>(line[x] >> 16 & 0xff);
                    green += opacity * static_cast<float>(line[x] >> 8 & 0xff);
                    blue += opacity * static_cast<float>(line[x] & 0xff);
                    alpha += opacity;
                }
            }
            const float divisor = alpha > 0 ? alpha : 1;
            for (const float value : {red / divisor, green / divisor, blue / divisor, alpha})
                icon.rgba.push_back(rounded(value));
        }
    }
    return icon;
}

std::optional<platform::ApplicationIcon> iconFrom(std::uint32_t itemCount, const ReadItems& read, int side)
{
    const auto best = bestPicture(itemCount, read, static_cast<std::uint32_t>(side));
    if (!best)
        return std::nullopt;
    const auto items = read(best->offset, headItems + best->width * best->height);
    // Its program may have replaced it meanwhile.
    if (items.size() != headItems + best->width * best->height || items[0] != best->width || items[1] != best->height)
        return std::nullopt;
    if (std::none_of(items.begin() + headItems, items.end(), [](std::uint32_t pixel) { return pixel >> 24 != 0; }))
        return std::nullopt;
    return fitIcon(items.data() + headItems, best->width, best->height, side);
}

std::optional<platform::ApplicationIcon> readWindowIcon(const Connection& connection, xcb_window_t window, int side)
{
    const auto property = connection.atom("_NET_WM_ICON");
    const auto ask = [&](std::uint32_t offset, std::uint32_t length) {
        const auto asked = xcb_get_property(connection.xcb(), 0, window, property, XCB_ATOM_CARDINAL, offset, length);
        return connection.reply(xcb_get_property_reply, asked);
    };
    const auto size = ask(0, 0);
    if (!size || size->format != 32)
        return std::nullopt;
    return iconFrom(
        size->bytes_after / 4, [&](std::uint32_t offset, std::uint32_t length) { return values32(ask(offset, length).get()); }, side);
}

}  // namespace velmora::linux_backend
