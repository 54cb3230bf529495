#pragma once
#include "../../../additions/statfs.h"

extern "C" int macFstatfs(int descriptor, struct statfs* status);
#define fstatfs macFstatfs
