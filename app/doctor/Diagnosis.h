// What the facts of a desktop mean for recording on it.
#pragma once

#include "platform/DesktopInspection.h"

#include <string>
#include <vector>

namespace velmora {

struct Finding {
    enum class Severity {
        good,
        note,  ///< nothing that anybody would miss
        warning,  ///< something is missing from recordings, or has to be done in another way
        fault,  ///< nothing can be recorded
    };

    std::string topic;  ///< one word: "encoder", "display", "portal", "shortcut", "program", "sound", "notifications", "tray", "disk"
    Severity severity = Severity::good;
    std::string text;
    std::string remedy = {};  ///< what to do about it; never empty with a warning or a fault

    friend bool operator==(const Finding&, const Finding&) = default;
};

/// A line each, in the order of the topics above; at least one for every topic but the portal, which X11 does without.
[[nodiscard]] std::vector<Finding> diagnose(const platform::DesktopFacts& facts);

/// Whether nothing stands in the way of a recording.
[[nodiscard]] bool canRecord(const std::vector<Finding>& findings);

}  // namespace velmora
