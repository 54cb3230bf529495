// The global shortcut that starts and stops a recording.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "platform/Clock.h"
#include "platform/HotKeyCenter.h"
#include "system/ShortcutDefinition.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

/// Called on the main thread.
class KeyboardShortcutManagerDelegate {
public:
    virtual ~KeyboardShortcutManagerDelegate() = default;

    /// No hot key leads here.
    virtual void shortcutManagerDidTriggerSaveClip() = 0;
    virtual void shortcutManagerDidTriggerToggleRecording() = 0;
};

/// Main thread only. Registers the shortcut when it is made. Every change of a property is followed by the property's own signal.
class KeyboardShortcutManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRegistered READ isRegistered NOTIFY isRegisteredChanged)

public:
    static constexpr std::uint32_t hotKeySignature = 0x434C4950;  // "CLIP"
    static constexpr std::uint32_t toggleRecordingHotKeyID = 2;

    /// A press is accepted when more than this has passed since the last accepted one.
    static constexpr std::chrono::milliseconds debounceInterval{500};

    struct Services {
        std::shared_ptr<platform::HotKeyCenter> hotKeyCenter;
        std::shared_ptr<platform::Clock> clock;
        std::shared_ptr<Executor> mainExecutor;
    };

    explicit KeyboardShortcutManager(Services services);
    ~KeyboardShortcutManager() override;

    /// The one manager of the process.
    static KeyboardShortcutManager& shared();

    void setDelegate(std::weak_ptr<KeyboardShortcutManagerDelegate> delegate) { delegate_ = std::move(delegate); }

    [[nodiscard]] const ShortcutDefinition& toggleRecordingShortcut() const { return toggleRecordingShortcut_; }
    [[nodiscard]] bool isRegistered() const { return isRegistered_; }

    /// Why the last registration failed, for the user; none when it did not.
    [[nodiscard]] const std::optional<std::string>& registrationErrorMessage() const { return registrationErrorMessage_; }

    /// Whether no key could be bound. A desktop that has yet to decide has not refused: nothing is said of the shortcut until it has.
    [[nodiscard]] bool isRefused() const { return !isRegistered_ && !isUndecided_ && registrationErrorMessage_.has_value(); }

    /// Whether that message says all that the user can do, because the desktop has given the reason.
    [[nodiscard]] bool isRegistrationErrorExplained() const { return isRegistrationErrorExplained_; }

    /// What the desktop calls the keys that it has bound; empty if they are those of the shortcut.
    [[nodiscard]] std::string boundKeys() const;

    /// The text on the shortcut's key in the user's keyboard layout; "C", as on the default shortcut's, if that is unknown.
    [[nodiscard]] std::string keyText() const;

    /// Registers the shortcut anew. If the desktop takes its time to decide, the properties follow when it has decided.
    void registerAll();

    /// The handler stays installed, and the message of a failed registration stays.
    void unregisterAll();

    void updateToggleRecordingShortcut(const ShortcutDefinition& shortcut);

signals:
    void toggleRecordingShortcutChanged();
    void isRegisteredChanged();
    void registrationErrorMessageChanged();
    void keyTextChanged();

private:
    void installEventHandler();
    platform::HotKeyStatus handleHotKeyEvent(const platform::HotKeyEvent& event);
    void handleHotKeyTrigger(std::uint32_t id);
    void unregisterHotKey();
    void setIsRegistered(bool isRegistered);
    void setRegistrationErrorMessage(std::optional<std::string> message);

    const Services services_;
    std::weak_ptr<KeyboardShortcutManagerDelegate> delegate_;
    ShortcutDefinition toggleRecordingShortcut_ = ShortcutDefinition::defaultToggleRecording();
    bool isRegistered_ = false;
    bool isWanted_ = false;
    std::optional<std::string> registrationErrorMessage_;
    bool isUndecided_ = false;
    bool isRegistrationErrorExplained_ = false;
    std::optional<platform::HotKeyCenter::EventHandlerReference> eventHandler_;
    std::optional<platform::HotKeyCenter::HotKeyReference> toggleRecordingHotKey_;
    std::optional<std::chrono::system_clock::time_point> lastRecordingTriggerTime_;  // none: the distant past

    // Gone with the manager, so that a late press finds nobody.
    const SelfReference<KeyboardShortcutManager> self_{*this};
};

}  // namespace velmora
