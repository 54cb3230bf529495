// How a test steers the stand-in for Core Foundation, and what it says of its use. It ends the test program where an object is used after
// it was released for the last time, where NULL is used, and where an object is taken for one of another kind. Any thread, but for
// preferences.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::standin {

/// Objects that somebody still owns; constants, and what the preferences hold, do not count.
[[nodiscard]] std::size_t ownedObjectCount();

/// Enough for tests: what begins a sequence and what goes on with it.
[[nodiscard]] bool isUtf8(std::string_view text);

/// With one reference, which is the caller's; it holds its elements.
[[nodiscard]] CFArrayRef makeArray(const std::vector<CFTypeRef>& elements);

[[nodiscard]] std::int64_t numberOf(CFTypeRef number);
[[nodiscard]] std::vector<UInt8> bytesOf(CFTypeRef data);

/// Of the main thread's loop.
[[nodiscard]] std::size_t runLoopSourceCount();

/// The preferences of the current application, as if some other program had written them.
void putPreferenceText(const std::string& key, const std::string& text);
void putPreferenceNumber(const std::string& key);
void clearPreferences();

/// What is stored for other processes, after the last synchronisation that succeeded: the keys whose value is a boolean that is true.
[[nodiscard]] bool isStoredAsTrue(const std::string& key);

/// The preferences cannot be written from now on.
void refuseStoring(bool refuses);

}  // namespace velmora::standin
