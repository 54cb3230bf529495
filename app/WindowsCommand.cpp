#include "app/WindowsCommand.h"

#include "app/TerminalText.h"
#include "windows/WindowCatalogue.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <utility>

namespace velmora {

int runWindowsCommand(const command_line::Windows& command, const platform::PlatformServices& services,
    std::shared_ptr<Executor> mainExecutor, std::int32_t runningProgram)
{
    Result<platform::ShareableContent> content;
    services.shareableContent->getShareableContent(true, false, [&](Result<platform::ShareableContent> result) {
        mainExecutor->async([&content, result = std::move(result)]() mutable {
            content = std::move(result);
            QCoreApplication::quit();
        });
    });
    QCoreApplication::exec();
    if (!content) {
        std::fprintf(stderr, "%s\n", content.error().localizedDescription.c_str());
        return command_line::failed;
    }
    const auto windows = window_catalogue::entries(content->windows, runningProgram);
    const auto output = command.json ? windowsAsJson(windows) : windowsAsTable(windows);
    std::fputs(output.c_str(), stdout);
    return command_line::succeeded;
}

std::string windowsAsJson(const std::vector<CapturedWindowInfo>& windows)
{
    QJsonArray array;
    for (const auto& window : windows) {
        array.append(QJsonObject{
            {QStringLiteral("id"), static_cast<qint64>(window.id)},
            {QStringLiteral("title"), QString::fromStdString(window.title)},
            {QStringLiteral("appName"), QString::fromStdString(window.appName)},
            {QStringLiteral("bundleID"), QString::fromStdString(window.bundleID)},
            {QStringLiteral("frame"),
                QJsonObject{{QStringLiteral("x"), window.frame.x}, {QStringLiteral("y"), window.frame.y},
                    {QStringLiteral("width"), window.frame.width}, {QStringLiteral("height"), window.frame.height}}},
            {QStringLiteral("isOnScreen"), window.isOnScreen},
            {QStringLiteral("displayName"), QString::fromStdString(window.displayName())},
        });
    }
    return QJsonDocument{array}.toJson(QJsonDocument::Indented).toStdString();
}

std::string windowsAsTable(const std::vector<CapturedWindowInfo>& windows)
{
    if (windows.empty())
        return "No window can be recorded.\n";
    QString table;
    for (const auto& window : windows) {
        // One that is still to be chosen has none.
        const auto size = window.frame == Rect{}
            ? QString{}
            : QStringLiteral("%1x%2").arg(window.frame.width, 0, 'f', 0).arg(window.frame.height, 0, 'f', 0);
        table += QStringLiteral("%1  %2  %3  %4\n")
                     .arg(window.id, 10)
                     .arg(size, -11)
                     .arg(window.isOnScreen ? QStringLiteral("on screen") : QStringLiteral("hidden"), -9)
                     .arg(withoutControlCharacters(QString::fromStdString(window.displayName())));
    }
    return table.toStdString();
}

}  // namespace velmora
