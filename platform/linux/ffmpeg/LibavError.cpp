#include "platform/linux/ffmpeg/LibavError.h"

#include <array>

extern "C" {
#include <libavutil/error.h>
}

namespace velmora::linux_backend {

std::string libavErrorText(int averror)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(averror, text.data(), text.size());
    return text.data();
}

Error libavError(int averror, std::string_view what)
{
    return Error{std::string{libavErrorDomain}, averror, std::string{what} + ": " + libavErrorText(averror), nullptr};
}

}  // namespace velmora::linux_backend
