// Quality-of-service classes of threads, and that a thread may set its own: https://developer.apple.com/forums/thread/733757 and
// https://developer.apple.com/forums/thread/745457. Unconfirmed: the numbers.
#pragma once
enum qos_class_t : unsigned int {
    QOS_CLASS_USER_INTERACTIVE = 0x21,
    QOS_CLASS_USER_INITIATED = 0x19,
    QOS_CLASS_DEFAULT = 0x15,
    QOS_CLASS_UTILITY = 0x11,
    QOS_CLASS_BACKGROUND = 0x09,
};
extern "C" int pthread_set_qos_class_self_np(qos_class_t, int);
