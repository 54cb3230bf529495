#include "base/CurrentThread.h"

#include <pthread.h>

namespace velmora {

void setUpCurrentThread(const std::string& label, [[maybe_unused]] SerialQueue::QualityOfService qualityOfService)
{
    // The kernel keeps 15 characters; the last component of the label is the telling one.
    const auto dot = label.rfind('.');
    const std::string name = label.substr(dot == std::string::npos ? 0 : dot + 1).substr(0, 15);
    pthread_setname_np(pthread_self(), name.c_str());
}

}  // namespace velmora
