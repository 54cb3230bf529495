// Hot keys that a test presses.
#pragma once

#include "platform/HotKeyCenter.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace velmora::fake {

class FakeHotKeyCenter final : public platform::HotKeyCenter, public platform::HotKeyDecisions, public platform::KeyTexts {
public:
    struct Registration {
        std::uint32_t keyCode = 0;
        std::uint32_t modifiers = 0;
        platform::HotKeyID hotKeyID;

        friend bool operator==(const Registration&, const Registration&) = default;
    };

    tl::expected<EventHandlerReference, platform::HotKeyStatus> installEventHandler(EventHandler handler) override
    {
        if (installStatus != 0)
            return tl::unexpected(installStatus);
        handlers[++lastReference_] = std::move(handler);
        return lastReference_;
    }

    void removeEventHandler(EventHandlerReference reference) override { handlers.erase(reference); }

    tl::expected<HotKeyReference, platform::HotKeyStatus> registerEventHotKey(
        std::uint32_t keyCode, std::uint32_t modifiers, platform::HotKeyID hotKeyID) override
    {
        if (registerStatus != 0)
            return tl::unexpected(registerStatus);
        registrations[++lastReference_] = {keyCode, modifiers, hotKeyID};
        return lastReference_;
    }

    void unregisterEventHotKey(HotKeyReference reference) override { registrations.erase(reference); }

    [[nodiscard]] platform::HotKeyDecisions* decisions() override { return hasDecisions ? this : nullptr; }
    void observeDecisions(std::function<void()> changed) override { decided = std::move(changed); }
    [[nodiscard]] std::string explanation() const override { return reason; }
    [[nodiscard]] std::string boundKeys(HotKeyReference) const override { return keys; }

    [[nodiscard]] platform::KeyTexts* keyTexts() override { return hasKeyTexts ? this : nullptr; }
    [[nodiscard]] std::string keyText(std::uint32_t keyCode) const override
    {
        const auto found = texts.find(keyCode);
        return found == texts.end() ? std::string{} : found->second;
    }
    void observeKeyTexts(std::function<void()> changed) override { textsChanged = std::move(changed); }

    /// What the handler answers; none without a handler.
    std::optional<platform::HotKeyStatus> press(std::optional<platform::HotKeyID> hotKeyID)
    {
        std::optional<platform::HotKeyStatus> status;
        const auto current = handlers;
        for (const auto& [reference, handler] : current)
            status = handler({hotKeyID});
        return status;
    }

    platform::HotKeyStatus installStatus = 0;
    platform::HotKeyStatus registerStatus = 0;
    bool hasDecisions = true;
    bool hasKeyTexts = true;
    std::string reason;
    std::string keys;
    std::map<std::uint32_t, std::string> texts;
    std::function<void()> textsChanged;
    std::function<void()> decided;
    std::map<EventHandlerReference, EventHandler> handlers;
    std::map<HotKeyReference, Registration> registrations;

private:
    std::uint64_t lastReference_ = 0;
};

}  // namespace velmora::fake
