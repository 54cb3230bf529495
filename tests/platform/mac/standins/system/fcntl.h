// fcntl(2) of a Mac, for what stands on the stand-in.
#pragma once
#include_next <fcntl.h>

#include "../../additions/fcntl.h"

extern "C" int macFcntl(int descriptor, int command, ...);
#define fcntl macFcntl
