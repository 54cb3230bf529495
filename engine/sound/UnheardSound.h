// Why nothing is heard of an application, though it plays.
#pragma once

#include "engine/sound/SoundingApplications.h"
#include "platform/CaptureStream.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace velmora::engine {

/// What is taken as evidence that the target plays, while a capture of it hears nothing:
/// - a stream of its own that plays into a mute, goes to its device undecoded, or is one of a server that is not the one recorded. A stream
///   that simply plays is heard: then what it plays is silent, and there is nothing to say, whatever other streams do. A paused one says nothing.
/// - where it has no stream at all: one that plays and has the name of the target, whose process neither has a window nor comes from one that
///   has. Another instance of the program plays for its own window, or for whoever started it.
/// Otherwise there is none: an application that has closed its stream, as many do when they pause, does not play.
[[nodiscard]] std::optional<platform::UnheardReason> whyUnheard(const std::vector<SoundStream>& streams, const AudioTarget& target,
    const Processes& processes, const std::function<bool(std::int32_t processID)>& ownsWindow);

}  // namespace velmora::engine
