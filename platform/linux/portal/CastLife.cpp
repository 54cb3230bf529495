#include "platform/linux/portal/CastLife.h"

namespace velmora::linux_backend {

bool CastLife::happen(Event event)
{
    const auto state = next(event);
    if (!state)
        return false;
    if (event == Event::taken)
        ++captures_;
    if (event == Event::released)
        --captures_;
    state_ = *state;
    return true;
}

std::optional<CastLife::State> CastLife::next(Event event) const
{
    const bool isLast = captures_ <= 1;
    switch (state_) {
    case State::asking:
        if (event == Event::handedOut)
            return State::connecting;
        if (event == Event::requestEnded || event == Event::endedByDesktop)
            return State::over;
        break;
    case State::connecting:
        if (event == Event::shown)
            return State::offered;
        if (event == Event::requestEnded || event == Event::endedByDesktop)
            return State::over;
        break;
    case State::offered:
    case State::deciding:
        if (event == Event::soundAsked)
            return State::deciding;
        if (event == Event::requestedAgain || event == Event::soundDecided)
            return State::offered;
        if (event == Event::taken)
            return State::captured;
        if (event == Event::givenBack || event == Event::endedByDesktop)
            return State::over;
        break;
    case State::captured:
        if (event == Event::requestedAgain)
            return State::offeredAgain;
        if (event == Event::taken)
            return State::captured;
        if (event == Event::released)
            return isLast ? State::over : State::captured;
        if (event == Event::endedByDesktop)
            return State::ended;
        break;
    case State::offeredAgain:
    case State::decidingAgain:
        if (event == Event::soundAsked)
            return State::decidingAgain;
        if (event == Event::requestedAgain || event == Event::soundDecided)
            return State::offeredAgain;
        if (event == Event::taken || event == Event::givenBack)
            return State::captured;
        if (event == Event::released)
            return !isLast ? state_ : state_ == State::offeredAgain ? State::offered : State::deciding;
        if (event == Event::endedByDesktop)
            return State::ended;
        break;
    case State::ended:
        if (event == Event::released)
            return isLast ? State::over : State::ended;
        break;
    case State::over:
        break;
    }
    return std::nullopt;
}

}  // namespace velmora::linux_backend
