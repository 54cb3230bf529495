// assert(3): the C library of a Mac names the reporting function otherwise than musl does.
#undef assert
#ifdef __cplusplus
extern "C"
#endif
    __attribute__((noreturn)) void
    __assert_rtn(const char*, const char*, int, const char*);
#ifdef NDEBUG
#define assert(condition) ((void)0)
#else
#define assert(condition) ((condition) ? (void)0 : __assert_rtn(__func__, __FILE__, __LINE__, #condition))
#endif
