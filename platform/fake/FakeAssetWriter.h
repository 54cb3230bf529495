// An asset writer that keeps what it is given, and fails where a test says so.
#pragma once

#include "base/Mutex.h"
#include "platform/AssetWriter.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::fake {

class FakeAssetWriter;

class FakeAssetWriterInput final : public platform::AssetWriterInput {
public:
    FakeAssetWriterInput(FakeAssetWriter& owner, MediaType type, std::optional<platform::AudioOutputSettings> s, FormatDescriptionRef hint)
        : mediaType(type)
        , settings(s)
        , sourceFormatHint(std::move(hint))
        , writer(owner)
    {
    }

    void setExpectsMediaDataInRealTime(bool value) override { realTime = value; }
    [[nodiscard]] bool isReadyForMoreMediaData() const override { return readiness ? readiness() : ready; }
    bool append(const SampleBufferRef& sample) override;
    void markAsFinished() override { finished = true; }

    const MediaType mediaType;
    const std::optional<platform::AudioOutputSettings> settings;
    const FormatDescriptionRef sourceFormatHint;
    FakeAssetWriter& writer;
    std::optional<bool> realTime;  ///< none until it is set
    bool ready = true;
    bool finished = false;
    bool appendFails = false;
    std::function<bool()> readiness;  ///< asked instead of `ready`
    std::function<bool(const SampleBuffer&)> refuses;  ///< asked before each sample
    std::vector<SampleBufferRef> samples;
};

/// To be looked at only after the recording's queue has been drained.
class FakeAssetWriter final : public platform::AssetWriter {
public:
    explicit FakeAssetWriter(std::filesystem::path url) : outputURL(std::move(url)) { }

    std::shared_ptr<platform::AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) override
    {
        return std::make_shared<FakeAssetWriterInput>(*this, mediaType, settings, std::move(sourceFormatHint));
    }

    [[nodiscard]] bool canAdd(const platform::AssetWriterInput& input) const override
    {
        return std::find(refused.begin(), refused.end(), static_cast<const FakeAssetWriterInput&>(input).mediaType) == refused.end();
    }

    void add(std::shared_ptr<platform::AssetWriterInput> input) override
    {
        inputs.push_back(std::static_pointer_cast<FakeAssetWriterInput>(std::move(input)));
        if (onAdd)
            onAdd(*inputs.back());
    }

    bool startWriting() override
    {
        ++startCount;
        if (startFails)
            return false;
        currentStatus = Status::writing;
        return true;
    }

    void startSession(MediaTime time) override { sessionTime = time; }
    void pause(MediaTime time) override { pauses.push_back(time); }
    void resume(MediaTime time) override { resumes.push_back(time); }

    void finishWriting(UniqueFunction<void()> completion) override
    {
        ++finishCount;
        if (!holdsFinish)
            return finish(std::move(completion));
        MutexLock lock(mutex_);
        heldFinish_ = std::move(completion);
        finishBegan_.notifyAll();
    }

    /// Returns once the writer has been asked to finish.
    void awaitFinish()
    {
        MutexLock lock(mutex_);
        while (!heldFinish_)
            finishBegan_.wait(mutex_);
    }

    /// The file is on the disk at last. Waits until that has been asked for.
    void answerFinish()
    {
        awaitFinish();
        UniqueFunction<void()> completion;
        {
            MutexLock lock(mutex_);
            completion = std::exchange(heldFinish_, nullptr);
        }
        finish(std::move(completion));
    }

    /// Fails from now on, as on a full disk.
    void fail(Error error)
    {
        currentStatus = finishStatus = Status::failed;
        currentError = std::move(error);
    }

    void cancelWriting() override
    {
        ++cancelCount;
        fileWasThereAtCancel = std::filesystem::exists(outputURL);
        currentStatus = Status::cancelled;
    }

    [[nodiscard]] Status status() const override { return currentStatus; }
    [[nodiscard]] std::optional<Error> error() const override { return currentError; }
    [[nodiscard]] std::uint64_t fileSize() const override { return size; }
    [[nodiscard]] std::optional<std::filesystem::path> placeOfMovedFile() const override { return movedTo; }

    [[nodiscard]] std::shared_ptr<FakeAssetWriterInput> input(MediaType mediaType) const
    {
        for (const auto& candidate : inputs) {
            if (candidate->mediaType == mediaType)
                return candidate;
        }
        return nullptr;
    }

    const std::filesystem::path outputURL;
    std::vector<std::shared_ptr<FakeAssetWriterInput>> inputs;
    std::vector<SampleBufferRef> samples;  ///< of all inputs, in the order in which they came
    std::vector<MediaType> refused;
    std::function<void(FakeAssetWriterInput&)> onAdd;
    bool startFails = false;
    bool removesFileAtFinish = false;
    bool holdsFinish = false;  ///< a slow disk: the file is complete when the test says so
    bool fileWasThereAtCancel = false;
    Status finishStatus = Status::completed;
    Status currentStatus = Status::unknown;
    std::optional<Error> currentError;
    std::optional<std::filesystem::path> movedTo;
    MediaTime sessionTime;
    std::vector<MediaTime> pauses;
    std::vector<MediaTime> resumes;
    std::uint64_t size = 0;
    int startCount = 0;
    int finishCount = 0;
    std::atomic<int> cancelCount = 0;

private:
    void finish(UniqueFunction<void()> completion)
    {
        currentStatus = finishStatus;
        if (removesFileAtFinish)
            std::filesystem::remove(outputURL);
        completion();
    }

    Mutex mutex_;
    ConditionVariable finishBegan_;
    UniqueFunction<void()> heldFinish_ GUARDED_BY(mutex_);
};

inline bool FakeAssetWriterInput::append(const SampleBufferRef& sample)
{
    if (appendFails || (refuses && refuses(*sample)))
        return false;
    samples.push_back(sample);
    writer.samples.push_back(sample);
    return true;
}

/// Creates a real, empty file for each writer, so that the features' own handling of files is seen.
class FakeAssetWriters final : public platform::AssetWriterFactory, public platform::SoundPreparation {
public:
    [[nodiscard]] platform::SoundPreparation* soundPreparation() override { return this; }
    void prepareSound(const platform::AudioOutputSettings& settings) override { preparedSounds.push_back(settings); }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(
        const std::filesystem::path& outputURL, platform::AssetFileType type) override
    {
        fileType = type;
        foundFileAtCreation = std::filesystem::exists(outputURL);
        if (createError)
            return fail(*createError);
        std::ofstream{outputURL} << "fake";
        auto writer = std::make_shared<FakeAssetWriter>(outputURL);
        writer->refused = refused;
        writers.push_back(writer);
        if (onCreate)
            onCreate(*writer);
        return std::shared_ptr<platform::AssetWriter>{writer};
    }

    std::optional<Error> createError;
    std::vector<MediaType> refused;
    std::function<void(FakeAssetWriter&)> onCreate;
    std::optional<platform::AssetFileType> fileType;
    std::vector<platform::AudioOutputSettings> preparedSounds;
    bool foundFileAtCreation = false;
    std::vector<std::shared_ptr<FakeAssetWriter>> writers;
};

}  // namespace velmora::fake
