// rename(2): what a Mac has besides. Unconfirmed: the numbers, which the page names without giving them.
#pragma once
#define RENAME_SWAP 0x00000002
#define RENAME_EXCL 0x00000004
#ifdef __cplusplus
extern "C" {
#endif
int renamex_np(const char*, const char*, unsigned int);
int renameatx_np(int, const char*, int, const char*, unsigned int);
#ifdef __cplusplus
}
#endif
