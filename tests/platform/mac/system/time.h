// clock_gettime(3): CLOCK_UPTIME_RAW is what mach_absolute_time() counts, in nanoseconds.
#pragma once
#include_next <time.h>
#undef CLOCK_MONOTONIC_COARSE
#undef CLOCK_REALTIME_COARSE
#undef CLOCK_BOOTTIME
#undef CLOCK_TAI
#undef TIMER_ABSTIME
#define CLOCK_UPTIME_RAW 8
