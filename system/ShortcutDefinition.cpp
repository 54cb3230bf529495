#include "system/ShortcutDefinition.h"

#include <QJsonValue>

#include <cmath>
#include <limits>

namespace velmora {

namespace {

const QString keyCodeKey = QStringLiteral("keyCode");
const QString modifiersKey = QStringLiteral("modifiers");
const QString displayStringKey = QStringLiteral("displayString");

std::optional<std::uint32_t> unsigned32(const QJsonValue& value)
{
    const double number = value.toDouble(-1);
    if (number < 0 || number > std::numeric_limits<std::uint32_t>::max() || number != std::floor(number))
        return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

}  // namespace

const ShortcutDefinition& ShortcutDefinition::defaultToggleRecording()
{
    using platform::HotKeyCenter;
    static const ShortcutDefinition shortcut{8, HotKeyCenter::commandModifier | HotKeyCenter::optionModifier, "⌥⌘C"};
    return shortcut;
}

QJsonObject ShortcutDefinition::encoded() const
{
    return {
        {keyCodeKey, static_cast<double>(keyCode)},
        {modifiersKey, static_cast<double>(modifiers)},
        {displayStringKey, QString::fromStdString(displayString)},
    };
}

std::optional<ShortcutDefinition> ShortcutDefinition::decoded(const QJsonObject& object)
{
    const auto keyCode = unsigned32(object.value(keyCodeKey));
    const auto modifiers = unsigned32(object.value(modifiersKey));
    const auto displayString = object.value(displayStringKey);
    if (!keyCode || !modifiers || !displayString.isString())
        return std::nullopt;
    return ShortcutDefinition{*keyCode, *modifiers, displayString.toString().toStdString()};
}

}  // namespace velmora
