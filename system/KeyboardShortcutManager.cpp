#include "system/KeyboardShortcutManager.h"

#include "system/Log.h"
#include "system/SharedServices.h"

#include <utility>

namespace velmora {

namespace {

constexpr platform::HotKeyStatus noError = 0;

}  // namespace

KeyboardShortcutManager& KeyboardShortcutManager::shared()
{
    static auto& instance = *[] {
        const auto& shared = SharedServices::current();
        return new KeyboardShortcutManager{{shared.platform.hotKeyCenter, shared.clock, shared.mainExecutor}};
    }();
    return instance;
}

KeyboardShortcutManager::KeyboardShortcutManager(Services services) : services_(std::move(services))
{
    installEventHandler();
    if (auto* decisions = services_.hotKeyCenter->decisions()) {
        decisions->observeDecisions([this] {
            if (isWanted_)
                registerAll();
        });
    }
    if (auto* keyTexts = services_.hotKeyCenter->keyTexts())
        keyTexts->observeKeyTexts([this] { emit keyTextChanged(); });
    registerAll();
}

KeyboardShortcutManager::~KeyboardShortcutManager()
{
    if (auto* decisions = services_.hotKeyCenter->decisions())
        decisions->observeDecisions(nullptr);
    if (auto* keyTexts = services_.hotKeyCenter->keyTexts())
        keyTexts->observeKeyTexts(nullptr);
    unregisterHotKey();
    setIsRegistered(false);
    if (eventHandler_)
        services_.hotKeyCenter->removeEventHandler(*eventHandler_);
}

void KeyboardShortcutManager::installEventHandler()
{
    const auto installed = services_.hotKeyCenter->installEventHandler([this](const auto& event) { return handleHotKeyEvent(event); });
    if (installed)
        eventHandler_ = *installed;
    else
        Log::hotkey().error(log_line::failedToInstallHandler, installed.error());
}

platform::HotKeyStatus KeyboardShortcutManager::handleHotKeyEvent(const platform::HotKeyEvent& event)
{
    if (event.hotKeyID && event.hotKeyID->signature == hotKeySignature)
        handleHotKeyTrigger(event.hotKeyID->id);
    return noError;
}

void KeyboardShortcutManager::handleHotKeyTrigger(std::uint32_t id)
{
    services_.mainExecutor->async([weak = self_.weak(), id] {
        const auto self = weak.lock();
        if (!self || id != toggleRecordingHotKeyID)
            return;
        auto& manager = *self;
        const auto now = manager.services_.clock->now();
        if (manager.lastRecordingTriggerTime_ && now - *manager.lastRecordingTriggerTime_ <= debounceInterval)
            return;
        manager.lastRecordingTriggerTime_ = now;
        Log::hotkey().info(log_line::toggleTriggered);
        if (const auto delegate = manager.delegate_.lock())
            delegate->shortcutManagerDidTriggerToggleRecording();
    });
}

std::string KeyboardShortcutManager::boundKeys() const
{
    const auto* decisions = services_.hotKeyCenter->decisions();
    return decisions && toggleRecordingHotKey_ ? decisions->boundKeys(*toggleRecordingHotKey_) : std::string{};
}

std::string KeyboardShortcutManager::keyText() const
{
    const auto* keyTexts = services_.hotKeyCenter->keyTexts();
    auto text = keyTexts ? keyTexts->keyText(toggleRecordingShortcut_.keyCode) : std::string{};
    return text.empty() ? "C" : std::move(text);
}

void KeyboardShortcutManager::registerAll()
{
    isWanted_ = true;
    unregisterHotKey();
    setIsRegistered(false);
    isRegistrationErrorExplained_ = false;
    isUndecided_ = false;
    setRegistrationErrorMessage(std::nullopt);
    const auto registered = services_.hotKeyCenter->registerEventHotKey(
        toggleRecordingShortcut_.keyCode, toggleRecordingShortcut_.modifiers, {hotKeySignature, toggleRecordingHotKeyID});
    if (registered) {
        toggleRecordingHotKey_ = *registered;
        setIsRegistered(true);
        Log::hotkey().info(log_line::shortcutRegistered);
        return;
    }
    setIsRegistered(false);
    isUndecided_ = registered.error() == platform::HotKeyCenter::pending;
    const auto* decisions = services_.hotKeyCenter->decisions();
    auto reason = decisions ? decisions->explanation() : std::string{};
    isRegistrationErrorExplained_ = !reason.empty();
    setRegistrationErrorMessage(isRegistrationErrorExplained_
            ? std::move(reason)
            : "Failed to register " + toggleRecordingShortcut_.displayString + " (Status: " + std::to_string(registered.error()) + ")");
    if (!isUndecided_)
        Log::hotkey().error(log_line::failedToRegisterShortcut, registered.error());
}

void KeyboardShortcutManager::unregisterAll()
{
    isWanted_ = false;
    unregisterHotKey();
    setIsRegistered(false);
}

void KeyboardShortcutManager::updateToggleRecordingShortcut(const ShortcutDefinition& shortcut)
{
    toggleRecordingShortcut_ = shortcut;
    emit toggleRecordingShortcutChanged();
    registerAll();
}

void KeyboardShortcutManager::unregisterHotKey()
{
    if (const auto hotKey = std::exchange(toggleRecordingHotKey_, std::nullopt))
        services_.hotKeyCenter->unregisterEventHotKey(*hotKey);
}

void KeyboardShortcutManager::setIsRegistered(bool isRegistered)
{
    isRegistered_ = isRegistered;
    emit isRegisteredChanged();
}

void KeyboardShortcutManager::setRegistrationErrorMessage(std::optional<std::string> message)
{
    registrationErrorMessage_ = std::move(message);
    emit registrationErrorMessageChanged();
}

}  // namespace velmora
