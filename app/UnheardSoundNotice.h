// Tells the user that an application plays and its recording is silent all the same, and why.
#pragma once

#include "app/RecordingObserver.h"
#include "base/MonotonicClock.h"
#include "base/SelfReference.h"
#include "platform/CaptureStream.h"
#include "platform/UserNotificationCenter.h"

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace velmora {

/// Asks the desktop when a recording has been silent for ten seconds, and less and less often while it stays so. What is silent without a reason
/// is silence, of which nobody is told. Each reason is told once for a capture, by a notification of its own without any action. Main thread only.
class UnheardSoundNotice {
public:
    struct Services {
        std::shared_ptr<RecordingObserver> observer;
        std::shared_ptr<platform::UserNotificationCenter> notificationCenter;
        std::function<std::string()> applicationName;  ///< whose window is recorded; may be empty
    };

    explicit UnheardSoundNotice(Services services) : services_(std::move(services)) { }

    /// To be called every second or so while a recording runs.
    void look(MonotonicTime now = MonotonicClock::now());

private:
    void tell(platform::UnheardReason reason);

    const Services services_;
    MonotonicTime silentSince_{};
    std::chrono::nanoseconds nextQuestion_{0};  ///< after so much silence
    std::uint64_t capture_ = 0;
    std::set<platform::UnheardReason> told_;  ///< of that capture
    const SelfReference<UnheardSoundNotice> self_{*this};
};

/// For people, in whole sentences.
[[nodiscard]] std::string unheardSoundText(platform::UnheardReason reason, const std::string& application);

}  // namespace velmora
