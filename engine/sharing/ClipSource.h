// A clip as it is encoded anew: what it shows and plays, and its samples.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "media/mp4/MovieReader.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace velmora::engine {

/// Read by this system's own reader and not by libavformat's: it knows an edit list to the sample of sound (libavformat ends an edit with a
/// whole packet), reads what of a recording is whole, and shows what the preview shows. Used on one thread; `file` outlives it.
class ClipSource {
public:
    struct Pictures {
        VideoFormat format;
        /// As shown before `matrix` turns it, with square pixels.
        std::int32_t width = 0;
        std::int32_t height = 0;
        /// Turns a picture of the size that the track states, which need not be that above.
        std::array<std::int32_t, 9> matrix{};
        double matrixWidth = 0;
        double matrixHeight = 0;
        /// When each is shown, ascending from 0 on, in ticks of pictureTimescale.
        std::vector<std::int64_t> times;
    };

    /// Reads the index. Fails for what is no movie, is damaged, has no pictures, or puts parts together in a way that this system does not
    /// follow.
    static Result<ClipSource> open(mp4::File& file);

    [[nodiscard]] const Pictures& pictures() const { return pictures_; }
    [[nodiscard]] const AudioFormat* sound() const { return soundTrack_ ? &soundFormat_ : nullptr; }

    /// Bytes a second of the sound, on average.
    [[nodiscard]] double soundRate() const;

    /// Of what is shown and played, in ticks of pictureTimescale and in seconds; above 0.
    [[nodiscard]] std::int64_t length() const { return length_; }
    [[nodiscard]] double seconds() const { return static_cast<double>(length_) / pictureTimescale; }

    /// Whether the file as it is can be given away: not a recording that has yet to be made whole.
    [[nodiscard]] bool isWhole() const { return isWhole_; }
    [[nodiscard]] std::uint64_t fileSize() const { return movie_->fileSize; }

    [[nodiscard]] std::unique_ptr<CodedSamples> pictureSamples() const;
    [[nodiscard]] std::unique_ptr<CodedSamples> soundSamples() const;

    /// The part of the sound that is played, in its track's time scale.
    [[nodiscard]] std::int64_t soundBegin() const { return soundShift_.begin; }
    [[nodiscard]] std::int64_t soundEnd() const { return soundShift_.end; }

private:
    /// How a track's own times become those of the clip; all in its time scale.
    struct Shift {
        std::int64_t offset = 0;  ///< added to a presentation time
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    ClipSource(mp4::File& file, mp4::MovieFile movie) : file_(&file), movie_(std::make_unique<mp4::MovieFile>(std::move(movie))) { }

    Result<void> describe();
    [[nodiscard]] Result<Shift> shiftOf(const mp4::Track& track) const;

    mp4::File* file_;
    std::unique_ptr<mp4::MovieFile> movie_;
    const mp4::Track* pictureTrack_ = nullptr;
    const mp4::Track* soundTrack_ = nullptr;
    Shift pictureShift_;
    Shift soundShift_;
    Pictures pictures_;
    AudioFormat soundFormat_;
    std::int64_t length_ = 0;
    bool isWhole_ = true;
};

}  // namespace velmora::engine
