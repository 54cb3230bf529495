// The system's log: https://developer.apple.com/documentation/os/os_log_create and https://developer.apple.com/documentation/os/os_log_type_t
// (https://docs.rs/oslog for the numbers of the types). os_log_with_type() is a macro of the system's headers
// (https://developer.apple.com/documentation/os/os_log_with_type) around functions that no page names; it is declared as a function here, so
// that its name is on a list which the system's library does not have.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct os_log_s* os_log_t;
/// https://developer.apple.com/documentation/os/oslogtype/init(rawvalue:) has the width,
/// https://learn.microsoft.com/en-us/dotnet/api/corefoundation.osloglevel the numbers
typedef uint8_t os_log_type_t;
enum { OS_LOG_TYPE_DEFAULT = 0x00, OS_LOG_TYPE_INFO = 0x01, OS_LOG_TYPE_ERROR = 0x10 };

/// https://unix.com/man-page/mojave/3/os_log_create/
os_log_t os_log_create(const char*, const char*);
/// https://developer.apple.com/documentation/os/os_log_with_type : a macro
void os_log_with_type(os_log_t, os_log_type_t, const char*, ...) __attribute__((format(os_log, 3, 4)));

#ifdef __cplusplus
}
#endif
