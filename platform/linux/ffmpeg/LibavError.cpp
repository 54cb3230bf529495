#include "platform/linux/ffmpeg/LibavError.h"

#include <array>

extern "C" {
#include <libavutil/error.h>
}

namespace velmora::linux_backend {

Error libavError(int averror, std::string_view what)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(averror, text.data(), text.size());
    return Error{std::string{libavErrorDomain}, averror, std::string{what} + ": " + text.data(), nullptr};
}

}  // namespace velmora::linux_backend
