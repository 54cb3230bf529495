// A keyboard shortcut.
#pragma once

#include "platform/HotKeyCenter.h"

#include <QJsonObject>

#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

struct ShortcutDefinition {
    std::uint32_t keyCode = 0;  ///< the position of a key, see platform::HotKeyCenter
    std::uint32_t modifiers = 0;  ///< bits of platform::HotKeyCenter
    std::string displayString;  ///< as users read it; whoever makes a shortcut supplies it

    /// Option, Command and the key to the right of X.
    static const ShortcutDefinition& defaultToggleRecording();

    /// With the keys "keyCode", "modifiers" and "displayString".
    [[nodiscard]] QJsonObject encoded() const;

    /// None when a key is missing or of another kind.
    [[nodiscard]] static std::optional<ShortcutDefinition> decoded(const QJsonObject& object);

    friend bool operator==(const ShortcutDefinition&, const ShortcutDefinition&) = default;
};

}  // namespace velmora
