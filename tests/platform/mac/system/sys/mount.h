#pragma once
#include "../../additions/statfs.h"
#ifdef __cplusplus
extern "C" {
#endif
int statfs(const char*, struct statfs*);
int fstatfs(int, struct statfs*);
#ifdef __cplusplus
}
#endif
