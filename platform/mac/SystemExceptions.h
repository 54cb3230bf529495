// Exceptions of the system. "The general pattern is that exceptions are reserved for programmer error only, and the program catching such an
// exception should quit soon afterwards":
// https://developer.apple.com/library/mac/documentation/cocoa/conceptual/Exceptions/Articles/ExceptionsAndCocoaFrameworks.html
// What our own arguments could cause is not caught: it ends the program at its first test. What hands the user's things over to the system, and
// what has to answer its caller, is caught here, so that a share that goes wrong does not take a recording with it. Objective-C++ only.
#pragma once

#include "base/Result.h"

#import <Foundation/Foundation.h>
#include <optional>

namespace velmora::mac_backend {

/// Says in the log that the system has thrown, and what.
[[nodiscard]] Error errorOf(NSException* exception);

/// Does the work. Where the system throws in it, what it threw; none where it does not. A block that outlives the work is made outside of it:
/// in a lambda it would hold the lambda's references, not what these refer to.
template <typename Work>
std::optional<Error> thrownBy(const Work& work)
{
    @try {
        work();
    } @catch (NSException* exception) {
        return errorOf(exception);
    }
    return std::nullopt;
}

/// Gives `completion`, unless it has been called, what was thrown as its error.
template <typename Completion>
void answerThrown(const std::shared_ptr<Completion>& completion, NSException* exception)
{
    auto error = errorOf(exception);
    if (auto answered = std::exchange(*completion, nullptr))
        answered(fail(std::move(error)));
}

}  // namespace velmora::mac_backend
