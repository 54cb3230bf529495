#include "base/CurrentThread.h"

#include <pthread.h>
#include <pthread/qos.h>

namespace velmora {

namespace {

qos_class_t classOf(SerialQueue::QualityOfService qualityOfService)
{
    switch (qualityOfService) {
    case SerialQueue::QualityOfService::userInteractive:
        return QOS_CLASS_USER_INTERACTIVE;
    case SerialQueue::QualityOfService::userInitiated:
        return QOS_CLASS_USER_INITIATED;
    case SerialQueue::QualityOfService::utility:
        return QOS_CLASS_UTILITY;
    case SerialQueue::QualityOfService::background:
        return QOS_CLASS_BACKGROUND;
    }
    return QOS_CLASS_DEFAULT;
}

}  // namespace

void setUpCurrentThread(const std::string& label, SerialQueue::QualityOfService qualityOfService)
{
    // 64 bytes with the zero at the end.
    const auto dot = label.rfind('.');
    const std::string name = label.substr(dot == std::string::npos ? 0 : dot + 1).substr(0, 63);
    pthread_setname_np(name.c_str());
    pthread_set_qos_class_self_np(classOf(qualityOfService), 0);
}

}  // namespace velmora
