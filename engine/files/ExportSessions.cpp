#include "engine/files/ExportSessions.h"

#include "base/Mutex.h"
#include "media/mp4/PendingFile.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Trimmer.h"

#include <atomic>
#include <cassert>
#include <cerrno>
#include <utility>

namespace velmora::engine {

namespace {

/// Shared with the work on the queue, which keeps it alive: whoever lets go of a session does not wait for the disk.
class Export {
public:
    using Status = platform::ExportSession::Status;

    Export(std::unique_ptr<mp4::File> source, std::unique_ptr<ExportWork> work, std::string label,
        SerialQueue::QualityOfService qualityOfService)
        : source_(std::move(source))
        , work_(std::move(work))
        , queue_(std::move(label), qualityOfService)
    {
    }

    // Before the work begins.
    platform::ExportSession::NextOutputURL nextOutputURL;
    TimeRange range = wholeClip;

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
        work_.reset();
        source_.reset();
        MutexLock lock(mutex_);
        if (result && *result) {
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

    /// False: cancelled.
    Result<bool> write()
    {
        {
            MutexLock lock(mutex_);
            if (isCancelled_)
                return false;
            status_ = Status::exporting;
        }
        std::shared_ptr<mp4::PendingFile> pending;
        ExportWork::Surroundings surroundings{.range = range,
            .folder = folder(),
            .createOutput = [&]() -> Result<mp4::File*> {
                auto created = createOutput();
                if (!created)
                    return fail(created.error());
                pending = std::move(*created);
                return pending ? &pending->file() : nullptr;
            },
            .createScratch = [this] { return mp4::createNamelessFile(folder()); },
            .progress =
                [this](double done) {
                    // The last part is the disk's.
                    progress_ = done * 0.99;
                    return !isCancelled();
                }};
        const auto written = work_->write(*source_, surroundings);
        if (!written || !*written)
            return written;
        assert(pending);
        if (const auto synced = pending->sync(); !synced)
            return fail(synced.error());
        if (const auto published = publish(*pending); !published)
            return fail(published.error());
        return true;
    }

    [[nodiscard]] std::filesystem::path folder() const
    {
        MutexLock lock(mutex_);
        return folderOfOutput();
    }

    [[nodiscard]] std::filesystem::path folderOfOutput() const REQUIRES(mutex_)
    {
        return outputURL_.has_parent_path() ? outputURL_.parent_path() : std::filesystem::path{"."};
    }

    /// None when the export is cancelled: after that nothing may appear in the folder.
    Result<std::shared_ptr<mp4::PendingFile>> createOutput()
    {
        MutexLock lock(mutex_);
        if (isCancelled_)
            return nullptr;
        const auto folder = folderOfOutput();
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
    std::unique_ptr<ExportWork> work_;  // on the queue
    std::atomic<double> progress_{0};

    mutable Mutex mutex_;
    std::filesystem::path outputURL_ GUARDED_BY(mutex_);
    bool isBegun_ GUARDED_BY(mutex_) = false;
    bool isCancelled_ GUARDED_BY(mutex_) = false;
    Status status_ GUARDED_BY(mutex_) = Status::unknown;
    std::optional<Error> error_ GUARDED_BY(mutex_);
    std::weak_ptr<mp4::PendingFile> pending_ GUARDED_BY(mutex_);

    SerialQueue queue_;
};

class Mp4ExportSession final : public platform::ExportSession {
public:
    explicit Mp4ExportSession(std::shared_ptr<Export> work) : export_(std::move(work)) { }
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

/// A part of the clip, nothing of which is encoded.
class Trim final : public ExportWork {
public:
    Result<bool> write(mp4::File& source, const Surroundings& surroundings) override
    {
        auto plan = mp4::readAndPlanTrim(source, surroundings.range);
        if (!plan)
            return fail(plan.error());
        const auto output = surroundings.createOutput();
        if (!output)
            return fail(output.error());
        if (!*output)
            return false;
        const auto outcome = mp4::writeTrim(source, std::move(*plan), **output, surroundings.progress);
        if (!outcome)
            return fail(outcome.error());
        return *outcome == mp4::TrimOutcome::written;
    }
};

class Mp4ExportSessions final : public platform::ExportSessionFactory {
public:
    Result<std::shared_ptr<platform::ExportSession>> makeExportSession(const std::filesystem::path& asset, platform::ExportPreset) override
    {
        auto source = mp4::PosixFile::openForReading(asset);
        if (!source)
            return fail(source.error());
        return engine::makeExportSession(
            std::move(*source), std::make_unique<Trim>(), "com.velmora.export", SerialQueue::QualityOfService::utility);
    }
};

}  // namespace

std::shared_ptr<platform::ExportSession> makeExportSession(
    std::unique_ptr<mp4::File> source, std::unique_ptr<ExportWork> work, std::string label, SerialQueue::QualityOfService qualityOfService)
{
    return std::make_shared<Mp4ExportSession>(
        std::make_shared<Export>(std::move(source), std::move(work), std::move(label), qualityOfService));
}

std::shared_ptr<platform::ExportSessionFactory> makeExportSessions()
{
    return std::make_shared<Mp4ExportSessions>();
}

}  // namespace velmora::engine
