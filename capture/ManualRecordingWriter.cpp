#include "capture/ManualRecordingWriter.h"

#include "capture/VideoHardwareEncoder.h"
#include "capture/replay/ClipAudioSettings.h"
#include "capture/replay/ClipExporterError.h"
#include "system/Log.h"

namespace velmora {

Result<std::shared_ptr<ManualRecordingWriter>> ManualRecordingWriter::create(
    std::filesystem::path outputURL, platform::AssetWriterFactory& writers, std::shared_ptr<platform::FileManager> fileManager)
{
    auto recording = std::make_shared<ManualRecordingWriter>(Private{}, std::move(outputURL), std::move(fileManager));
    static_cast<void>(recording->fileManager_->removeFile(recording->outputURL_));  // whether anything was there does not matter

    auto writer = writers.makeAssetWriter(recording->outputURL_, platform::AssetFileType::mpeg4);
    if (!writer)
        return fail(std::move(writer.error()));
    recording->writer_ = std::move(*writer);

    auto audioInput = recording->writer_->makeInput(MediaType::audio, clipAudioSettings, nullptr);
    audioInput->setExpectsMediaDataInRealTime(true);
    if (recording->writer_->canAdd(*audioInput)) {
        recording->writer_->add(audioInput);
        recording->audioInput_ = std::move(audioInput);
    }
    return recording;
}

ManualRecordingWriter::ManualRecordingWriter(Private, std::filesystem::path outputURL, std::shared_ptr<platform::FileManager> fileManager)
    : outputURL_(std::move(outputURL))
    , fileManager_(std::move(fileManager))
{
}

ManualRecordingWriter::~ManualRecordingWriter() = default;

void ManualRecordingWriter::appendVideoSample(SampleBufferRef sample)
{
    writeQueue_.async([weak = weak_from_this(), sample = std::move(sample)] {
        if (const auto self = weak.lock(); self && self->writer_)
            self->writeVideo(sample);
    });
}

void ManualRecordingWriter::appendAudioSample(SampleBufferRef sample)
{
    writeQueue_.async([weak = weak_from_this(), sample = std::move(sample)] {
        if (const auto self = weak.lock(); self && self->writer_)
            self->writeAudio(sample);
    });
}

void ManualRecordingWriter::writeVideo(const SampleBufferRef& sample)
{
    if (!hasStartedSession_ && !startSession(sample))
        return;
    if (!videoInput_->isReadyForMoreMediaData())
        return;
    if (!videoInput_->append(sample))
        Log::capture().error(log_line::failedToAppendVideo, errorText("unknown error"));
}

// True once the session is running; false when this sample cannot begin it and is to be dropped.
bool ManualRecordingWriter::startSession(const SampleBufferRef& sample)
{
    if (!VideoHardwareEncoder::isKeyFrame(*sample) || !sample->format)
        return false;

    auto videoInput = writer_->makeInput(MediaType::video, std::nullopt, sample->format);
    videoInput->setExpectsMediaDataInRealTime(true);
    if (!writer_->canAdd(*videoInput)) {
        Log::capture().error(log_line::cannotAddVideoInput);
        return false;
    }
    writer_->add(videoInput);
    videoInput_ = std::move(videoInput);
    if (!writer_->startWriting()) {
        Log::capture().error(log_line::startWritingFailed, errorText("unknown"));
        return false;
    }
    writer_->startSession(sample->presentationTimeStamp);
    sessionStartTime_ = sample->presentationTimeStamp;
    hasStartedSession_ = true;
    return true;
}

void ManualRecordingWriter::writeAudio(const SampleBufferRef& sample)
{
    if (!hasStartedSession_ || !audioInput_ || !audioInput_->isReadyForMoreMediaData())
        return;
    if (sample->presentationTimeStamp < sessionStartTime_)
        return;
    if (!audioInput_->append(sample))
        Log::capture().error(log_line::failedToAppendAudio, errorText("unknown error"));
}

void ManualRecordingWriter::finish(FinishCompletion completion)
{
    writeQueue_.async([self = shared_from_this(), completion = std::move(completion)]() mutable {
        if (!self->writer_) {
            completion(fail(ClipExporterError::outputFileNotFound().asError()));
            return;
        }
        self->finishWriting(std::move(completion));
    });
}

void ManualRecordingWriter::finishWriting(FinishCompletion completion)
{
    if (videoInput_)
        videoInput_->markAsFinished();
    if (audioInput_)
        audioInput_->markAsFinished();
    writer_->finishWriting([self = shared_from_this(), completion = std::move(completion)]() mutable {
        const auto& writer = *self->writer_;
        if (writer.status() == platform::AssetWriter::Status::completed && self->fileManager_->fileExists(self->outputURL_)) {
            completion(self->outputURL_);
            return;
        }
        auto error = writer.error();
        completion(fail(error ? std::move(*error) : ClipExporterError::writingFailed(std::nullopt).asError()));
    });
}

void ManualRecordingWriter::cancel()
{
    writeQueue_.async([self = shared_from_this()] {
        if (self->writer_)
            self->writer_->cancelWriting();
        static_cast<void>(self->fileManager_->removeFile(self->outputURL_));  // it may be gone already
        // Whatever is submitted from now on finds no writer.
        self->writer_.reset();
    });
}

void ManualRecordingWriter::drain()
{
    writeQueue_.drain();
}

std::string ManualRecordingWriter::errorText(const char* fallback) const
{
    const auto error = writer_->error();
    return error ? error->localizedDescription : std::string{fallback};
}

}  // namespace velmora
