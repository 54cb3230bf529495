// Errors as values. A fallible operation returns Result<T>; nothing in this system throws across a function that is its own.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

namespace velmora {

/// A failure in a form that both a person and a program can read.
///
/// `domain` and `code` identify the failure ("Velmora.ScreenCaptureKitService", -1); `localizedDescription` is a sentence or two for
/// the user and is never empty. `underlying` is the failure that caused this one, as it was received.
struct Error {
    std::string domain;
    int code = 0;
    std::string localizedDescription;
    std::shared_ptr<const Error> underlying;

    friend bool operator==(const Error& a, const Error& b)
    {
        return a.domain == b.domain && a.code == b.code && a.localizedDescription == b.localizedDescription;
    }
};

template <typename T>
using Result = tl::expected<T, Error>;

/// `return fail(domain, code, "…");` from any function that returns a Result.
[[nodiscard]] inline tl::unexpected<Error> fail(std::string domain, int code, std::string description)
{
    return tl::unexpected<Error>(Error{std::move(domain), code, std::move(description), nullptr});
}

[[nodiscard]] inline tl::unexpected<Error> fail(Error error)
{
    return tl::unexpected<Error>(std::move(error));
}

/// The domain of errors that carry an errno value as their code.
inline constexpr std::string_view posixErrorDomain = "POSIX";

/// An Error for `errnoValue`: "<what>: <the system's text for it>". Thread-safe.
[[nodiscard]] Error posixError(int errnoValue, std::string_view what);

}  // namespace velmora
