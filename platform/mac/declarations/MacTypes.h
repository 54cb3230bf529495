// The integers that the older frameworks name themselves: https://developer.apple.com/documentation/kernel/mactypes_h (names). The widths
// of OSStatus, UInt32, UInt8 and OSType are those in the pages of docs.rs for core-foundation-sys ("base", "mac_types"). Unconfirmed: that of
// OptionBits, and the number of noErr.
#pragma once

#include <stdint.h>

/// https://docs.rs/core-foundation/latest/core_foundation/base/fn.CFEqual.html (what it returns)
typedef unsigned char Boolean;

typedef uint8_t UInt8;
typedef uint32_t UInt32;
/// https://docs.rs/crate/core-foundation-sys/0.4.2/target-redirect/core_foundation_sys/base/type.OSStatus.html
typedef int32_t OSStatus;

/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs
typedef uint32_t OSType;
/// https://docs.rs/core-media/latest/src/core_media/format_description.rs.html (32 bits, unsigned)
typedef OSType FourCharCode;

enum { noErr = 0 };

typedef uint32_t OptionBits;
/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs
typedef unsigned long ItemCount;
typedef unsigned long ByteCount;
