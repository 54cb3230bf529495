// libavutil's error codes as errors of this system.
#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>

namespace velmora::linux_backend {

/// The domain of errors that carry an AVERROR as their code.
inline constexpr std::string_view libavErrorDomain = "libav";

/// libavutil's text for it.
[[nodiscard]] std::string libavErrorText(int averror);

/// "<what>: <libavutil's text for it>".
[[nodiscard]] Error libavError(int averror, std::string_view what);

}  // namespace velmora::linux_backend
