#include "base/CurrentThread.h"

#include <pthread.h>
#include <sched.h>

namespace velmora {

void setUpCurrentThread(const std::string& label, SerialQueue::QualityOfService qualityOfService)
{
    // The kernel keeps 15 characters; the last component of the label is the telling one.
    const auto dot = label.rfind('.');
    const std::string name = label.substr(dot == std::string::npos ? 0 : dot + 1).substr(0, 15);
    pthread_setname_np(pthread_self(), name.c_str());
    if (qualityOfService == SerialQueue::QualityOfService::background) {
        const sched_param none{};
        pthread_setschedparam(pthread_self(), SCHED_IDLE, &none);
    }
}

}  // namespace velmora
