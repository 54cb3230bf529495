// What the features keep to themselves while they record, told to people.
#pragma once

#include "app/RecordingMeter.h"
#include "base/SerialQueue.h"
#include "platform/PlatformServices.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

/// Of the recording in progress.
struct RecordingProgress {
    std::chrono::nanoseconds elapsed{0};  ///< since its file was made, without its pauses
    std::uint64_t bytes = 0;  ///< of it that are on the disk
    bool isPaused = false;

    friend bool operator==(const RecordingProgress&, const RecordingProgress&) = default;
};

/// What a recording lost, where that is worth saying.
struct LostPictures {
    std::uint64_t lost = 0;
    std::uint64_t ofAll = 0;
    std::string text;  ///< a sentence for people

    friend bool operator==(const LostPictures&, const LostPictures&) = default;
};

/// Hears from the services that a capture uses what goes wrong in them, and knows when going on is of no use: where no encoder can be made, the
/// running one fails or gives way to one whose pictures do not belong in the same file, or nothing more can be written. Needs neither a
/// tray nor a coordinator. Main thread only, except where the wrapped services call.
class RecordingObserver final : public std::enable_shared_from_this<RecordingObserver> {
    struct Private { };

public:
    /// Takes over the meter's `onReport`.
    static std::shared_ptr<RecordingObserver> create(
        std::shared_ptr<Executor> mainExecutor, std::shared_ptr<RecordingMeter> meter = std::make_shared<RecordingMeter>());

    explicit RecordingObserver(Private) { }

    /// `services` with all that a capture uses observed. To be called before the first capture.
    [[nodiscard]] platform::PlatformServices observed(platform::PlatformServices services) const;

    /// Nothing more can be written to the file being recorded, if any; more than once for one recording where there is more than one
    /// reason. What was written is to be saved.
    std::function<void(const std::string& reason)> onNothingMoreCanBeWritten;

    /// A file was moved while it was being recorded, which is a failure to whoever saves it: this is where the whole file is.
    std::function<void(const std::filesystem::path& place)> onFileWasMoved;

    /// The notice has changed.
    std::function<void()> onChange;

    /// A file has begun or ended: there is progress, or none any more. Or it has been paused, or goes on.
    std::function<void()> onFileChange;

    /// The recording in progress has been paused, or goes on. Not called at its end.
    std::function<void(bool isPaused)> onPauseChange;

    enum class PauseOutcome { paused, resumed, wasPaused, wasNotPaused };

    /// Has the recording in progress leave out what comes from now on, or go on with what comes; none: the other of both. Fails where nothing is
    /// being recorded.
    Result<PauseOutcome> setPaused(std::optional<bool> isPaused, MonotonicTime now = MonotonicClock::now());

    /// Since when there has been nothing but silence in the recording in progress. None while nothing is recorded, it is paused, or its file has
    /// no sound at all.
    [[nodiscard]] std::optional<MonotonicTime> silentSince() const;

    /// There was more than silence in a recording of the capture that runs.
    [[nodiscard]] bool wasHeard() const;

    /// Which of the captures runs, or was the last: 1 is the first.
    [[nodiscard]] std::uint64_t capture() const { return capture_; }

    /// Why nothing is heard of what is captured, as CaptureStream::explainSilence says it. `completion` is called once, on the main thread.
    void explainSilence(platform::CaptureStream::UnheardCompletion completion) const;

    /// What is wrong with the capture or was with its last recording, in whole sentences; empty when nothing is.
    [[nodiscard]] std::string notice() const;

    /// How far the recording in progress is at `now`; none when nothing is being recorded, nor where nothing more can be written, nor while a
    /// file is being finished. Reads what was counted and waits for nothing.
    [[nodiscard]] std::optional<RecordingProgress> progress(MonotonicTime now = MonotonicClock::now()) const;

    /// What the recording in progress has lost, or the last one if there is none: where it is more than two of a hundred pictures.
    [[nodiscard]] std::optional<LostPictures> lostPictures() const;

    /// A message about a recording that could not be saved, followed by what is known of the reason, where it does not say so itself. Any
    /// other message as it is.
    [[nodiscard]] std::string explained(const std::string& message) const;

private:
    void handle(const RecordingReport& report);
    void endEarly(const std::string& reason);

    std::shared_ptr<Executor> mainExecutor_;
    std::shared_ptr<RecordingMeter> meter_;
    std::uint64_t capture_ = 0;
    MonotonicTime captureBegan_{};
    std::function<void(platform::CaptureStream::UnheardCompletion)> explainSilence_;
    std::uint64_t file_ = 0;  ///< the one that began last
    bool fileIsOpen_ = false;
    MonotonicTime fileBegan_{};
    std::shared_ptr<const std::atomic<std::uint64_t>> fileSize_;
    std::shared_ptr<const FileFrames> fileFrames_;
    std::function<void(bool isPaused, MonotonicTime moment)> setFilePaused_;
    std::optional<MonotonicTime> pausedSince_;
    std::chrono::nanoseconds paused_{0};  ///< in the pauses before
    MonotonicTime resumed_{};
    std::string encoderProblem_;
    std::string soundProblem_;
    std::string earlyEnd_;  ///< why the recording that began last ended before it was asked to
    std::string explanation_;  ///< why it could not be saved
};

}  // namespace velmora
