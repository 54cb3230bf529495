// Copies of clips that are being made to fit where they are sent.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "library/views/RunningExports.h"
#include "platform/ClipTranscoder.h"
#include "platform/Clock.h"
#include "platform/FileManager.h"

#include <QObject>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

/// Makes one copy after the other, in the order in which they were asked for; each goes to the clipboard when it is there. A clip has one at a
/// time: asking again begins anew. Main thread only.
class SmallFiles final : public QObject {
    Q_OBJECT

public:
    struct Services {
        std::shared_ptr<platform::ClipTranscoder> transcoder;
        std::shared_ptr<platform::FileManager> fileManager;
        std::shared_ptr<platform::Clock> clock;
        std::shared_ptr<Executor> mainExecutor;
        std::shared_ptr<RunningExports> runningExports;
        std::function<std::filesystem::path()> clipsFolder;
        std::function<void(const std::filesystem::path&)> copy;  ///< to the clipboard
        /// Told of what took its time, or failed: a title and a sentence, and the file that they are about.
        std::function<void(const std::string&, const std::string&, const std::filesystem::path&)> tell = {};
    };

    enum class Phase { waiting, running, copied, failed };

    struct Status {
        Phase phase = Phase::waiting;
        double progress = 0;  ///< 0 to 1, while it is running
        std::string text;  ///< once it has ended: what came of it
    };

    explicit SmallFiles(Services services, QObject* parent = nullptr);
    ~SmallFiles() override;

    void start(const std::filesystem::path& clip, std::uint64_t limit);

    /// What there is of this clip; none before and after.
    [[nodiscard]] std::optional<Status> status(const std::filesystem::path& clip) const;

    /// Whether it waits or runs.
    [[nodiscard]] bool isBusyWith(const std::filesystem::path& clip) const;

    /// The clip that was asked for last, of those that there is something of.
    [[nodiscard]] std::optional<std::filesystem::path> newest() const;

    /// Cancels it, or takes note of how it ended. Then there is nothing of it any more.
    void dismiss(const std::filesystem::path& clip);

signals:
    void changed();

private:
    struct Job {
        std::filesystem::path clip;
        std::uint64_t limit = 0;
        Status status;
        std::shared_ptr<platform::TranscodingSession> session;  // while it runs
    };
    using Jobs = std::list<Job>;

    [[nodiscard]] Jobs::const_iterator find(const std::filesystem::path& clip) const;
    void runNext();
    [[nodiscard]] Result<std::shared_ptr<platform::TranscodingSession>> makeSession(const Job& job) const;
    void ended(const platform::TranscodingSession* session);
    void finish(Job& job, const platform::TranscodingSession& session);
    void failed(Job& job, const Error& error);
    void watchProgress();

    const Services services_;
    Jobs jobs_;  // in the order in which they were asked for
    std::shared_ptr<platform::TranscodingSession> running_;
    std::unique_ptr<platform::Timer> progressTimer_;  // while one runs

    // Gone with this object, so that a late result finds nobody.
    const SelfReference<SmallFiles> self_{*this};
};

}  // namespace velmora
