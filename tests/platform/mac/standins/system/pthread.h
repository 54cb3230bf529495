// pthread_setname_np(3) of a Mac, whose threads name only themselves.
#pragma once
#include_next <pthread.h>

extern "C" int macPthreadSetname(const char* name);
#define pthread_setname_np macPthreadSetname
