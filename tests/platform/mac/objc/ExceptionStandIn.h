// Exceptions of the stand-ins. Real classes throw one for what a program may not do, and some for what it cannot know:
// https://developer.apple.com/library/mac/documentation/cocoa/conceptual/Exceptions/Concepts/PredefinedExceptions.html
#pragma once

#include <string>

namespace velmora::standin {

/// From now on this method of the stand-ins throws, as the system's may on a bad day: "openURL:". Main thread only.
void throwFrom(const std::string& selector);

/// No method throws any more.
void throwFromNothing();

/// How many exceptions were thrown since then. Any thread.
[[nodiscard]] int thrownCount();

/// The names of exceptions that the stand-ins throw by themselves.
inline constexpr const char* invalidArgument = "NSInvalidArgumentException";
inline constexpr const char* outOfRange = "NSRangeException";
inline constexpr const char* inconsistency = "NSInternalInconsistencyException";

/// Throws an NSException of that name.
[[noreturn]] void raise(const char* name, const char* reason);

/// At the beginning of a method that a test may have throw.
void throwIfAsked(const char* selector);

}  // namespace velmora::standin
