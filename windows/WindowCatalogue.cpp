#include "windows/WindowCatalogue.h"

#include <QCollator>
#include <QDateTime>
#include <QLocale>
#include <QString>

#include <algorithm>
#include <utility>

namespace velmora::window_catalogue {

namespace {

constexpr double minimumSide = 100;  // points

std::string trimmed(const std::string& text)
{
    return QString::fromStdString(text).trimmed().toStdString();
}

// The C locale compares by code point; its users read English.
QCollator displayCollator()
{
    const QLocale locale;
    QCollator collator{locale.language() == QLocale::C ? QLocale{QLocale::English} : locale};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

std::string titleOf(const platform::ShareableWindow& window)
{
    if (window.isChoice)
        return "in this desktop's own dialog";
    if (window.chosenAt) {
        const auto time = QDateTime::fromSecsSinceEpoch(window.chosenAt->time_since_epoch().count());
        return "chosen " + QLocale{}.toString(time, QLocale::ShortFormat).toStdString();
    }
    return trimmed(window.title.value_or(std::string{}));
}

std::string applicationNameOf(const platform::ShareableWindow& window)
{
    if (window.isChoice)
        return "Choose a window…";
    if (window.chosenAt)
        return "Shared window";
    const auto& name = window.owningApplication->applicationName;
    return name.empty() ? "Application" : name;
}

}  // namespace

std::optional<CapturedWindowInfo> entry(const platform::ShareableWindow& window, std::int32_t ownProcessID)
{
    const auto& application = window.owningApplication;
    const bool isNamedByUs = window.isChoice || window.chosenAt;
    if (!isNamedByUs && (!application || application->processID == ownProcessID || window.windowLayer != 0))
        return std::nullopt;
    if (!window.isChoice && !(window.frame.width >= minimumSide && window.frame.height >= minimumSide))
        return std::nullopt;
    return CapturedWindowInfo{
        .id = window.windowID,
        .title = titleOf(window),
        .appName = applicationNameOf(window),
        .bundleID = application ? application->bundleIdentifier : std::string{},
        .frame = window.frame,
        .isOnScreen = window.isOnScreen,
    };
}

std::vector<CapturedWindowInfo> entries(const std::vector<platform::ShareableWindow>& windows, std::int32_t ownProcessID)
{
    struct Keyed {
        bool untitled;
        QCollatorSortKey name;
        CapturedWindowInfo info;
    };
    const QCollator collator = displayCollator();
    std::vector<Keyed> keyed;
    for (const auto& window : windows) {
        if (auto info = entry(window, ownProcessID))
            keyed.push_back({info->title.empty(), collator.sortKey(QString::fromStdString(info->appName)), std::move(*info)});
    }
    std::stable_sort(
        keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) { return a.untitled != b.untitled ? b.untitled : a.name < b.name; });

    std::vector<CapturedWindowInfo> result;
    result.reserve(keyed.size());
    for (auto& item : keyed)
        result.push_back(std::move(item.info));
    return result;
}

}  // namespace velmora::window_catalogue
