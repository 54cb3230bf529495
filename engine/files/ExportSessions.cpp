#include "engine/files/ExportSessions.h"

#include "base/LeftBehindWork.h"
#include "base/Mutex.h"
#include "engine/files/SeamEncoder.h"
#include "media/mp4/PendingFile.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Splicer.h"

#include <atomic>
#include <cassert>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

namespace velmora::engine {

namespace {

/// Then the hidden name of what was being written says nothing to anybody.
bool isFullDisk(const Error& error)
{
    return error.domain == posixErrorDomain && (error.code == ENOSPC || error.code == EDQUOT || error.code == EFBIG);
}

/// Shared with the work on the queue, which keeps it alive: whoever lets go of a session does not wait for the disk.
class Export {
public:
    using Status = platform::ExportSession::Status;

    Export(std::unique_ptr<ExportWork> work, std::string label, SerialQueue::QualityOfService qualityOfService)
        : work_(std::move(work))
        , queue_(std::move(label), qualityOfService)
    {
    }

    // Before the work begins.
    platform::ExportSession::NextOutputURL nextOutputURL;
    TimeRange range = wholeClip;
    std::vector<TimeRange> cuts;

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
            self->completion_ = std::move(completion);
        }
        self->queue_.async([self] { self->run(); });
    }

    /// What has been written so far is gone when this returns, and nothing comes after it. So nobody has to wait for the work to notice, which
    /// may take it long where it gets little of the processors, or waits for a disk.
    void cancel()
    {
        UniqueFunction<void()> completion;
        {
            MutexLock lock(mutex_);
            isCancelled_ = true;
            if (!isBegun_)
                status_ = Status::cancelled;
            if (const auto pending = pending_.lock())
                pending->discard();
            if (completion_ && !isPublishing_) {
                status_ = Status::cancelled;
                leftBehind_.emplace();
                completion = std::exchange(completion_, {});
            }
        }
        if (completion)
            completion();
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
        UniqueFunction<void()> completion;
        {
            MutexLock lock(mutex_);
            leftBehind_.reset();
            if (!completion_)
                return;
            completion = std::exchange(completion_, {});
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
        completion();
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
            .cuts = cuts,
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
        auto written = work_->write(surroundings);
        if (!written)
            return fail(isFullDisk(written.error()) ? posixError(written.error().code, surroundings.folder.native()) : written.error());
        if (!*written)
            return false;
        assert(pending);
        if (const auto synced = pending->sync(); !synced)
            return fail(synced.error());
        {
            MutexLock lock(mutex_);
            if (isCancelled_)
                return false;
            isPublishing_ = true;
        }
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

    std::unique_ptr<ExportWork> work_;  // on the queue
    std::atomic<double> progress_{0};

    mutable Mutex mutex_;
    std::filesystem::path outputURL_ GUARDED_BY(mutex_);
    bool isBegun_ GUARDED_BY(mutex_) = false;
    bool isCancelled_ GUARDED_BY(mutex_) = false;
    bool isPublishing_ GUARDED_BY(mutex_) = false;  // from here on it is finished rather than cancelled
    UniqueFunction<void()> completion_ GUARDED_BY(mutex_);
    std::optional<LeftBehindWork> leftBehind_ GUARDED_BY(mutex_);
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
    void setCuts(std::vector<TimeRange> cuts) override { export_->cuts = std::move(cuts); }

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

/// What is kept of clips, of which only what lies at seams is encoded.
class Splice final : public ExportWork {
public:
    struct Source {
        std::unique_ptr<mp4::File> file;
        std::string name;
    };

    Splice(std::vector<Source> sources, SeamCodecs codecs) : sources_(std::move(sources)), codecs_(std::move(codecs)) { }

    Result<bool> write(const Surroundings& surroundings) override
    {
        std::vector<mp4::KeptFile> kept;
        std::vector<mp4::File*> files;
        for (const auto& source : sources_) {
            kept.push_back({source.file.get(), source.name, surroundings.range, surroundings.cuts});
            files.push_back(source.file.get());
        }
        auto splice = mp4::readAndPlanSplice(kept);
        if (!splice)
            return fail(splice.error());
        const double shareOfSeams = splice->plan.isTrim ? 0 : 0.8;
        // Before anything is in the folder: what cannot be encoded leaves nothing there for a moment.
        const auto anew = encodeSeams(files, *splice, codecs_, [&](double done) { return surroundings.progress(done * shareOfSeams); });
        if (!anew)
            return fail(anew.error());
        if (!*anew)
            return false;
        const auto output = surroundings.createOutput();
        if (!output)
            return fail(output.error());
        if (!*output)
            return false;
        const auto outcome = mp4::writeSplice(files, splice->plan, **anew, **output,
            [&](double done) { return surroundings.progress(shareOfSeams + done * (1 - shareOfSeams)); });
        if (!outcome)
            return fail(outcome.error());
        return *outcome == mp4::TrimOutcome::written;
    }

private:
    const std::vector<Source> sources_;
    const SeamCodecs codecs_;
};

class Mp4ExportSessions final : public platform::ExportSessionFactory {
public:
    explicit Mp4ExportSessions(SeamCodecs codecs) : codecs_(std::move(codecs)) { }

    Result<std::shared_ptr<platform::ExportSession>> makeExportSession(
        const std::filesystem::path& asset, platform::ExportPreset preset) override
    {
        return makeJoinSession({asset}, preset);
    }

    Result<std::shared_ptr<platform::ExportSession>> makeJoinSession(
        const std::vector<std::filesystem::path>& assets, platform::ExportPreset) override
    {
        std::vector<Splice::Source> sources;
        for (const auto& asset : assets) {
            auto file = mp4::PosixFile::openForReading(asset);
            if (!file)
                return fail(file.error());
            sources.push_back({std::move(*file), asset.filename().native()});
        }
        return engine::makeExportSession(
            std::make_unique<Splice>(std::move(sources), codecs_), "com.velmora.export", SerialQueue::QualityOfService::utility);
    }

private:
    const SeamCodecs codecs_;
};

}  // namespace

std::shared_ptr<platform::ExportSession> makeExportSession(
    std::unique_ptr<ExportWork> work, std::string label, SerialQueue::QualityOfService qualityOfService)
{
    return std::make_shared<Mp4ExportSession>(std::make_shared<Export>(std::move(work), std::move(label), qualityOfService));
}

std::shared_ptr<platform::ExportSessionFactory> makeExportSessions(SeamCodecs codecs)
{
    return std::make_shared<Mp4ExportSessions>(std::move(codecs));
}

}  // namespace velmora::engine
