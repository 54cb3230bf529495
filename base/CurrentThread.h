// What the operating system knows of the thread that calls.
#pragma once

#include "base/SerialQueue.h"

#include <string>

namespace velmora {

/// Names the calling thread after the last component of `label`, shortened to what the system keeps, and asks for the quality of service
/// where the system knows any. Nothing happens where it refuses: names and urgency change no result.
void setUpCurrentThread(const std::string& label, SerialQueue::QualityOfService qualityOfService);

}  // namespace velmora
