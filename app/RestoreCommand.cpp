#include "app/RestoreCommand.h"

#include "app/RestoredRecording.h"
#include "app/TerminalText.h"
#include "app/control/BusRequests.h"
#include "library/ClipFormat.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

namespace velmora {

namespace {

constexpr const char* nothingToRestore = "No recording that was discarded is in the trash.";

QDateTime discardedAt(const platform::DiscardedRecording& recording)
{
    return QDateTime::fromSecsSinceEpoch(
        std::chrono::duration_cast<std::chrono::seconds>(recording.discardedAt.time_since_epoch()).count());
}

bool isCalled(const platform::DiscardedRecording& recording, const std::filesystem::path& name)
{
    return name == recording.origin.filename() || name == recording.file.filename() || name == recording.file;
}

int failWith(const std::string& message)
{
    std::fprintf(stderr, "%s\n", message.c_str());
    return command_line::failed;
}

}  // namespace

int runRestoreCommand(const command_line::Restore& command, platform::DiscardedRecordings& recordings, platform::FileManager& fileManager,
    const std::filesystem::path& folder)
{
    const auto listed = recordings.list();
    if (command.list) {
        const auto output = command.json ? discardedRecordingsAsJson(listed) : discardedRecordingsAsTable(listed);
        std::fputs(output.c_str(), stdout);
        return command_line::succeeded;
    }
    const auto wanted = std::find_if(
        listed.begin(), listed.end(), [&](const auto& recording) { return !command.name || isCalled(recording, *command.name); });
    if (wanted == listed.end()) {
        return failWith(
            command.name ? "No discarded recording called " + command.name->native() + " is in the trash." : std::string{nothingToRestore});
    }
    const auto restored = restoredInto(folder, recordings, *wanted, fileManager);
    if (!restored)
        return failWith(restored.error().localizedDescription);
    std::printf("%s\n", restored->c_str());
    return command_line::succeeded;
}

std::string discardedRecordingsAsTable(const std::vector<platform::DiscardedRecording>& recordings)
{
    if (recordings.empty())
        return std::string{nothingToRestore} + '\n';
    QString table;
    for (const auto& recording : recordings) {
        table += QStringLiteral("%1  %2  %3  %4\n")
                     .arg(discardedAt(recording).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))
                     .arg(QString::fromStdString(formattedDuration(recording.duration)), 6)
                     .arg(QString::fromStdString(formattedFileSize(recording.fileSize)), 9)
                     .arg(withoutControlCharacters(QString::fromStdString(recording.filename())));
    }
    return table.toStdString();
}

std::string discardedRecordingsAsJson(const std::vector<platform::DiscardedRecording>& recordings)
{
    QJsonArray array;
    for (const auto& recording : recordings) {
        array.append(QJsonObject{
            {QStringLiteral("name"), bus_requests::text(recording.origin.filename())},
            {QStringLiteral("path"), bus_requests::text(recording.file)},
            {QStringLiteral("origin"), bus_requests::text(recording.origin)},
            {QStringLiteral("discardedAt"), discardedAt(recording).toUTC().toString(Qt::ISODate)},
            {QStringLiteral("seconds"), recording.duration},
            {QStringLiteral("bytes"), static_cast<qint64>(recording.fileSize)},
        });
    }
    return QJsonDocument{array}.toJson(QJsonDocument::Indented).toStdString();
}

}  // namespace velmora
