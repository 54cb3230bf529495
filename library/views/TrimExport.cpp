#include "library/views/TrimExport.h"

#include "library/PathUtilities.h"

#include <chrono>
#include <utility>

namespace velmora {

TrimExport::TrimExport(std::filesystem::path clip, Services services, std::function<void()> changed)
    : clip_(std::move(clip))
    , services_(std::move(services))
    , changed_(std::move(changed))
{
}

void TrimExport::start(const TimeRange& range, std::vector<TimeRange> cuts, bool replaceOriginal)
{
    if (isRunning_)
        return;
    set(true, QStringLiteral("Exporting trimmed clip..."));
    auto made = services_.exportSessions->makeExportSession(clip_, platform::ExportPreset::passthrough);
    if (!made)
        return set(false, QStringLiteral("Failed creating export session"));
    const auto session = std::move(*made);
    const auto name = [folder = clip_.parent_path(), fileManager = services_.fileManager, date = std::chrono::system_clock::now()] {
        return PathUtilities::generateUniqueFileURL(
            folder, PathUtilities::prefixTrimmed, *fileManager, PathUtilities::defaultExtension, date);
    };
    session->setOutputURL(name());
    session->setNextOutputURL(name);
    session->setOutputFileType(platform::AssetFileType::mpeg4);
    session->setTimeRange(range);
    session->setCuts(std::move(cuts));

    services_.runningExports->start(session, [weak = self_.weak(), session, services = services_, clip = clip_, replaceOriginal] {
        services.mainExecutor->async([weak, session, services, clip, replaceOriginal] {
            if (session->status() == platform::ExportSession::Status::completed) {
                if (replaceOriginal) {
                    static_cast<void>(services.fileManager->removeFile(clip));
                    services.library.reloadClips();
                } else {
                    services.library.addClip(session->outputURL(), [] {});
                }
            }
            if (const auto self = weak.lock())
                self->finish(*session);
        });
    });
}

void TrimExport::finish(const platform::ExportSession& session)
{
    if (session.status() == platform::ExportSession::Status::completed)
        return set(false, QStringLiteral("Trimmed clip saved as ") + QString::fromStdString(session.outputURL().filename().string()),
            session.outputURL());
    const auto error = session.error();
    set(false, QStringLiteral("Trim error: ") + (error ? QString::fromStdString(error->localizedDescription) : QStringLiteral("unknown")));
}

void TrimExport::set(bool isRunning, const QString& message, std::filesystem::path savedClip)
{
    isRunning_ = isRunning;
    message_ = message;
    savedClip_ = std::move(savedClip);
    changed_();
}

}  // namespace velmora
