// What the capture pipeline is doing.
#pragma once

#include "windows/CapturedWindowInfo.h"

#include <chrono>
#include <string>
#include <utility>
#include <variant>

namespace velmora {

/// One of six cases, each with what belongs to it. Equal when the case and all its values are.
class CaptureState {
public:
    using Date = std::chrono::system_clock::time_point;

    /// The stream is running, but no recording.
    struct Capturing {
        CapturedWindowInfo window;
        friend bool operator==(const Capturing&, const Capturing&) = default;
    };

    /// Can be shown; no operation leads here.
    struct SavingClip {
        std::string message;
        friend bool operator==(const SavingClip&, const SavingClip&) = default;
    };

    struct RecordingClip {
        CapturedWindowInfo window;
        Date startedAt;
        friend bool operator==(const RecordingClip&, const RecordingClip&) = default;
    };

    /// The stream could not start, or failed.
    struct CaptureUnavailable {
        std::string message;
        friend bool operator==(const CaptureUnavailable&, const CaptureUnavailable&) = default;
    };

    /// The permission to record the screen is missing.
    struct NotConfigured {
        friend bool operator==(const NotConfigured&, const NotConfigured&) = default;
    };

    struct WaitingForWindowSelection {
        friend bool operator==(const WaitingForWindowSelection&, const WaitingForWindowSelection&) = default;
    };

    using Case = std::variant<Capturing, SavingClip, RecordingClip, CaptureUnavailable, NotConfigured, WaitingForWindowSelection>;

    CaptureState(Case value) : case_(std::move(value)) { }

    template <typename T>
    [[nodiscard]] bool is() const
    {
        return std::holds_alternative<T>(case_);
    }

    /// Null when the state is another case.
    template <typename T>
    [[nodiscard]] const T* get() const
    {
        return std::get_if<T>(&case_);
    }

    /// The line that the user reads.
    [[nodiscard]] std::string statusDescription() const;

    friend bool operator==(const CaptureState&, const CaptureState&) = default;

private:
    Case case_;
};

}  // namespace velmora
