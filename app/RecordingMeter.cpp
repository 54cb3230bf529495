#include "app/RecordingMeter.h"

#include "app/ForwardingAssetWriter.h"
#include "media/LiveTime.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace velmora {

namespace {

using Event = RecordingReport::Event;

/// Three encoders' worth: one that goes on failing is given up after ten pictures, and its successor gets its chance.
constexpr int failuresOfADeadEncoder = 30;

// All samples zero; blocks hold 32-bit floats, whose zero is all bits zero.
bool isSilent(const SampleBuffer& block)
{
    return std::all_of(block.data.bytes.begin(), block.data.bytes.end(), [](std::byte b) { return b == std::byte{0}; });
}

class MeteredInput final : public platform::AssetWriterInput {
public:
    MeteredInput(std::shared_ptr<platform::AssetWriterInput> inner, MediaType mediaType, std::shared_ptr<RecordingMeter> meter,
        std::weak_ptr<platform::AssetWriter> writer, std::uint64_t file, FormatDescriptionRef format,
        std::shared_ptr<std::atomic<std::uint64_t>> fileSize, std::shared_ptr<FileFrames> frames,
        std::shared_ptr<const std::atomic<bool>> isPaused)
        : inner_(std::move(inner))
        , mediaType_(mediaType)
        , meter_(std::move(meter))
        , writer_(std::move(writer))
        , file_(file)
        , format_(std::move(format))
        , fileSize_(std::move(fileSize))
        , frames_(std::move(frames))
        , isPaused_(std::move(isPaused))
    {
    }

    void setExpectsMediaDataInRealTime(bool realTime) override { inner_->setExpectsMediaDataInRealTime(realTime); }

    [[nodiscard]] bool isReadyForMoreMediaData() const override
    {
        const bool ready = inner_->isReadyForMoreMediaData();
        if (!ready && !*isPaused_ && mediaType_ == MediaType::video) {
            ++meter_->droppedFrames;
            ++meter_->lateFrames;
        }
        return ready;
    }

    bool append(const SampleBufferRef& sample) override
    {
        const bool appended = inner_->append(sample);
        if (!appended)
            reportRefusal(*sample);
        // What a pause leaves out is neither written nor lost.
        if (*isPaused_) {
            countLost();
            isCounting_ = false;
            return appended;
        }
        if (appended) {
            hasSamples_ = true;
            if (!std::exchange(isCounting_, true))
                lateBefore_ = meter_->lateFrames - frames_->lost;
        }
        if (const auto writer = writer_.lock())
            *fileSize_ = writer->fileSize();
        if (mediaType_ == MediaType::video)
            countFrame(*sample, appended);
        else if (appended && !isSilent(*sample))
            meter_->lastSound = momentOf(sample->presentationTimeStamp);
        return appended;
    }

    void markAsFinished() override { inner_->markAsFinished(); }

    /// Up to now.
    void countLost()
    {
        if (isCounting_)
            frames_->lost = meter_->lateFrames - lateBefore_;
    }

    [[nodiscard]] const std::shared_ptr<platform::AssetWriterInput>& inner() const { return inner_; }
    [[nodiscard]] MediaType mediaType() const { return mediaType_; }
    [[nodiscard]] bool hasSamples() const { return hasSamples_; }

private:
    void reportRefusal(const SampleBuffer& sample)
    {
        const auto writer = writer_.lock();
        if (!writer || isRefusalReported_)
            return;
        std::string reason;
        if (writer->status() == platform::AssetWriter::Status::failed) {
            const auto error = writer->error();
            reason = error ? error->localizedDescription : "Nothing more can be written to the file";
        } else if (mediaType_ == MediaType::video && format_ && sample.format && *sample.format != *format_) {
            reason = "Another encoder has taken over, and its pictures do not belong in the same file";
        } else {
            return;
        }
        isRefusalReported_ = true;
        meter_->report(Event::fileFailed, std::move(reason), file_);
    }

    void countFrame(const SampleBuffer& sample, bool appended)
    {
        if (appended)
            ++frames_->written;
        else
            ++meter_->droppedFrames;
        countLost();
        if (appended && ++meter_->writtenFrames == 1 && meter_->onFirstSample)
            meter_->onFirstSample(sample.presentationTimeStamp);
    }

    std::shared_ptr<platform::AssetWriterInput> inner_;
    MediaType mediaType_;
    std::shared_ptr<RecordingMeter> meter_;
    std::weak_ptr<platform::AssetWriter> writer_;
    const std::uint64_t file_;
    const FormatDescriptionRef format_;
    const std::shared_ptr<std::atomic<std::uint64_t>> fileSize_;
    const std::shared_ptr<FileFrames> frames_;
    const std::shared_ptr<const std::atomic<bool>> isPaused_;
    std::uint64_t lateBefore_ = 0;
    bool hasSamples_ = false;
    bool isCounting_ = false;  ///< there are samples, and it is not paused
    bool isRefusalReported_ = false;
};

class MeteredWriter final : public ForwardingAssetWriter {
public:
    MeteredWriter(std::shared_ptr<platform::AssetWriter> inner, std::shared_ptr<RecordingMeter> meter, std::uint64_t file)
        : ForwardingAssetWriter(std::move(inner))
        , meter_(std::move(meter))
        , file_(file)
    {
        if (!meter_->onReport)
            return;
        meter_->onReport({.event = Event::fileBegins,
            .file = file_,
            .size = fileSize_,
            .frames = frames_,
            .setPaused = [writer = std::weak_ptr{this->inner()}, isPaused = isPaused_](bool paused, MonotonicTime moment) {
                const auto held = writer.lock();
                if (!held)
                    return;
                *isPaused = paused;
                if (paused)
                    held->pause(liveTime(moment));
                else
                    held->resume(liveTime(moment));
            }});
    }

    std::shared_ptr<platform::AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) override
    {
        return std::make_shared<MeteredInput>(inner()->makeInput(mediaType, settings, sourceFormatHint), mediaType, meter_, inner(), file_,
            sourceFormatHint, fileSize_, frames_, isPaused_);
    }

    [[nodiscard]] bool canAdd(const platform::AssetWriterInput& input) const override
    {
        const auto& added = static_cast<const MeteredInput&>(input);
        const bool canAdd = inner()->canAdd(*added.inner());
        if (!canAdd && added.mediaType() == MediaType::audio)
            meter_->report(Event::soundIsMissing, "It cannot be encoded", file_);
        return canAdd;
    }

    void add(std::shared_ptr<platform::AssetWriterInput> input) override
    {
        const auto& added = static_cast<const MeteredInput&>(*input);
        if (added.mediaType() == MediaType::audio)
            meter_->writesSound = true;
        else
            video_ = std::static_pointer_cast<MeteredInput>(input);
        inner()->add(added.inner());
    }

    void finishWriting(UniqueFunction<void()> completion) override
    {
        if (video_)
            video_->countLost();
        meter_->report(video_ && video_->hasSamples() ? Event::fileEnds : Event::fileEndsEmpty, {}, file_);
        ForwardingAssetWriter::finishWriting([meter = meter_, file = file_, inner = inner(), completion = std::move(completion)]() mutable {
            if (const auto place = inner->placeOfMovedFile())
                meter->report(Event::fileWasMoved, place->native(), file);
            completion();
        });
    }

    void cancelWriting() override
    {
        meter_->report(Event::fileEnds, {}, file_);
        ForwardingAssetWriter::cancelWriting();
    }

private:
    const std::shared_ptr<RecordingMeter> meter_;
    const std::uint64_t file_;
    const std::shared_ptr<std::atomic<std::uint64_t>> fileSize_ = std::make_shared<std::atomic<std::uint64_t>>(0);
    const std::shared_ptr<FileFrames> frames_ = std::make_shared<FileFrames>();
    const std::shared_ptr<std::atomic<bool>> isPaused_ = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<MeteredInput> video_;
};

/// Reports when so many pictures in a row have failed that no more will come, and when one comes after all. Used where a session calls back.
class FailureWatch {
public:
    explicit FailureWatch(std::shared_ptr<RecordingMeter> meter) : meter_(std::move(meter)) { }

    /// A picture that was dropped unseen, with neither status nor sample, says nothing of the encoder.
    void note(platform::CompressionStatus status, bool isEncoded)
    {
        if (status == 0 && !isEncoded)
            return;
        if (status != 0 && ++failures_ == failuresOfADeadEncoder)
            meter_->report(Event::encoderFailed, "The encoder keeps failing (Status: " + std::to_string(status) + ")");
        if (status == 0 && std::exchange(failures_, 0) >= failuresOfADeadEncoder)
            meter_->report(Event::encoderWorks);
    }

private:
    const std::shared_ptr<RecordingMeter> meter_;
    int failures_ = 0;
};

class MeteredSessions final : public platform::CompressionSessionFactory {
public:
    MeteredSessions(std::shared_ptr<platform::CompressionSessionFactory> inner, std::shared_ptr<RecordingMeter> meter)
        : inner_(std::move(inner))
        , meter_(std::move(meter))
    {
    }

    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, platform::CompressionSession::OutputCallback output) override
    {
        output = [watch = FailureWatch{meter_}, output = std::move(output)](
                     platform::CompressionStatus status, SampleBufferRef sample) mutable {
            watch.note(status, sample != nullptr);
            output(status, std::move(sample));
        };
        auto counted = [meter = meter_, output = std::move(output)](platform::CompressionStatus status, SampleBufferRef sample) mutable {
            if (!sample && meter->writtenFrames > 0) {
                ++meter->droppedFrames;
                if (status == 0)
                    ++meter->lateFrames;
            }
            if (sample && meter->onFirstPicture) {
                std::exchange(meter->onFirstPicture, nullptr)();
                sample = nullptr;
            }
            output(status, std::move(sample));
        };
        auto session = inner_->makeSession(width, height, codec, std::move(counted));
        if (isMissing_.exchange(!session) != !session) {
            if (session)
                meter_->report(Event::encoderWorks);
            else
                meter_->report(Event::encoderFailed, reason(session.error()));
        }
        return session;
    }

    [[nodiscard]] platform::CompressionStatus checkSize(std::int32_t width, std::int32_t height) override
    {
        return inner_->checkSize(width, height);
    }

    [[nodiscard]] std::string description(platform::CompressionStatus status) const override { return inner_->description(status); }

private:
    [[nodiscard]] std::string reason(platform::CompressionStatus status) const
    {
        const auto known = description(status);
        return known.empty() ? "The encoder cannot be started (Status: " + std::to_string(status) + ")." : known;
    }

    std::shared_ptr<platform::CompressionSessionFactory> inner_;
    std::shared_ptr<RecordingMeter> meter_;
    std::atomic<bool> isMissing_ = false;
};

/// Hears of a stream's sound in its delegate's place.
class MeteredDelegate final : public platform::StreamDelegate {
public:
    MeteredDelegate(std::weak_ptr<platform::StreamDelegate> delegate, std::shared_ptr<RecordingMeter> meter)
        : delegate_(std::move(delegate))
        , meter_(std::move(meter))
    {
    }

    void streamDidStopWithError(const platform::CaptureStream& stream, const Error& error) override
    {
        if (const auto delegate = delegate_.lock())
            delegate->streamDidStopWithError(stream, error);
    }

    void streamDidLoseSound(const platform::CaptureStream& stream, const Error& error) override
    {
        meter_->report(Event::soundIsMissing, error.localizedDescription);
        if (const auto delegate = delegate_.lock())
            delegate->streamDidLoseSound(stream, error);
    }

    void streamDidRegainSound(const platform::CaptureStream& stream) override
    {
        meter_->report(Event::soundIsThere);
        if (const auto delegate = delegate_.lock())
            delegate->streamDidRegainSound(stream);
    }

    void streamContentDidSettle(const platform::CaptureStream& stream, std::int32_t width, std::int32_t height) override
    {
        if (const auto delegate = delegate_.lock())
            delegate->streamContentDidSettle(stream, width, height);
    }

private:
    const std::weak_ptr<platform::StreamDelegate> delegate_;
    const std::shared_ptr<RecordingMeter> meter_;
};

class MeteredStreams final : public platform::CaptureStreamFactory {
public:
    MeteredStreams(std::shared_ptr<platform::CaptureStreamFactory> inner, std::shared_ptr<RecordingMeter> meter)
        : inner_(std::move(inner))
        , meter_(std::move(meter))
    {
    }

    /// The stream itself, because whoever asked knows it by its address; it keeps the delegate that stands between.
    std::shared_ptr<platform::CaptureStream> makeStream(const platform::ContentFilter& filter,
        const platform::StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        struct Kept {
            std::shared_ptr<MeteredDelegate> delegate;
            std::shared_ptr<platform::CaptureStream> stream;
        };
        auto kept = std::make_shared<Kept>();
        kept->delegate = std::make_shared<MeteredDelegate>(std::move(delegate), meter_);
        kept->stream = inner_->makeStream(filter, configuration, kept->delegate);
        if (meter_->onReport) {
            meter_->onReport({.event = Event::captureBegins,
                .explainSilence = [captured = std::weak_ptr{kept->stream}](platform::CaptureStream::UnheardCompletion completion) {
                    if (const auto held = captured.lock())
                        held->explainSilence(std::move(completion));
                    else
                        completion(std::nullopt);
                }});
        }
        auto* stream = kept->stream.get();
        return {std::move(kept), stream};
    }

private:
    std::shared_ptr<platform::CaptureStreamFactory> inner_;
    std::shared_ptr<RecordingMeter> meter_;
};

}  // namespace

std::shared_ptr<platform::AssetWriterFactory> metered(
    std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<RecordingMeter> meter)
{
    return wrapped(
        std::move(writers), [meter = std::move(meter), fileCount = std::make_shared<std::atomic<std::uint64_t>>(0)](auto writer) {
            return std::make_shared<MeteredWriter>(std::move(writer), meter, ++*fileCount);
        });
}

std::shared_ptr<platform::CaptureStreamFactory> metered(
    std::shared_ptr<platform::CaptureStreamFactory> streams, std::shared_ptr<RecordingMeter> meter)
{
    return std::make_shared<MeteredStreams>(std::move(streams), std::move(meter));
}

std::shared_ptr<platform::CompressionSessionFactory> metered(
    std::shared_ptr<platform::CompressionSessionFactory> sessions, std::shared_ptr<RecordingMeter> meter)
{
    return std::make_shared<MeteredSessions>(std::move(sessions), std::move(meter));
}

}  // namespace velmora
