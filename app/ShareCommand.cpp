#include "app/ShareCommand.h"

#include "app/ExportRun.h"
#include "app/NewFile.h"
#include "library/ClipFormat.h"
#include "library/PathUtilities.h"
#include "library/SmallFileName.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <string>
#include <utility>

namespace velmora {

namespace {

QJsonObject asJson(const platform::TranscodingSession& session, const platform::TranscodingReport& report, bool isOnClipboard)
{
    QJsonObject object{
        {QStringLiteral("file"), QString::fromStdString(session.outputURL().native())},
        {QStringLiteral("size"), static_cast<qint64>(report.size)},
        {QStringLiteral("isCopy"), report.isCopy},
        {QStringLiteral("isOnClipboard"), isOnClipboard},
    };
    if (report.isCopy)
        return object;
    object[QStringLiteral("width")] = report.width;
    object[QStringLiteral("height")] = report.height;
    object[QStringLiteral("picturesPerSecond")] = report.pictureRate;
    object[QStringLiteral("soundBitRate")] = static_cast<qint64>(report.soundBitRate);
    object[QStringLiteral("quality")] = report.quality;
    if (report.colours > 0)
        object[QStringLiteral("colours")] = report.colours;
    object[QStringLiteral("rounds")] = report.rounds;
    return object;
}

std::string asText(const platform::TranscodingReport& report)
{
    if (report.isCopy)
        return "The clip fits as it is and was copied: " + formattedFileSize(static_cast<std::int64_t>(report.size)) + ".";
    return QStringLiteral("%1, %2 × %3, %4 pictures a second, %5.")
        .arg(QString::fromStdString(formattedFileSize(static_cast<std::int64_t>(report.size))))
        .arg(report.width)
        .arg(report.height)
        .arg(report.pictureRate, 0, 'f', report.pictureRate < 10 ? 1 : 0)
        .arg(report.soundBitRate > 0 ? QStringLiteral("sound at %1 kbit/s").arg(report.soundBitRate / 1000)
                : report.colours > 0 ? QStringLiteral("%1 colours, no sound").arg(report.colours)
                                     : QStringLiteral("no sound"))
        .toStdString();
}

class ShareCommand {
public:
    ShareCommand(const command_line::Share& command, const ShareServices& services) : command_(command), services_(services) { }

    int run()
    {
        if (command_.output) {
            if (const auto isFree = new_file::checkIsFree(*command_.output); !isFree)
                return exportFailed(cannotShare(isFree.error()));
        }
        auto made = services_.transcoder->makeSession(command_.file, command_.settings);
        if (!made)
            return exportFailed(cannotShare(made.error()));
        const auto session = std::move(*made);
        if (const auto chosen = chooseOutput(*session); !chosen)
            return exportFailed(cannotShare(chosen.error()));
        runExport(session, services_.mainExecutor);
        if (const auto error = session->error())
            return exportFailed(cannotShare(*error));
        const auto report = session->report();
        if (!report)
            return command_line::failed;
        const bool isOnClipboard = !command_.output && services_.copyToClipboard && services_.copyToClipboard(session->outputURL());
        if (command_.json) {
            const auto text = QJsonDocument{asJson(*session, *report, isOnClipboard)}.toJson(QJsonDocument::Indented);
            std::fputs(text.constData(), stdout);
        } else {
            std::fprintf(stderr, "%s%s\n", asText(*report).c_str(), isOnClipboard ? " It is on the clipboard." : "");
            std::printf("%s\n", session->outputURL().c_str());
        }
        std::fflush(stdout);
        return command_line::succeeded;
    }

private:
    [[nodiscard]] std::string cannotShare(const Error& error) const
    {
        if (command_.output && new_file::isTaken(error))
            return new_file::alreadyThere(*command_.output);
        return "Cannot share " + command_.file.native() + ": " + error.localizedDescription;
    }

    Result<void> chooseOutput(platform::ExportSession& session) const
    {
        if (command_.output) {
            PathUtilities::ensureDirectoryExists(command_.output->parent_path(), *services_.fileManager);
            session.setOutputURL(*command_.output);
            return {};
        }
        const auto folder = small_file::folderFor(services_.clipsFolder());
        if (auto created = services_.fileManager->createDirectory(folder); !created)
            return created;
        auto names = small_file::namesFor(command_.file, folder, command_.settings, services_.fileManager);
        const auto first = names();
        if (!first)
            return fail(posixError(EEXIST, folder.native()));
        session.setOutputURL(*first);
        session.setNextOutputURL(std::move(names));
        return {};
    }

    const command_line::Share& command_;
    const ShareServices& services_;
};

}  // namespace

int runShareCommand(const command_line::Share& command, const ShareServices& services)
{
    return ShareCommand{command, services}.run();
}

}  // namespace velmora
