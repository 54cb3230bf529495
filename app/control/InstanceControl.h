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

/// Something that has happened in the program.
struct InstanceEvent {
    enum class Kind { stateChanged, recordingStarted, recordingPaused, recordingResumed, clipSaved, captureFailed };

    Kind kind = Kind::stateChanged;
    std::string text = {};  ///< the state's name, the message for the user
    std::filesystem::path clip = {};  ///< once its file is safe

    friend bool operator==(const InstanceEvent&, const InstanceEvent&) = default;
};

/// A window to be chosen by what it says of itself. Texts are compared without regard to case; empty: any.
struct WindowDescriptor {
    std::string application = {};  ///< its whole name, as windows are listed, or its identifier
    std::string title = {};  ///< some of it

    friend bool operator==(const WindowDescriptor&, const WindowDescriptor&) = default;
};

/// Main thread only. Every completion is called exactly once, on the main thread.
class InstanceControl {
public:
    /// The clip that the call saved; none when it saved none.
    using SavedClip = std::optional<std::filesystem::path>;

    /// Asked when a call has failed: true where the caller tells the user, so that nothing else need. None: it does not.
    using CallerTells = std::function<bool()>;

    using EventObserver = std::function<void(const InstanceEvent&)>;

    // What a failure is marked with when there is no such window.
    static constexpr const char* errorDomain = "Velmora.InstanceControl";
    static constexpr int noSuchWindow = 2;

    [[nodiscard]] static bool isNoSuchWindow(const Error& error) { return error.domain == errorDomain && error.code == noSuchWindow; }

    virtual ~InstanceControl() = default;

    /// What a second start asks for: something of the program on the screen.
    virtual void activate() = 0;

    /// Opens the list of windows.
    virtual void chooseWindow() = 0;

    /// Opens the window with all clips.
    virtual void presentClips() = 0;

    /// Starts a recording, or ends the one in progress, and then completes when the file is safe.
    virtual void toggleRecording(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) = 0;

    /// Has the recording in progress leave out what comes from now on, or go on; none: the other of both. What there is to say of it; fails where
    /// nothing is being recorded.
    virtual Result<std::string> setPaused(std::optional<bool> isPaused) = 0;

    /// Chooses the window with this identifier and captures it, with the sound of that application (see decideSound) where the desktop
    /// leaves it to be chosen. Completes with what the user has to know of it, if anything.
    virtual void selectWindow(std::uint32_t windowID, std::optional<std::string> sound,
        UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells) = 0;

    /// The same for the frontmost window that fits; one that is on screen comes first. Fails with noSuchWindow where there is none.
    virtual void selectMatchingWindow(WindowDescriptor descriptor, std::optional<std::string> sound,
        UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells) = 0;

    /// Keeps the last seconds of what is captured from now on; none: no longer. Fails where that is too long.
    virtual Result<void> setReplayDuration(std::optional<double> seconds) = 0;

    /// Saves the last `seconds` of what is kept (none: all), and completes when the file is safe.
    virtual void saveReplay(std::optional<double> seconds, UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) = 0;

    /// Told of every event from now on, in the order in which they happen. None: nobody is.
    virtual void setEventObserver(EventObserver observer) = 0;

    /// Saves a recording in progress, then stops capturing.
    virtual void stopCapture(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) = 0;

    [[nodiscard]] virtual QJsonObject status() const = 0;

    virtual Result<void> presentClipPreview(const std::filesystem::path& file) = 0;

    /// Puts the file onto the clipboard, as Copy File does. Fails where there is no such file.
    virtual Result<void> copyFile(const std::filesystem::path& file) = 0;

    /// As the menu's Quit.
    virtual void quit() = 0;
};

}  // namespace velmora
