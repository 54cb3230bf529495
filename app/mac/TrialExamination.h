// What a recording needs, tried out on a Mac without recording anything.
#pragma once

#include "platform/PlatformServices.h"

#include <string>
#include <vector>

namespace velmora {

struct TrialFinding {
    enum class Severity { good, note, warning, fault };

    std::string topic;  ///< one word: "permission", "encoder", "notifications", "disk"
    Severity severity = Severity::good;
    std::string text;

    /// "good     encoder        ..."
    [[nodiscard]] std::string line() const;

    friend bool operator==(const TrialFinding&, const TrialFinding&) = default;
};

/// A line for each topic. Asks the user nothing and leaves nothing behind. Waits for the encoder; `completion` is called once, on any thread,
/// when the system has said whether it shows notifications.
void examineForTrial(const platform::PlatformServices& services, UniqueFunction<void(std::vector<TrialFinding>)> completion);

}  // namespace velmora
