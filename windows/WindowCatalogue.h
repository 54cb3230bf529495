// The rules of the window catalogue: which windows may be recorded, and which live window a chosen one corresponds to.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ShareableContent.h"
#include "windows/CapturedWindowInfo.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::window_catalogue {

/// The entry for `window`; none when it may not be recorded: no owning application, one of our own windows, not on layer 0, or smaller
/// than 100 points in either direction, unless it is only a choice, which has no size yet. What the desktop lets the user choose has no
/// application that is known, and is called by what it is and when it was chosen.
[[nodiscard]] std::optional<CapturedWindowInfo> entry(const platform::ShareableWindow& window, std::int32_t ownProcessID);

/// The eligible windows: titled before untitled, then by application name as the user's language compares it, ignoring case; ties keep
/// the order of `windows`.
[[nodiscard]] std::vector<CapturedWindowInfo> entries(const std::vector<platform::ShareableWindow>& windows, std::int32_t ownProcessID);

using FindCompletion = UniqueFunction<void(Result<std::optional<platform::ShareableWindow>>)>;

/// The live window `id` among those on screen now; none when it is not there. `completion` is called exactly once, on
/// `mainExecutor`, with the query's error unchanged.
void findWindow(platform::ShareableContentProvider& content, Executor& mainExecutor, std::uint32_t id, FindCompletion completion);

}  // namespace velmora::window_catalogue
