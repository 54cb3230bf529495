#include "capture/replay/ClipExporter.h"

#include "base/SerialQueue.h"
#include "capture/replay/ClipAudioSettings.h"
#include "capture/replay/ClipExporterError.h"
#include "system/Log.h"

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

namespace velmora {

namespace {

/// A sample and the track that it belongs to.
struct TrackSample {
    enum class Track { video, audio };

    Track track;
    SampleBufferRef sample;
};

/// One export. The work on its queue, and then the writer, keep it alive.
class ClipExport : public std::enable_shared_from_this<ClipExport> {
public:
    ClipExport(std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<platform::FileManager> fileManager,
        ClipExporter::Suspension suspend, RollingBufferExtraction extraction, std::filesystem::path outputURL,
        ClipExporter::ExportCompletion completion)
        : writers_(std::move(writers))
        , fileManager_(std::move(fileManager))
        , suspend_(std::move(suspend))
        , extraction_(std::move(extraction))
        , outputURL_(std::move(outputURL))
        , completion_(std::move(completion))
    {
    }

    void begin()
    {
        queue_.async([self = shared_from_this()] {
            if (const auto result = self->write(); result)
                self->finish();
            else
                self->abandon(result.error());
        });
    }

private:
    using Track = TrackSample::Track;

    static tl::unexpected<Error> failWith(const ClipExporterError& error) { return fail(error.asError()); }

    Result<void> write()
    {
        if (extraction_.videoSamples.empty() || !extraction_.videoSamples.front()->format)
            return failWith(ClipExporterError::emptyBuffer());
        static_cast<void>(fileManager_->removeFile(outputURL_));  // whether anything was there does not matter

        auto writer = writers_->makeAssetWriter(outputURL_, platform::AssetFileType::mpeg4);
        if (!writer)
            return failWith(ClipExporterError::writerInitializationFailed(std::move(writer.error())));
        writer_ = std::move(*writer);
        if (!addVideoInput())
            return failWith(ClipExporterError::cannotAddVideoInput());
        addAudioInput();
        if (!writer_->startWriting())
            return failWith(ClipExporterError::writingFailed(writer_->error()));
        writer_->startSession(extraction_.startPTS);
        return appendInOrderOfTime();
    }

    bool addVideoInput()
    {
        auto input = writer_->makeInput(MediaType::video, std::nullopt, extraction_.videoSamples.front()->format);
        input->setExpectsMediaDataInRealTime(false);
        if (!writer_->canAdd(*input))
            return false;
        writer_->add(input);
        videoInput_ = std::move(input);
        return true;
    }

    void addAudioInput()
    {
        if (extraction_.audioSamples.empty() || !extraction_.audioSamples.front()->format)
            return;
        auto input = writer_->makeInput(MediaType::audio, clipAudioSettings, extraction_.audioSamples.front()->format);
        input->setExpectsMediaDataInRealTime(false);
        if (!writer_->canAdd(*input)) {
            Log::exporter().error(log_line::exporterWithoutAudio);
            return;
        }
        writer_->add(input);
        audioInput_ = std::move(input);
    }

    /// At equal times pictures come before sound.
    [[nodiscard]] std::vector<TrackSample> samplesInOrderOfTime() const
    {
        std::vector<TrackSample> samples;
        samples.reserve(extraction_.videoSamples.size() + extraction_.audioSamples.size());
        for (const auto& sample : extraction_.videoSamples)
            samples.push_back({Track::video, sample});
        if (audioInput_) {
            for (const auto& sample : extraction_.audioSamples) {
                if (sample->presentationTimeStamp >= extraction_.startPTS)
                    samples.push_back({Track::audio, sample});
            }
        }
        std::stable_sort(samples.begin(), samples.end(),
            [](const auto& a, const auto& b) { return a.sample->presentationTimeStamp < b.sample->presentationTimeStamp; });
        return samples;
    }

    Result<void> appendInOrderOfTime()
    {
        for (const auto& [track, sample] : samplesInOrderOfTime()) {
            auto& input = track == Track::video ? *videoInput_ : *audioInput_;
            if (auto ready = waitUntilReady(input); !ready)
                return ready;
            if (input.append(sample))
                continue;
            const auto error = writer_->error();
            Log::exporter().error(track == Track::video ? log_line::exporterFailedVideo : log_line::exporterFailedAudio,
                error ? error->localizedDescription : std::string{"unknown error"});
        }
        return {};
    }

    Result<void> waitUntilReady(const platform::AssetWriterInput& input)
    {
        for (;;) {
            if (writer_->status() == platform::AssetWriter::Status::failed)
                return failWith(ClipExporterError::writingFailed(writer_->error()));
            if (input.isReadyForMoreMediaData())
                return {};
            suspend_(ClipExporter::readinessInterval);
        }
    }

    void finish()
    {
        videoInput_->markAsFinished();
        if (audioInput_)
            audioInput_->markAsFinished();
        writer_->finishWriting([self = shared_from_this()] { self->completion_(self->outcome()); });
    }

    /// The writer goes first: whoever hears of the error finds the file in its final state.
    void abandon(const Error& error)
    {
        videoInput_.reset();
        audioInput_.reset();
        writer_.reset();
        completion_(fail(error));
    }

    [[nodiscard]] Result<std::filesystem::path> outcome() const
    {
        if (writer_->status() != platform::AssetWriter::Status::completed)
            return failWith(ClipExporterError::writingFailed(writer_->error()));
        if (!fileManager_->fileExists(outputURL_))
            return failWith(ClipExporterError::outputFileNotFound());
        return outputURL_;
    }

    const std::shared_ptr<platform::AssetWriterFactory> writers_;
    const std::shared_ptr<platform::FileManager> fileManager_;
    const ClipExporter::Suspension suspend_;
    const RollingBufferExtraction extraction_;
    const std::filesystem::path outputURL_;
    ClipExporter::ExportCompletion completion_;

    // All of these are used on the queue, and after it in the writer's completion.
    std::shared_ptr<platform::AssetWriter> writer_;
    std::shared_ptr<platform::AssetWriterInput> videoInput_;
    std::shared_ptr<platform::AssetWriterInput> audioInput_;

    // Last: its end waits for work that uses the members above.
    SerialQueue queue_{"com.velmora.exporter", SerialQueue::QualityOfService::userInitiated};
};

}  // namespace

ClipExporter::ClipExporter(
    std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<platform::FileManager> fileManager, Suspension suspend)
    : writers_(std::move(writers))
    , fileManager_(std::move(fileManager))
    , suspend_(std::move(suspend))
{
}

void ClipExporter::exportClip(RollingBufferExtraction extraction, std::filesystem::path outputURL, ExportCompletion completion) const
{
    std::make_shared<ClipExport>(writers_, fileManager_, suspend_, std::move(extraction), std::move(outputURL), std::move(completion))
        ->begin();
}

void ClipExporter::suspendThisThread(std::chrono::nanoseconds duration)
{
    std::this_thread::sleep_for(duration);
}

}  // namespace velmora
