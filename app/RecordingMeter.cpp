#include "app/RecordingMeter.h"

#include <algorithm>
#include <string>
#include <utility>

namespace velmora {

namespace {

// All samples zero; blocks hold 32-bit floats, whose zero is all bits zero.
bool isSilent(const SampleBuffer& block)
{
    return std::all_of(block.data.bytes.begin(), block.data.bytes.end(), [](std::byte b) { return b == std::byte{0}; });
}

class MeteredInput final : public platform::AssetWriterInput {
public:
    MeteredInput(std::shared_ptr<platform::AssetWriterInput> inner, MediaType mediaType, std::shared_ptr<RecordingMeter> meter,
        std::weak_ptr<platform::AssetWriter> writer)
        : inner_(std::move(inner))
        , mediaType_(mediaType)
        , meter_(std::move(meter))
        , writer_(std::move(writer))
    {
    }

    void setExpectsMediaDataInRealTime(bool realTime) override { inner_->setExpectsMediaDataInRealTime(realTime); }

    [[nodiscard]] bool isReadyForMoreMediaData() const override
    {
        const bool ready = inner_->isReadyForMoreMediaData();
        if (!ready && mediaType_ == MediaType::video)
            ++meter_->droppedFrames;
        return ready;
    }

    bool append(const SampleBufferRef& sample) override
    {
        const bool appended = inner_->append(sample);
        if (!appended)
            reportFailure();
        if (mediaType_ == MediaType::video)
            countFrame(*sample, appended);
        else if (appended && !isSilent(*sample))
            meter_->lastSoundNanoseconds = sample->presentationTimeStamp.converted(MediaTime::nanosecondScale).value;
        return appended;
    }

    void markAsFinished() override { inner_->markAsFinished(); }

    [[nodiscard]] const std::shared_ptr<platform::AssetWriterInput>& inner() const { return inner_; }
    [[nodiscard]] MediaType mediaType() const { return mediaType_; }

private:
    void reportFailure()
    {
        const auto writer = writer_.lock();
        if (!writer || writer->status() != platform::AssetWriter::Status::failed)
            return;
        meter_->hasFailed = true;
        if (meter_->onWriterFailed)
            std::exchange(meter_->onWriterFailed, nullptr)();
    }

    void countFrame(const SampleBuffer& sample, bool appended)
    {
        if (!appended)
            ++meter_->droppedFrames;
        else if (++meter_->writtenFrames == 1 && meter_->onFirstSample)
            meter_->onFirstSample(sample.presentationTimeStamp);
    }

    std::shared_ptr<platform::AssetWriterInput> inner_;
    MediaType mediaType_;
    std::shared_ptr<RecordingMeter> meter_;
    std::weak_ptr<platform::AssetWriter> writer_;
};

class MeteredWriter final : public platform::AssetWriter {
public:
    MeteredWriter(std::shared_ptr<platform::AssetWriter> inner, std::shared_ptr<RecordingMeter> meter)
        : inner_(std::move(inner))
        , meter_(std::move(meter))
    {
    }

    std::shared_ptr<platform::AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) override
    {
        return std::make_shared<MeteredInput>(
            inner_->makeInput(mediaType, settings, std::move(sourceFormatHint)), mediaType, meter_, inner_);
    }

    [[nodiscard]] bool canAdd(const platform::AssetWriterInput& input) const override
    {
        return inner_->canAdd(*static_cast<const MeteredInput&>(input).inner());
    }

    void add(std::shared_ptr<platform::AssetWriterInput> input) override
    {
        const auto& added = static_cast<const MeteredInput&>(*input);
        if (added.mediaType() == MediaType::audio)
            meter_->writesSound = true;
        inner_->add(added.inner());
    }

    bool startWriting() override { return inner_->startWriting(); }
    void startSession(MediaTime time) override { inner_->startSession(time); }
    void finishWriting(UniqueFunction<void()> completion) override { inner_->finishWriting(std::move(completion)); }
    void cancelWriting() override { inner_->cancelWriting(); }
    [[nodiscard]] Status status() const override { return inner_->status(); }
    [[nodiscard]] std::optional<Error> error() const override { return inner_->error(); }

private:
    std::shared_ptr<platform::AssetWriter> inner_;
    std::shared_ptr<RecordingMeter> meter_;
};

class MeteredWriters final : public platform::AssetWriterFactory {
public:
    MeteredWriters(std::shared_ptr<platform::AssetWriterFactory> inner, std::shared_ptr<RecordingMeter> meter)
        : inner_(std::move(inner))
        , meter_(std::move(meter))
    {
    }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(
        const std::filesystem::path& outputURL, platform::AssetFileType fileType) override
    {
        auto writer = inner_->makeAssetWriter(outputURL, fileType);
        if (!writer)
            return writer;
        return std::make_shared<MeteredWriter>(std::move(*writer), meter_);
    }

private:
    std::shared_ptr<platform::AssetWriterFactory> inner_;
    std::shared_ptr<RecordingMeter> meter_;
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
        auto counted = [meter = meter_, output = std::move(output)](platform::CompressionStatus status, SampleBufferRef sample) mutable {
            if (!sample && meter->writtenFrames > 0)
                ++meter->droppedFrames;
            if (sample && meter->onFirstPicture) {
                std::exchange(meter->onFirstPicture, nullptr)();
                sample = nullptr;
            }
            output(status, std::move(sample));
        };
        auto session = inner_->makeSession(width, height, codec, std::move(counted));
        if (!session && meter_->onEncoderFailed) {
            const auto known = description(session.error());
            std::exchange(meter_->onEncoderFailed, nullptr)(
                known.empty() ? "The encoder cannot be started (Status: " + std::to_string(session.error()) + ")." : known);
        }
        return session;
    }

    [[nodiscard]] std::string description(platform::CompressionStatus status) const override { return inner_->description(status); }

private:
    std::shared_ptr<platform::CompressionSessionFactory> inner_;
    std::shared_ptr<RecordingMeter> meter_;
};

}  // namespace

std::shared_ptr<platform::AssetWriterFactory> metered(
    std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<RecordingMeter> meter)
{
    return std::make_shared<MeteredWriters>(std::move(writers), std::move(meter));
}

std::shared_ptr<platform::CompressionSessionFactory> metered(
    std::shared_ptr<platform::CompressionSessionFactory> sessions, std::shared_ptr<RecordingMeter> meter)
{
    return std::make_shared<MeteredSessions>(std::move(sessions), std::move(meter));
}

}  // namespace velmora
