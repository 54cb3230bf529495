#include "platform/mac/SystemExceptions.h"

#include "platform/mac/MacLogSink.h"
#include "platform/mac/ObjectiveC.h"

#include <utility>

namespace velmora::mac_backend {

Error errorOf(NSException* exception)
{
    @autoreleasepool {
        auto name = textOf(exception.name);
        const auto reason = textOf(exception.reason);
        // Not the reason, which may name files.
        const auto message = "The system has thrown " + (name.empty() ? std::string{"an exception without a name"} : name);
        makeLogSink()->write(
            {.subsystem = "com.velmora.Velmora", .category = "app", .level = platform::LogLevel::error, .message = message});
        return {std::move(name), 0, reason.empty() ? message + '.' : reason, nullptr};
    }
}

}  // namespace velmora::mac_backend
