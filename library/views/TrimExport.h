// What a preview saves of its clip.
#pragma once

#include "base/SelfReference.h"
#include "library/ClipLibrary.h"
#include "library/views/RunningExports.h"
#include "media/TimeRange.h"
#include "platform/ExportSession.h"
#include "platform/FileManager.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace velmora {

/// Exports parts of one clip beside it, one at a time, and says what became of the last one. A part that is being exported is finished and
/// enters the library even if this is gone meanwhile. Main thread only.
class TrimExport {
public:
    struct Services {
        std::shared_ptr<platform::ExportSessionFactory> exportSessions;
        std::shared_ptr<platform::FileManager> fileManager;
        ClipLibrary& library;
        std::shared_ptr<Executor> mainExecutor;
        std::shared_ptr<RunningExports> runningExports;
    };

    /// `changed` is called after each change of what the getters say.
    TrimExport(std::filesystem::path clip, Services services, std::function<void()> changed);

    [[nodiscard]] bool isRunning() const { return isRunning_; }
    [[nodiscard]] const QString& message() const { return message_; }
    /// The part that the message names; empty where it names none.
    [[nodiscard]] const std::filesystem::path& savedClip() const { return savedClip_; }

    /// Nothing while one is running. The clip is removed once the part is safe if that is to take its place.
    void start(const TimeRange& range, std::vector<TimeRange> cuts, bool replaceOriginal);

private:
    void finish(const platform::ExportSession& session);
    void set(bool isRunning, const QString& message, std::filesystem::path savedClip = {});

    const std::filesystem::path clip_;
    const Services services_;
    const std::function<void()> changed_;
    bool isRunning_ = false;
    QString message_;
    std::filesystem::path savedClip_;

    // Gone with the rest, so that a late result finds nobody.
    const SelfReference<TrimExport> self_{*this};
};

}  // namespace velmora
