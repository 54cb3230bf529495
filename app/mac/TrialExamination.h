// What the facts of a Mac mean for a recording, in a line each.
#pragma once

#include "platform/DesktopInspection.h"

#include <string>
#include <vector>

namespace velmora {

struct TrialFinding {
    enum class Severity { good, note, warning, fault };

    std::string topic;  ///< one word: "permission", "encoder", "shortcut", "notifications", "disk"
    Severity severity = Severity::good;
    std::string text;

    /// "good     encoder        ..."
    [[nodiscard]] std::string line() const;

    friend bool operator==(const TrialFinding&, const TrialFinding&) = default;
};

/// A line for each topic, in the order above.
[[nodiscard]] std::vector<TrialFinding> trialFindings(const platform::DesktopFacts& facts);

}  // namespace velmora
