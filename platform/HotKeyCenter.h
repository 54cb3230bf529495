// Seam: key combinations that reach the program whichever program has the focus.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tl/expected.hpp>

namespace velmora::platform {

/// 0 is success; every other value is the platform's own code.
using HotKeyStatus = std::int32_t;

/// Who registered a hot key, and which of theirs it is.
struct HotKeyID {
    std::uint32_t signature = 0;  ///< a four-character code
    std::uint32_t id = 0;

    friend bool operator==(const HotKeyID&, const HotKeyID&) = default;
};

/// One press. Holding the keys down is one press.
struct HotKeyEvent {
    std::optional<HotKeyID> hotKeyID;  ///< none when the event does not say
};

/// 0 is not a reference.
using HotKeyReference = std::uint64_t;

/// A desktop that decides on hot keys in its own time and by its own rules. Main thread only.
class HotKeyDecisions {
public:
    virtual ~HotKeyDecisions() = default;

    /// `changed` is called when registering the same again may come out differently. Replaces the previous observer; an empty one
    /// ends it.
    virtual void observeDecisions(std::function<void()> changed) = 0;

    /// For the user: why the last registration failed, and what to do about it. Empty where nothing is known beyond its status.
    [[nodiscard]] virtual std::string explanation() const = 0;

    /// What the desktop calls the keys that it has bound to the hot key. Empty where they are the registered ones.
    [[nodiscard]] virtual std::string boundKeys(HotKeyReference reference) const = 0;
};

/// What stands on the keys of the user's keyboard. Main thread only.
class KeyTexts {
public:
    virtual ~KeyTexts() = default;

    /// On the key at this position: "C", "J" on a Dvorak layout, "С" on a Cyrillic one. Empty where it is unknown.
    [[nodiscard]] virtual std::string keyText(std::uint32_t keyCode) const = 0;

    /// `changed` is called when another text may stand on the keys. Replaces the previous observer; an empty one ends it.
    virtual void observeKeyTexts(std::function<void()> changed) = 0;
};

/// Main thread only.
class HotKeyCenter {
public:
    /// 0 is not a reference.
    using EventHandlerReference = std::uint64_t;
    using HotKeyReference = platform::HotKeyReference;

    /// Called on the main thread with every press of a registered hot key of this process.
    using EventHandler = std::function<HotKeyStatus(const HotKeyEvent&)>;

    static constexpr std::uint32_t commandModifier = 0x100;
    static constexpr std::uint32_t shiftModifier = 0x200;
    static constexpr std::uint32_t optionModifier = 0x800;
    static constexpr std::uint32_t controlModifier = 0x1000;

    /// The registration has been asked for but not yet decided.
    static constexpr HotKeyStatus pending = -100;

    virtual ~HotKeyCenter() = default;

    virtual tl::expected<EventHandlerReference, HotKeyStatus> installEventHandler(EventHandler handler) = 0;
    virtual void removeEventHandler(EventHandlerReference reference) = 0;

    /// `keyCode` is the position of a key on the ANSI layout (8: the key right of X), not a character; `modifiers` are the bits above.
    virtual tl::expected<HotKeyReference, HotKeyStatus> registerEventHotKey(
        std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID hotKeyID) = 0;
    virtual void unregisterEventHotKey(HotKeyReference reference) = 0;

    /// Null where the status of a registration is all there is to know. As long as the center.
    [[nodiscard]] virtual HotKeyDecisions* decisions() { return nullptr; }

    /// Null where what stands on a key is unknown. As long as the center.
    [[nodiscard]] virtual KeyTexts* keyTexts() { return nullptr; }
};

}  // namespace velmora::platform
