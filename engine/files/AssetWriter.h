// The asset writer, over this system's own MP4 writer.
#pragma once

#include "engine/codecs/AudioEncoder.h"
#include "engine/codecs/KeyFrameRequests.h"
#include "engine/codecs/ReadyAudioEncoder.h"
#include "engine/files/Trash.h"
#include "media/mp4/RecordingWriter.h"
#include "platform/AssetWriter.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>

namespace velmora::engine {

/// What becomes of a recording that is cancelled.
struct CancelledRecordings {
    std::shared_ptr<const Trash> trash;  ///< null: they are deleted
    std::function<void(const TrashedFile&)> kept = {};  ///< called for each that is whole there, on the thread that writes the file
    std::chrono::milliseconds patience{5000};  ///< how long the end of a writer waits for the disk, at most
};

/// One video input that passes H.264 samples through, one audio input that encodes interleaved float sound to AAC.
///
/// Pictures are placed by their time stamps, relative to the session's start; one that lies before it, or not after its predecessor,
/// follows its predecessor by one tick. Sound is placed by the time stamp of its first block, and from then on by counting: a gap of
/// more than 5 ms becomes silence, an overlap of more than 5 ms is dropped, what lies before the session's start is cut off to the
/// frame. A gap of more than ten minutes is an error of the time stamps, and the block is refused.
///
/// After a pause pictures and sound go on where they were left (RecordingPauses): sound is cut to the frame, and its two sides are blended over
/// 5 ms (SoundSeam). What was recorded before is on its way to the disk as soon as a picture is left out.
///
/// A recording that is cancelled leaves its path for the trash in one step, and is finished there on the thread that writes the file. One
/// of under a second, or one that cannot be moved, is deleted, but never one that somebody has moved: that is made whole where it is. The
/// writer's end waits until that is done, but not for ever: a recording that the program leaves unfinished plays as it is.
///
/// After the file has failed (a full disk) one more sample is asked for and refused, so that the caller hears of it once; from then
/// on no input is ready.
class AssetWriter final : public platform::AssetWriter {
public:
    /// Writes into `file`, just created at `path`. `encoders` is called by makeInput, on its caller's thread and never later, so that
    /// no sample waits for a codec to be loaded; an input whose encoder could not be made cannot be added.
    static Result<std::shared_ptr<AssetWriter>> create(
        std::shared_ptr<mp4::File> file, AudioEncoderFactory encoders, std::filesystem::path path = {}, CancelledRecordings cancelled = {});

    ~AssetWriter() override;
    AssetWriter(const AssetWriter&) = delete;
    AssetWriter& operator=(const AssetWriter&) = delete;

    /// Asks for the key frame that the file begins with, until the session starts or the writer ends; and at each resume for one to go on with.
    void askForKeyFrame(const KeyFrameRequests& requests);

    std::shared_ptr<platform::AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) override;
    [[nodiscard]] bool canAdd(const platform::AssetWriterInput& input) const override;
    void add(std::shared_ptr<platform::AssetWriterInput> input) override;
    bool startWriting() override;
    void startSession(MediaTime time) override;
    void pause(MediaTime time) override;
    void resume(MediaTime time) override;
    void finishWriting(UniqueFunction<void()> completion) override;
    void cancelWriting() override;
    [[nodiscard]] Status status() const override;
    [[nodiscard]] std::optional<Error> error() const override;
    [[nodiscard]] std::uint64_t fileSize() const override;
    [[nodiscard]] std::optional<std::filesystem::path> placeOfMovedFile() const override;

private:
    struct Session;
    class Input;
    class VideoInput;
    class AudioInput;

    AssetWriter(std::shared_ptr<Session> session, std::filesystem::path path, CancelledRecordings cancelled);

    bool moveToTrash();
    void endRecording(mp4::RecordingWriter::Completion completion);

    const std::filesystem::path path_;
    const CancelledRecordings cancelled_;
    std::shared_ptr<Session> session_;
    std::future<void> trashed_;  ///< valid once the recording is on its way to the trash
    std::shared_ptr<VideoInput> video_;
    std::shared_ptr<AudioInput> audio_;
};

class AssetWriterFactory final : public platform::AssetWriterFactory, public platform::SoundPreparation {
public:
    /// Each writer asks for a key frame as soon as its file is there.
    explicit AssetWriterFactory(AudioEncoderFactory encoders, CancelledRecordings cancelled = {}, KeyFrameRequests keyFrameRequests = {})
        : encoders_(std::make_shared<ReadyAudioEncoder>(std::move(encoders)))
        , cancelled_(std::move(cancelled))
        , keyFrameRequests_(std::move(keyFrameRequests))
    {
    }

    [[nodiscard]] platform::SoundPreparation* soundPreparation() override { return this; }
    void prepareSound(const platform::AudioOutputSettings& settings) override { encoders_->prepare(settings); }
    void waitUntilPrepared() const { encoders_->drain(); }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(
        const std::filesystem::path& outputURL, platform::AssetFileType fileType) override;

private:
    const std::shared_ptr<ReadyAudioEncoder> encoders_;
    const CancelledRecordings cancelled_;
    KeyFrameRequests keyFrameRequests_;
};

}  // namespace velmora::engine
