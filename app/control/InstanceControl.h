// What a running program can be told from outside.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <QJsonObject>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace velmora {

/// Main thread only. Every completion is called exactly once, on the main thread.
class InstanceControl {
public:
    /// The clip that the call saved; none when it saved none.
    using SavedClip = std::optional<std::filesystem::path>;

    /// Asked when a call has failed: true where the caller tells the user, so that nothing else need. None: it does not.
    using CallerTells = std::function<bool()>;

    virtual ~InstanceControl() = default;

    /// What a second start asks for: something of the program on the screen.
    virtual void activate() = 0;

    /// Opens the list of windows.
    virtual void chooseWindow() = 0;

    /// Starts a recording, or ends the one in progress, and then completes when the file is safe.
    virtual void toggleRecording(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) = 0;

    /// Chooses the window with this identifier and captures it, with the sound of that application (see decideSound) where the desktop
    /// leaves it to be chosen. Completes with what the user has to know of it, if anything.
    virtual void selectWindow(std::uint32_t windowID, std::optional<std::string> sound,
        UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells) = 0;

    /// Saves a recording in progress, then stops capturing.
    virtual void stopCapture(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) = 0;

    [[nodiscard]] virtual QJsonObject status() const = 0;

    virtual Result<void> presentClipPreview(const std::filesystem::path& file) = 0;

    /// As the menu's Quit.
    virtual void quit() = 0;
};

}  // namespace velmora
