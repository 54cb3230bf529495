// The life of a shared window, from the question to the user to the end of its last capture.
#pragma once

#include <cstdint>
#include <optional>

namespace velmora::linux_backend {

/// What comes too late, twice or out of turn changes nothing; happen() says so, and whoever reported it has nothing more to do. Knows no bus,
/// no stream and no timer. Used on one thread.
class CastLife {
public:
    enum class State {
        asking,  ///< the desktop is asking the user
        connecting,  ///< it has handed out a window, whose first picture is awaited
        offered,  ///< granted, and to be captured soon
        deciding,  ///< granted, and kept while its sound is chosen
        captured,
        offeredAgain,  ///< captured, and granted once more
        decidingAgain,  ///< captured, and kept while its sound is chosen for the next capture
        ended,  ///< the desktop has stopped sharing it; a capture has yet to let go of it
        over,  ///< nobody holds it any longer
    };

    enum class Event {
        handedOut,
        requestEnded,  ///< without a window: refused, cancelled, or no picture came
        shown,  ///< the first picture is there
        requestedAgain,
        soundAsked,
        soundDecided,
        taken,  ///< by one more capture
        released,  ///< by one of them
        givenBack,  ///< or not taken in time
        endedByDesktop,
    };

    [[nodiscard]] State state() const { return state_; }

    /// False when nothing comes of it in this state.
    bool happen(Event event);

    /// It can be captured, and its sound be chosen.
    [[nodiscard]] bool isGranted() const { return state_ >= State::offered && state_ <= State::decidingAgain; }

    /// It is given back unless it is taken.
    [[nodiscard]] bool isToBeTakenSoon() const { return state_ == State::offered || state_ == State::offeredAgain; }

private:
    [[nodiscard]] std::optional<State> next(Event event) const;

    State state_ = State::asking;
    std::uint32_t captures_ = 0;
};

}  // namespace velmora::linux_backend
