#include "engine/codecs/KeyFrameRequests.h"

#include "base/Mutex.h"

#include <utility>
#include <vector>

namespace velmora::engine {

struct KeyFrameRequests::State {
    struct Observer {
        Number number;
        UniqueFunction<void()> asked;
    };

    Mutex mutex;
    Number newest GUARDED_BY(mutex) = 0;  ///< of requests and observers
    std::vector<Number> waiting GUARDED_BY(mutex);  ///< in their order
    std::vector<Observer> observers GUARDED_BY(mutex);
};

KeyFrameRequests::KeyFrameRequests() : state_(std::make_shared<State>()) { }

KeyFrameRequests::Registration KeyFrameRequests::ask()
{
    MutexLock lock(state_->mutex);
    state_->waiting.push_back(++state_->newest);
    for (auto& observer : state_->observers)
        observer.asked();
    return {state_, state_->newest};
}

std::optional<KeyFrameRequests::Number> KeyFrameRequests::last() const
{
    MutexLock lock(state_->mutex);
    return state_->waiting.empty() ? std::nullopt : std::optional{state_->waiting.back()};
}

void KeyFrameRequests::fulfil(Number number)
{
    MutexLock lock(state_->mutex);
    std::erase_if(state_->waiting, [number](Number waiting) { return waiting <= number; });
}

KeyFrameRequests::Registration KeyFrameRequests::observe(UniqueFunction<void()> asked)
{
    MutexLock lock(state_->mutex);
    state_->observers.push_back({++state_->newest, std::move(asked)});
    return {state_, state_->newest};
}

KeyFrameRequests::Registration::Registration(std::shared_ptr<State> state, Number number) : state_(std::move(state)), number_(number) { }

KeyFrameRequests::Registration& KeyFrameRequests::Registration::operator=(Registration&& other) noexcept
{
    if (this != &other) {
        end();
        state_ = std::move(other.state_);
        number_ = other.number_;
    }
    return *this;
}

void KeyFrameRequests::Registration::end()
{
    const auto state = std::exchange(state_, nullptr);
    if (!state)
        return;
    MutexLock lock(state->mutex);
    std::erase(state->waiting, number_);
    std::erase_if(state->observers, [this](const State::Observer& observer) { return observer.number == number_; });
}

}  // namespace velmora::engine
