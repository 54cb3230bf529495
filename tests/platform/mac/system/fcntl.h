// fcntl(2), open(2): a Mac's, without what only Linux has.
#pragma once
#include_next <fcntl.h>
#undef O_PATH
#undef O_TMPFILE
#undef AT_EMPTY_PATH
#undef AT_STATX_SYNC_AS_STAT
#undef F_OFD_GETLK
#undef F_OFD_SETLK
#undef F_OFD_SETLKW
#undef F_ADD_SEALS
#undef F_SETPIPE_SZ
#include "../additions/fcntl.h"
