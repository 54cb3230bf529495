// The icon that a window brings itself (EWMH _NET_WM_ICON): pictures one after another, each its width, its height, and its pixels as ARGB
// that is not premultiplied, all in items of 32 bits.
#pragma once

#include "platform/ApplicationIcon.h"
#include "platform/linux/x11/Connection.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// Hands out `length` items from `offset` on, fewer where there are no more.
using ReadItems = std::function<std::vector<std::uint32_t>(std::uint32_t offset, std::uint32_t length)>;

/// From a property of `itemCount` items, what fits best into a square of `side` pixels: the smallest picture that is not smaller, else the
/// largest. Of 32 pictures at most the two numbers at their head are read, and one whole picture of at most 1024 by 1024. Pictures below
/// 8 pixels are passed over; one that says it is larger than what is left of the property ends the search. None: nothing usable, or nothing
/// that can be seen.
[[nodiscard]] std::optional<platform::ApplicationIcon> iconFrom(std::uint32_t itemCount, const ReadItems& read, int side);

/// The same of a window's property. Waits for the server, twice and once for each picture in the property.
[[nodiscard]] std::optional<platform::ApplicationIcon> readWindowIcon(const Connection& connection, xcb_window_t window, int side);

/// A picture in the middle of a square of `side` pixels, as large as it can be in its own shape; enlarged or reduced by the average of what a
/// pixel covers. `argb` has width x height items.
[[nodiscard]] platform::ApplicationIcon fitIcon(const std::uint32_t* argb, std::uint32_t width, std::uint32_t height, int side);

}  // namespace velmora::linux_backend
