// The work on a copy of a clip, as far as it is the same for every format.
#pragma once

#include "engine/sharing/ClipSource.h"
#include "engine/sharing/EncodedSound.h"
#include "media/mp4/File.h"
#include "platform/ClipTranscoder.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velmora::engine {

/// What it works with beside codecs, on one thread.
struct CopyTools {
    /// The file that becomes the copy, empty; asked for once, when all of it is known. Null: cancelled.
    std::function<Result<mp4::File*>()> makeTarget;
    /// An empty file that nobody sees and that goes with its object.
    std::function<Result<std::unique_ptr<mp4::File>>()> makeScratch;
    /// Called with rising values from 0 to 1; false cancels.
    std::function<bool(double)> progress;
};

/// Goes through the steps that a format fills in: the clip's sound first, then a first impression of its pictures, rounds over the whole of it
/// until one fits, and the best of them as the copy. Used on one thread, once.
class CopyWork {
public:
    CopyWork(const CopyWork&) = delete;
    CopyWork& operator=(const CopyWork&) = delete;
    virtual ~CopyWork() = default;

    /// None: cancelled.
    Result<std::optional<platform::TranscodingReport>> make();

protected:
    /// All of them outlive the work.
    CopyWork(mp4::File& file, const platform::TranscodingSettings& settings, ClipCodecs& codecs, const CopyTools& tools);

    // The steps, in their order. After one in which the work was cancelled there is none.

    /// The clip is known. True: it is given away as it is, without another step.
    virtual Result<bool> prepare() = 0;
    [[nodiscard]] virtual bool wantsSound() const = 0;
    /// From parts of the clip, where there is a limit; the sound is encoded.
    virtual Result<void> estimate() = 0;
    /// Keeps the best that fits, or fails.
    virtual Result<void> encodeRounds() = 0;
    /// Writes the best; false: `progress` returned false.
    virtual Result<bool> writeBest(mp4::File& target, const std::function<bool(double)>& progress) = 0;
    /// Of the best; its size and sound are filled in.
    virtual void describeBest(platform::TranscodingReport& report) const = 0;

    [[nodiscard]] const ClipSource& source() const { return *source_; }
    [[nodiscard]] const platform::TranscodingSettings& settings() const { return settings_; }
    [[nodiscard]] ClipCodecs& codecs() const { return codecs_; }
    [[nodiscard]] double limit() const { return limit_; }
    [[nodiscard]] bool isLimited() const { return settings_.limit > 0; }
    [[nodiscard]] bool isCancelled() const { return isCancelled_; }
    /// Null without.
    [[nodiscard]] const EncodedSound* sound() const { return sound_.get(); }
    [[nodiscard]] double soundBytes() const { return sound_ ? static_cast<double>(sound_->byteCount) : 0; }
    [[nodiscard]] Result<std::unique_ptr<mp4::File>> makeScratch() const { return tools_.makeScratch(); }

    /// Says that the work has come no further, from 0 to 1; false: it is cancelled.
    bool goesOn() { return report(done_); }

    /// What a part of the clip is encoded from: samples to begin with, and from where to where in ticks of pictureTimescale.
    using EncodePart = std::function<Result<void>(CodedSamples& samples, std::int64_t begin, std::int64_t end)>;

    /// For `count` parts of the clip, each so long, that lie evenly spread in it; none is left out where the work is not cancelled.
    Result<void> encodeParts(int count, std::int64_t length, const EncodePart& encode);

    /// How far a round has come, from 0 to 1; false: the work is cancelled. To be made where the round begins.
    [[nodiscard]] std::function<bool(double)> roundProgress();

private:
    using Made = Result<std::optional<platform::TranscodingReport>>;

    bool report(double done);
    Result<void> encodeTheSound();
    Made write(const std::function<Result<bool>(mp4::File&)>& fill, platform::TranscodingReport report);
    Made writeAsItIs();

    mp4::File& file_;
    const platform::TranscodingSettings settings_;
    ClipCodecs& codecs_;
    const CopyTools& tools_;
    const double limit_;
    std::optional<ClipSource> source_;
    std::unique_ptr<EncodedSound> sound_;
    double done_ = 0;
    bool isCancelled_ = false;
};

/// How much work pictures get of so many pixels in all. The user waits for it: a long clip in large pictures gets less for each.
[[nodiscard]] ClipEffort effortFor(double pixels, double some, double aLot);

}  // namespace velmora::engine
