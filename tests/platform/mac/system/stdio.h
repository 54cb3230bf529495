// stdio(3), rename(2).
#pragma once
#define renameat2 velmora_not_on_this_platform
#include_next <stdio.h>
#undef renameat2
#undef RENAME_NOREPLACE
#undef RENAME_EXCHANGE
#undef RENAME_WHITEOUT
#undef stderr
#undef stdout
#undef stdin
#ifdef __cplusplus
extern "C" {
#endif
extern FILE *__stdinp, *__stdoutp, *__stderrp;
#ifdef __cplusplus
}
#endif
#define stdin __stdinp
#define stdout __stdoutp
#define stderr __stderrp
#include "../additions/rename.h"
