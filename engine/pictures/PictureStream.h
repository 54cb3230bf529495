// The pictures of one stream: when one is taken, which part of it, and what becomes of it.
#pragma once

#include "base/MonotonicClock.h"
#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "engine/codecs/PictureScaler.h"
#include "engine/pictures/FramePacer.h"
#include "engine/pictures/PicturePool.h"
#include "engine/pictures/PictureSamples.h"
#include "engine/pictures/UnpaintedArea.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::engine {

/// BGRA pixels, top row first.
struct ContentPixels {
    const std::byte* pixels = nullptr;
    std::size_t bytesPerRow = 0;
};

/// What a stream's pictures show, a window for example. Asked on the stream's thread, within PictureStream::take. An error ends the stream.
class PictureContent {
public:
    virtual ~PictureContent() = default;

    /// Brings at least `picture.missed`, which may be empty, up to date in a picture of the content's own size, and draws on it whatever
    /// belongs over the content. All of the picture has to show one moment. False: it cannot be done now, and the stream asks again an
    /// interval later. What turns out to have been drawn before that moment may be reported to damage() meanwhile: it counts for this picture.
    virtual Result<bool> fetch(PooledPicture& picture) = 0;

    /// All of the content, one moment of it, with what belongs over it; valid until the next call here. None: it cannot be had now.
    virtual Result<std::optional<ContentPixels>> fetchAll() = 0;
};

/// Owns the pictures of one stream, all of one size: the configuration's, until updateSize(). A picture is taken where and when the
/// content changes, at most one an interval (FramePacer); the last one is repeated, same memory and nothing dirty, when half a second
/// passes without a new one. While consumers hold the whole pool none is taken. Content of another size is fitted in: its shape kept,
/// centred, black around it.
///
/// A back end reports what has changed, calls work() at deadline() and whenever something has changed, and hands out pixels when asked.
/// Used on one thread.
class PictureStream {
public:
    using Clock = std::function<MonotonicTime()>;

    static constexpr std::chrono::milliseconds repeatInterval{500};
    static constexpr std::chrono::milliseconds longestFirstPaint{500};
    static constexpr std::chrono::seconds settlingTime{1};  ///< a size that stays for so long is one that somebody wanted
    static constexpr MonotonicTime never = MonotonicTime::max();

    /// The greatest width and height of a stream's pictures; the least is 1. Window systems have 16-bit sizes and signed coordinates.
    static constexpr std::int64_t largestSide = 32767;

    [[nodiscard]] static bool isPossible(std::int64_t width, std::int64_t height);
    [[nodiscard]] static bool isPossible(const platform::StreamConfiguration& configuration);

    /// How large the memory of the pictures must be, for a size that is possible.
    [[nodiscard]] static std::size_t requiredBytes(std::int32_t width, std::int32_t height);
    [[nodiscard]] static std::size_t requiredBytes(const platform::StreamConfiguration& configuration);

    /// `memory` is zeroed and of at least the required size. `content` outlives the stream. `makeScaler` is called with the first picture that
    /// needs it. `deliver` gets every picture. There is nothing to take before contentReplaced().
    PictureStream(const platform::StreamConfiguration& configuration, std::shared_ptr<MemoryBlock> memory, PictureContent& content,
        PictureScalerFactory makeScaler, UniqueFunction<void(SampleBufferRef)> deliver, Clock now = MonotonicClock::now);

    /// The content has this size from now on, in pixels and at least 1 x 1, and nothing of it is known.
    void contentReplaced(std::int32_t width, std::int32_t height);

    /// A part of the content has been drawn; in the content's coordinates.
    void damage(PixelRect part);

    /// The first picture waits until all of the content has been drawn, half a second at most: what is there now is not the content's own.
    void awaitFirstPaint();

    /// Within work() and repeat(), `settled` is told the content's size when it has stayed for a second and is not that of the pictures;
    /// once, and again when it has changed, or a second after updateSize() has failed.
    void observeSize(UniqueFunction<void(std::int32_t width, std::int32_t height)> settled) { settled_ = std::move(settled); }

    /// The pictures have this size, which is the content's, from now on, and the first is delivered before this returns; what is dirty
    /// counts anew. `memory` is as at construction, or why there is none; width(), height() and bytesPerRow() are the new ones when that
    /// picture is fetched. An error: there is no memory, or the content has another size by now or cannot be had, and all is as before.
    /// Pictures that are still held keep the memory they are in.
    Result<void> updateSize(std::int32_t width, std::int32_t height, Result<std::shared_ptr<MemoryBlock>> memory);

    /// Whether what is drawn over the content, a pointer for example, has moved or looks different since the last picture.
    void setOverlayIsOutdated(bool isOutdated) { overlayIsOutdated_ = isOutdated; }

    /// From within fetch(): what is drawn over the content differs in this part from the last picture. In the picture's coordinates.
    void overlayChanged(PixelRect part) { changed_.add(part.intersected(whole_)); }

    /// Somebody waits for a picture. If none is taken within an interval of the last one, that is repeated then: at once where the window stands
    /// still. Before the first picture there is nothing to repeat, and nothing to wait for but that.
    void wantPicture() { isPictureWanted_ = true; }

    /// Takes a picture if one is due, repeats the last if a repeat is. The picture's time is `contentTime` if it can be: if it is missing,
    /// stands still, lies ahead or half a second back, the time is the clock's. An error ends the stream.
    Result<void> work(std::optional<MonotonicTime> contentTime = std::nullopt);

    /// The same, but takes none: for when the content cannot be read.
    void repeat();

    /// When work() has something to do if nothing is reported before then; `never` before the first change.
    [[nodiscard]] MonotonicTime deadline() const;

    [[nodiscard]] bool isScaled() const { return contentWidth_ != whole_.width || contentHeight_ != whole_.height; }
    [[nodiscard]] std::int32_t width() const { return whole_.width; }
    [[nodiscard]] std::int32_t height() const { return whole_.height; }
    [[nodiscard]] std::size_t bytesPerRow() const { return pool_.bytesPerRow(); }
    [[nodiscard]] std::chrono::nanoseconds interval() const { return samples_.interval(); }

private:
    [[nodiscard]] bool isOutdated() const { return !changed_.isEmpty() || overlayIsOutdated_; }
    [[nodiscard]] MonotonicTime due() const;
    [[nodiscard]] MonotonicTime repeatDue() const;
    void awaitSettling() { settleDue_ = isScaled() ? now_() + settlingTime : never; }
    Result<void> take(std::optional<MonotonicTime> contentTime);
    Result<bool> fit(PooledPicture& picture);
    void deliver(PooledPicture& picture, MonotonicTime time, std::vector<PixelRect> dirty);

    const platform::StreamConfiguration configuration_;
    PixelRect whole_;
    PictureContent& content_;
    PictureScalerFactory makeScaler_;
    UniqueFunction<void(SampleBufferRef)> deliver_;
    UniqueFunction<void(std::int32_t, std::int32_t)> settled_;
    const Clock now_;
    PictureSamples samples_;
    PicturePool pool_;
    FramePacer pacer_;
    std::unique_ptr<PictureScaler> scaler_;

    std::int32_t contentWidth_ = 0;
    std::int32_t contentHeight_ = 0;
    DamageRegion changed_;  // since the last delivered picture, in that picture's coordinates
    bool overlayIsOutdated_ = false;
    bool isPictureWanted_ = false;  // sooner than the repeat
    UnpaintedArea unpainted_;
    MonotonicTime paintDue_;  // of the first picture
    MonotonicTime retryDue_;  // no picture was free, or none could be fetched
    MonotonicTime settleDue_ = never;
    PooledPicture* last_ = nullptr;
    MonotonicTime lastTime_;
};

}  // namespace velmora::engine
