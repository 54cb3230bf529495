// Who waits for a key frame, and who can make one.
#pragma once

#include "base/UniqueFunction.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace velmora::engine {

/// Brings a recording whose file has yet to begin together with the compression session that runs and the stream that gives it pictures. A
/// back end makes one for its writers, sessions and streams; one that does without has a key frame within half a second all the same.
///
/// A handle: copies speak of the same requests. Any thread; nothing here waits.
class KeyFrameRequests {
public:
    /// Requests are numbered in their order.
    using Number = std::uint64_t;

    /// A request, or an observation. It ends with its owner, or when that lets it go.
    class Registration;

    KeyFrameRequests();

    /// Asks for a key frame of a picture that has yet to be encoded. Whoever asks gets all that is encoded from then on.
    [[nodiscard]] Registration ask();

    /// The last request that is neither fulfilled nor withdrawn; none when nobody waits.
    [[nodiscard]] std::optional<Number> last() const;

    /// A key frame has been made for this request and those before it.
    void fulfil(Number number);

    /// `asked` is called with every request, on the thread that asks: it returns at once and calls nothing here. When the observation has
    /// ended, no call is running or will run.
    [[nodiscard]] Registration observe(UniqueFunction<void()> asked);

private:
    struct State;

    std::shared_ptr<State> state_;
};

class KeyFrameRequests::Registration {
public:
    Registration() = default;
    ~Registration() { end(); }
    Registration(Registration&& other) noexcept = default;
    Registration& operator=(Registration&& other) noexcept;

    void end();

private:
    friend KeyFrameRequests;

    Registration(std::shared_ptr<State> state, Number number);

    std::shared_ptr<State> state_;
    Number number_ = 0;
};

}  // namespace velmora::engine
