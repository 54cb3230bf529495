// pthread_setname_np(3): a thread of a Mac names only itself.
#pragma once
#define pthread_setname_np velmora_not_on_this_platform
#include_next <pthread.h>
#undef pthread_setname_np
#ifdef __cplusplus
extern "C"
#endif
    int
    pthread_setname_np(const char*);
