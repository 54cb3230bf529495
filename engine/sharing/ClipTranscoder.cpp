#include "engine/sharing/ClipTranscoder.h"

#include "base/Mutex.h"
#include "engine/files/ExportSessions.h"
#include "engine/sharing/MovieCopy.h"
#include "engine/sharing/SmallFile.h"
#include "media/mp4/PosixFile.h"

#include <utility>

namespace velmora::engine {

namespace {

using platform::TranscodingReport;
using platform::TranscodingSettings;

/// What the work leaves for whoever holds the session.
class KeptReport {
public:
    void set(const TranscodingReport& report)
    {
        const MutexLock lock(mutex_);
        report_ = report;
    }

    [[nodiscard]] std::optional<TranscodingReport> get() const
    {
        const MutexLock lock(mutex_);
        return report_;
    }

private:
    mutable Mutex mutex_;
    std::optional<TranscodingReport> report_ GUARDED_BY(mutex_);
};

class Transcoding final : public ExportWork {
public:
    Transcoding(std::unique_ptr<mp4::File> source, const TranscodingSettings& settings, MakeClipCodecs makeCodecs,
        MakeMovieCodecs makeMovieCodecs, std::shared_ptr<KeptReport> report)
        : source_(std::move(source))
        , settings_(settings)
        , makeCodecs_(std::move(makeCodecs))
        , makeMovieCodecs_(std::move(makeMovieCodecs))
        , report_(std::move(report))
    {
    }

    Result<bool> write(const Surroundings& surroundings) override
    {
        if (surroundings.range != wholeClip || !surroundings.cuts.empty())
            return fail(std::string{platform::transcodingErrorDomain}, static_cast<int>(platform::TranscodingErrorCode::unsupported),
                "Only whole clips can be encoded anew.");
        const auto report = make({surroundings.createOutput, surroundings.createScratch, surroundings.progress});
        if (!report)
            return fail(report.error());
        if (!*report)
            return false;
        report_->set(**report);
        return true;
    }

private:
    Result<std::optional<TranscodingReport>> make(const CopyTools& tools)
    {
        if (settings_.format == platform::CopyFormat::mp4) {
            const auto codecs = makeCodecs_();
            return codecs ? makeSmallFile(*source_, settings_, **codecs, tools) : fail(codecs.error());
        }
        const auto codecs = makeMovieCodecs_();
        return codecs ? makeMovieCopy(*source_, settings_, **codecs, tools) : fail(codecs.error());
    }

    const std::unique_ptr<mp4::File> source_;
    const TranscodingSettings settings_;
    const MakeClipCodecs makeCodecs_;
    const MakeMovieCodecs makeMovieCodecs_;
    const std::shared_ptr<KeptReport> report_;
};

class Session final : public platform::TranscodingSession {
public:
    Session(std::shared_ptr<platform::ExportSession> session, std::shared_ptr<KeptReport> report)
        : session_(std::move(session))
        , report_(std::move(report))
    {
    }

    void setOutputURL(const std::filesystem::path& outputURL) override { session_->setOutputURL(outputURL); }
    void setNextOutputURL(NextOutputURL next) override { session_->setNextOutputURL(std::move(next)); }
    void setOutputFileType(platform::AssetFileType fileType) override { session_->setOutputFileType(fileType); }
    void setTimeRange(const TimeRange& range) override { session_->setTimeRange(range); }
    void setCuts(std::vector<TimeRange> cuts) override { session_->setCuts(std::move(cuts)); }
    void exportAsynchronously(UniqueFunction<void()> completion) override { session_->exportAsynchronously(std::move(completion)); }
    void cancelExport() override { session_->cancelExport(); }
    [[nodiscard]] std::filesystem::path outputURL() const override { return session_->outputURL(); }
    [[nodiscard]] Status status() const override { return session_->status(); }
    [[nodiscard]] std::optional<Error> error() const override { return session_->error(); }
    [[nodiscard]] double progress() const override { return session_->progress(); }
    [[nodiscard]] std::optional<TranscodingReport> report() const override
    {
        return status() == Status::completed ? report_->get() : std::nullopt;
    }

private:
    const std::shared_ptr<platform::ExportSession> session_;
    const std::shared_ptr<KeptReport> report_;
};

class Transcoder final : public platform::ClipTranscoder {
public:
    Transcoder(MakeClipCodecs makeCodecs, MakeMovieCodecs makeMovieCodecs)
        : makeCodecs_(std::move(makeCodecs))
        , makeMovieCodecs_(std::move(makeMovieCodecs))
    {
    }

    Result<std::shared_ptr<platform::TranscodingSession>> makeSession(
        const std::filesystem::path& asset, const TranscodingSettings& settings) override
    {
        auto source = mp4::PosixFile::openForReading(asset);
        if (!source)
            return fail(source.error());
        auto report = std::make_shared<KeptReport>();
        auto session = makeExportSession(std::make_unique<Transcoding>(std::move(*source), settings, makeCodecs_, makeMovieCodecs_, report),
            "com.velmora.transcoding", SerialQueue::QualityOfService::background);
        return std::make_shared<Session>(std::move(session), std::move(report));
    }

private:
    const MakeClipCodecs makeCodecs_;
    const MakeMovieCodecs makeMovieCodecs_;
};

}  // namespace

std::shared_ptr<platform::ClipTranscoder> makeClipTranscoder(MakeClipCodecs makeCodecs, MakeMovieCodecs makeMovieCodecs)
{
    return std::make_shared<Transcoder>(std::move(makeCodecs), std::move(makeMovieCodecs));
}

}  // namespace velmora::engine
