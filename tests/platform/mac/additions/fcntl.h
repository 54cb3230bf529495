// fcntl(2): what a Mac has besides. Unconfirmed: the numbers, which the page names without giving them.
#pragma once
#include <sys/types.h>
#define F_PREALLOCATE 42
#define F_GETPATH 50
#define F_FULLFSYNC 51
#define F_ALLOCATECONTIG 0x00000002
#define F_ALLOCATEALL 0x00000004
#define F_PEOFPOSMODE 3
#define F_VOLPOSMODE 4
typedef struct fstore {
    unsigned int fst_flags;
    int fst_posmode;
    off_t fst_offset;
    off_t fst_length;
    off_t fst_bytesalloc;
} fstore_t;
