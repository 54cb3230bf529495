// Seam: a media file being written.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/SampleBuffer.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

namespace velmora::platform {

enum class AssetFileType { mpeg4 };

/// What raw sound is encoded to.
struct AudioOutputSettings {
    FourCharacterCode format{"aac "};
    std::int64_t channelCount = 2;
    std::int64_t sampleRate = 48000;
    std::int64_t bitRate = 192000;  ///< bits per second

    friend bool operator==(const AudioOutputSettings&, const AudioOutputSettings&) = default;
};

/// One track of the file. Used on one queue, with its writer.
class AssetWriterInput {
public:
    virtual ~AssetWriterInput() = default;

    virtual void setExpectsMediaDataInRealTime(bool realTime) = 0;
    [[nodiscard]] virtual bool isReadyForMoreMediaData() const = 0;

    /// False when the sample could not be taken; the writer's error says why.
    virtual bool append(const SampleBufferRef& sample) = 0;
    virtual void markAsFinished() = 0;
};

/// Writes one file. Used by one thread at a time: whoever made it adds the sound, all else is done on one queue. No call waits for media to
/// reach the disk; cancelWriting() waits for the file to be moved or removed.
///
/// unknown -> startWriting -> writing -> finishWriting -> completed or failed; or cancelled. A writer that is finished without having
/// been started removes its file and fails without an error. A writer that fails in mid-file (a full disk) leaves what was written
/// as a playable file.
class AssetWriter {
public:
    enum class Status { unknown, writing, completed, failed, cancelled };

    /// Without finish or cancel the file stays as a crash would leave it: playable, unfinished. After a cancel this may wait for the disk.
    virtual ~AssetWriter() = default;

    /// Pass-through when `settings` is none: samples with the format of `sourceFormatHint` are written as they are.
    virtual std::shared_ptr<AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) = 0;

    [[nodiscard]] virtual bool canAdd(const AssetWriterInput& input) const = 0;
    virtual void add(std::shared_ptr<AssetWriterInput> input) = 0;

    virtual bool startWriting() = 0;

    /// `time` on the samples' time line becomes the beginning of the file.
    virtual void startSession(MediaTime time) = 0;

    /// Leaves out what is stamped `time` or later, until a resume; nothing while it is paused. Inputs go on taking what is left out. Any thread, at
    /// any time; returns at once.
    virtual void pause(MediaTime time) = 0;

    /// Goes on with the first picture stamped `time` or later that can be decoded by itself, which is asked for; the file's time line closes up.
    /// Nothing while it is not paused. Threads as for pause().
    virtual void resume(MediaTime time) = 0;

    /// `completion` is called exactly once, on any thread, when the file is whole or has failed.
    virtual void finishWriting(UniqueFunction<void()> completion) = 0;

    /// Abandons the file: it is gone from its path at once. What was written may be found in the desktop's trash.
    virtual void cancelWriting() = 0;

    /// Safe on any thread once a completion has been called; else on the writer's queue.
    [[nodiscard]] virtual Status status() const = 0;
    [[nodiscard]] virtual std::optional<Error> error() const = 0;

    /// Bytes of the file so far, without what is still on its way to the disk; 0 before there are samples on it. Threads as for the samples;
    /// takes no lock.
    [[nodiscard]] virtual std::uint64_t fileSize() const = 0;

    /// Where the whole file is if the writer failed because the file was moved meanwhile; none otherwise. Threads as for status().
    [[nodiscard]] virtual std::optional<std::filesystem::path> placeOfMovedFile() const = 0;
};

/// Writers that have the sound of the next recording made ready before it begins, which loads libraries and opens a codec.
class SoundPreparation {
public:
    virtual ~SoundPreparation() = default;

    /// Any thread; returns at once. Until it is done, and for other settings, making a sound input waits for what it needs.
    virtual void prepareSound(const AudioOutputSettings& settings) = 0;
};

class AssetWriterFactory {
public:
    virtual ~AssetWriterFactory() = default;

    /// Null where there is nothing to make ready. As long as the factory.
    [[nodiscard]] virtual SoundPreparation* soundPreparation() { return nullptr; }

    /// Creates the file; fails with the system's error when that is not possible or when something has that name.
    virtual Result<std::shared_ptr<AssetWriter>> makeAssetWriter(const std::filesystem::path& outputURL, AssetFileType fileType) = 0;
};

}  // namespace velmora::platform
