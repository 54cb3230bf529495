// Whatever is said over the bus is understood or left out, and what is understood can be used: paths that lead where the caller said,
// answers that belong to a notification of ours. The input is a sequence of messages.
#include "app/control/BusRequests.h"
#include "platform/linux/desktop/bus/BusInput.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/FuzzedInput.h"

#include <QDBusVariant>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <set>

using namespace velmora;
using namespace velmora::linux_backend;

namespace {

constexpr int greatestDepth = 8;

QVariant anyValue(fuzz::FuzzedInput& input, int depth = 0)
{
    switch (input.choice(depth < greatestDepth ? 10 : 7)) {
    case 0:
        return {};
    case 1:
        return input.choice(2) == 1;
    case 2:
        return static_cast<int>(input.byte()) - 128;
    case 3:
        return static_cast<double>(input.byte()) / 16 - 8;
    case 4:
        return input.text();
    case 5:
        return input.text().toUtf8();
    case 6:
        return qulonglong{input.byte()} << 56;
    case 7: {
        QStringList list;
        for (auto count = input.choice(4); count > 0; --count)
            list.append(input.text());
        return list;
    }
    case 8: {
        QVariantMap map;
        for (auto count = input.choice(4); count > 0; --count) {
            const auto key = input.text();
            map.insert(key, anyValue(input, depth + 1));
        }
        return map;
    }
    default:
        return QVariant::fromValue(QDBusVariant{anyValue(input, depth + 1)});
    }
}

void requireUsable(const std::filesystem::path& path)
{
    fuzz::require(path.is_absolute(), "a path is not absolute");
    fuzz::require(path.native().find('\0') == std::string::npos, "a path goes on behind its end");
}

void openFiles(fuzz::FuzzedInput& input)
{
    QStringList uris;
    for (auto count = input.choice(4); count > 0; --count)
        uris.append(input.text());
    const auto files = bus_requests::files(uris);
    fuzz::require(files.size() <= static_cast<std::size_t>(uris.size()), "more files than were named");
    for (const auto& file : files)
        requireUsable(file);
}

void preview(fuzz::FuzzedInput& input)
{
    const auto path = input.text();
    const auto file = bus_requests::file(path);
    const bool isPath = path.startsWith(u'/') && !path.contains(QChar{u'\0'});
    const bool isLink = path.startsWith(QLatin1String("file:")) && !bus_requests::files({path}).empty();
    fuzz::require(file.has_value() == (isPath || isLink), "a path is taken or refused wrongly");
    if (file)
        requireUsable(*file);
}

void answerFolder(fuzz::FuzzedInput& input)
{
    QVariantMap results;
    const uint response = input.choice(4);
    if (input.choice(4) > 0)
        results.insert(QStringLiteral("uris"), anyValue(input));
    const auto answer = folderAnswer(response, results);
    fuzz::require(answer || !answer.error().localizedDescription.empty(), "an error without words");
    fuzz::require(response == 0 || (answer && !*answer), "a dialog that was cancelled or closed is no folder and no error");
    fuzz::require(response != 0 || !answer || *answer, "a dialog that has chosen counts as cancelled");
    if (answer && *answer)
        requireUsable(**answer);
}

void changeSetting(fuzz::FuzzedInput& input, DesktopDisplay& display)
{
    const auto& setting = DesktopDisplay::settings[input.choice(static_cast<unsigned>(std::size(DesktopDisplay::settings)))];
    const auto group = input.choice(4) == 0 ? input.text() : QString::fromLatin1(setting.group);
    const auto key = input.choice(4) == 0 ? input.text() : QString::fromLatin1(setting.key);
    display.take(group, key, anyValue(input));
    fuzz::require(display.textScale() >= 0.5 && display.textScale() <= 3, "text of no size");
}

/// Beside what is under test, the same done in the simplest way.
struct Notifications {
    ShownNotifications shown;
    std::set<uint> ids;

    void happen(fuzz::FuzzedInput& input)
    {
        const uint id = input.choice(8);
        switch (input.choice(4)) {
        case 0: {
            platform::NotificationContent content;
            content.title = std::to_string(id);
            shown.add(id, std::move(content));
            ids.insert(id);
            break;
        }
        case 1: {
            const auto action = input.text();
            const auto response = shown.actionInvoked(id, action);
            fuzz::require(response.has_value() == ids.contains(id), "an answer to no notification, or none to one");
            if (response)
                fuzz::require(response->content.title == std::to_string(id) && response->actionIdentifier == action.toStdString(),
                    "an answer to another notification");
            break;
        }
        case 2: {
            const uint reason = input.choice(5);
            const auto response = shown.closed(id, reason);
            fuzz::require(
                response.has_value() == (ids.erase(id) > 0 && reason == ShownNotifications::closedByUser), "a close that is told wrongly");
            break;
        }
        default:
            shown.clear();
            ids.clear();
            break;
        }
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::FuzzedInput input{{data, size}};
    DesktopDisplay display;
    Notifications notifications;
    while (!input.isAtEnd()) {
        switch (input.choice(5)) {
        case 0:
            openFiles(input);
            break;
        case 1:
            preview(input);
            break;
        case 2:
            answerFolder(input);
            break;
        case 3:
            changeSetting(input, display);
            break;
        default:
            notifications.happen(input);
            break;
        }
    }
    // Whatever was said, what the desktop says now counts.
    const auto say = [&](const DesktopDisplay::Setting& setting, const QVariant& value) {
        display.take(QString::fromLatin1(setting.group), QString::fromLatin1(setting.key), value);
    };
    for (const bool isWanted : {false, true}) {
        say(DesktopDisplay::animations, !isWanted);
        say(DesktopDisplay::animationDuration, 1.0);
        say(DesktopDisplay::contrast, isWanted ? 1U : 0U);
        fuzz::require(display.reducesMotion() == isWanted && display.increasesContrast() == isWanted, "a setting is not followed any more");
    }
    return 0;
}
