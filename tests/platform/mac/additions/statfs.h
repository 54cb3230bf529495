// statfs(2): a Mac's, in which file systems have names. Unconfirmed: the number.
#pragma once
#include <stdint.h>
#include <sys/param.h>
#define MNT_LOCAL 0x00001000
#define MFSTYPENAMELEN 16
struct statfs {
    uint32_t f_bsize;
    int32_t f_iosize;
    uint64_t f_blocks, f_bfree, f_bavail, f_files, f_ffree;
    uint32_t f_type, f_flags, f_fssubtype;
    char f_fstypename[MFSTYPENAMELEN];
    char f_mntonname[MAXPATHLEN];
    char f_mntfromname[MAXPATHLEN];
};
