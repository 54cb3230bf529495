#include "engine/files/ExportSessions.h"

#include "base/Mutex.h"
#include "base/SerialQueue.h"
#include "media/mp4/PendingFile.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Trimmer.h"

#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <utility>

namespace velmora::engine {

namespace {

/// Shared with the work on the queue, which keeps it alive: whoever lets go of a session does not wait for the disk.
class Export {
public:
    using Status = platform::ExportSession::Status;

    explicit Export(std::unique_ptr<mp4::File> source) : source_(std::move(source)) { }

    // Before the work begins.
    platform::ExportSession::NextOutputURL nextOutputURL;
    TimeRange range{MediaTime::zero(), {std::numeric_limits<std::int64_t>::max(), 1}};

    void setOutputURL(const std::filesystem::path& url)
    {
        MutexLock lock(mutex_);
        outputURL_ = url;
    }

    [[nodiscard]] std::filesystem::path outputURL() const
    {
        MutexLock lock(mutex_);
        return outputURL_;
    }

    [[nodiscard]] Status status() const
    {
        MutexLock lock(mutex_);
        return status_;
    }

    [[nodiscard]] std::optional<Error> error() const
    {
        MutexLock lock(mutex_);
        return error_;
    }

    [[nodiscard]] double progress() const { return progress_; }

    static void begin(const std::shared_ptr<Export>& self, UniqueFunction<void()> completion)
    {
        {
            MutexLock lock(self->mutex_);
            assert(!self->isBegun_ && !self->outputURL_.empty());
            self->isBegun_ = true;
            self->status_ = Status::waiting;
        }
        self->queue_.async([self, completion = std::move(completion)]() mutable {
            self->run();
            completion();
        });
    }

    /// What has been written so far is gone when this returns.
    void cancel()
    {
        MutexLock lock(mutex_);
        isCancelled_ = true;
        if (!isBegun_)
            status_ = Status::cancelled;
        if (const auto pending = pending_.lock())
            pending->discard();
    }

private:
    [[nodiscard]] bool isCancelled() const
    {
        MutexLock lock(mutex_);
        return isCancelled_;
    }

    void run()
    {
        auto result = write();
        source_.reset();
        MutexLock lock(mutex_);
        if (result && *result == mp4::TrimOutcome::written) {
            status_ = Status::completed;
            progress_ = 1;
        } else if (isCancelled_) {
            // Whatever went wrong went wrong because of that, or no longer matters.
            status_ = Status::cancelled;
        } else {
            assert(!result);
            status_ = Status::failed;
            error_ = std::move(result.error());
        }
    }

    Result<mp4::TrimOutcome> write()
    {
        {
            MutexLock lock(mutex_);
            if (isCancelled_)
                return mp4::TrimOutcome::cancelled;
            status_ = Status::exporting;
        }
        auto plan = mp4::readAndPlanTrim(*source_, range);
        if (!plan)
            return fail(plan.error());
        const auto pending = createOutput();
        if (!pending)
            return fail(pending.error());
        if (!*pending)
            return mp4::TrimOutcome::cancelled;
        auto outcome = mp4::writeTrim(*source_, std::move(*plan), (*pending)->file(), [this](double done) {
            // The last part is the disk's.
            progress_ = done * 0.99;
            return !isCancelled();
        });
        if (!outcome || *outcome == mp4::TrimOutcome::cancelled)
            return outcome;
        if (const auto synced = (*pending)->sync(); !synced)
            return fail(synced.error());
        if (const auto published = publish(**pending); !published)
            return fail(published.error());
        return mp4::TrimOutcome::written;
    }

    /// None when the export is cancelled: after that nothing may appear in the folder.
    Result<std::shared_ptr<mp4::PendingFile>> createOutput()
    {
        MutexLock lock(mutex_);
        if (isCancelled_)
            return nullptr;
        const auto folder = outputURL_.has_parent_path() ? outputURL_.parent_path() : std::filesystem::path{"."};
        // This folder may not be the one that the program tidies up when it starts.
        mp4::removeAbandonedFiles(folder);
        auto created = mp4::PendingFile::create(folder);
        if (!created)
            return fail(created.error());
        std::shared_ptr<mp4::PendingFile> pending{std::move(*created)};
        pending_ = pending;
        return pending;
    }

    Result<void> publish(mp4::PendingFile& pending)
    {
        for (auto url = outputURL();;) {
            auto published = pending.publish(url);
            if (published) {
                setOutputURL(url);
                return {};
            }
            if (published.error().code != EEXIST || !nextOutputURL)
                return published;
            const auto next = nextOutputURL();
            if (!next || *next == url)
                return published;
            url = *next;
        }
    }

    std::unique_ptr<mp4::File> source_;  // on the queue
    std::atomic<double> progress_{0};

    mutable Mutex mutex_;
    std::filesystem::path outputURL_ GUARDED_BY(mutex_);
    bool isBegun_ GUARDED_BY(mutex_) = false;
    bool isCancelled_ GUARDED_BY(mutex_) = false;
    Status status_ GUARDED_BY(mutex_) = Status::unknown;
    std::optional<Error> error_ GUARDED_BY(mutex_);
    std::weak_ptr<mp4::PendingFile> pending_ GUARDED_BY(mutex_);

    SerialQueue queue_{"com.velmora.export", SerialQueue::QualityOfService::utility};
};

class Mp4ExportSession final : public platform::ExportSession {
public:
    explicit Mp4ExportSession(std::unique_ptr<mp4::File> source) : export_(std::make_shared<Export>(std::move(source))) { }
    ~Mp4ExportSession() override { export_->cancel(); }
    Mp4ExportSession(const Mp4ExportSession&) = delete;
    Mp4ExportSession& operator=(const Mp4ExportSession&) = delete;

    void setOutputURL(const std::filesystem::path& outputURL) override { export_->setOutputURL(outputURL); }
    void setNextOutputURL(NextOutputURL next) override { export_->nextOutputURL = std::move(next); }
    void setOutputFileType(platform::AssetFileType fileType) override { fileType_ = fileType; }
    void setTimeRange(const TimeRange& range) override { export_->range = range; }

    void exportAsynchronously(UniqueFunction<void()> completion) override { Export::begin(export_, std::move(completion)); }
    void cancelExport() override { export_->cancel(); }

    [[nodiscard]] std::filesystem::path outputURL() const override { return export_->outputURL(); }
    [[nodiscard]] Status status() const override { return export_->status(); }
    [[nodiscard]] std::optional<Error> error() const override { return export_->error(); }
    [[nodiscard]] double progress() const override { return export_->progress(); }

private:
    const std::shared_ptr<Export> export_;
    platform::AssetFileType fileType_ = platform::AssetFileType::mpeg4;
};

class Mp4ExportSessions final : public platform::ExportSessionFactory {
public:
    Result<std::shared_ptr<platform::ExportSession>> makeExportSession(const std::filesystem::path& asset, platform::ExportPreset) override
    {
        auto source = mp4::PosixFile::openForReading(asset);
        if (!source)
            return fail(source.error());
        return std::make_shared<Mp4ExportSession>(std::move(*source));
    }
};

}  // namespace

std::shared_ptr<platform::ExportSessionFactory> makeExportSessions()
{
    return std::make_shared<Mp4ExportSessions>();
}

}  // namespace velmora::engine
