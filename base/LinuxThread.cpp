#include "base/CurrentThread.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace velmora {

void setUpCurrentThread(const std::string& label, SerialQueue::QualityOfService qualityOfService)
{
    // The kernel keeps 15 characters; the last component of the label is the telling one.
    const auto dot = label.rfind('.');
    const std::string name = label.substr(dot == std::string::npos ? 0 : dot + 1).substr(0, 15);
    pthread_setname_np(pthread_self(), name.c_str());
    if (qualityOfService == SerialQueue::QualityOfService::background) {
        // Not SCHED_IDLE: where others want all of the processors that stands still. A sixty-eighth of what any other thread gets goes on, and
        // gives way as fast; threads that are started from here inherit both.
        constexpr int least = 19;
        const sched_param none{};
        pthread_setschedparam(pthread_self(), SCHED_BATCH, &none);
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), least);
    }
}

}  // namespace velmora
