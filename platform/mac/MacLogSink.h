// The system's log on a Mac.
#pragma once

#include "platform/LogSink.h"

#include <memory>

namespace velmora::mac_backend {

/// What is written is public there: private values have been replaced before.
std::shared_ptr<platform::LogSink> makeLogSink();

}  // namespace velmora::mac_backend
