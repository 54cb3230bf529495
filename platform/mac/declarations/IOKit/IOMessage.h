// The messages of sleep and wake. The page of each is https://developer.apple.com/documentation/iokit/ ; what is compared and what is not
// says IOKit/pwr_mgt/IOPMLib.h.
#pragma once

/// https://docs.rs/objc2-io-kit/0.3.1/objc2_io_kit/constant.kIOMessageCanSystemSleep.html
#define kIOMessageCanSystemSleep 0xE0000270U

#define kIOMessageSystemWillSleep 0xE0000280U
#define kIOMessageSystemHasPoweredOn 0xE0000300U
