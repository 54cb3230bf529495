// What the tests of picture sources share: a recorder that looks at what they deliver.
#pragma once

#include "base/MonotonicClock.h"
#include "base/Mutex.h"
#include "engine/codecs/PictureScaler.h"
#include "engine/pictures/VideoSource.h"
#include "platform/StreamConfiguration.h"
#include "tests/support/FrameNumber.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora::engine {

/// However slow the machine is: only a failing test waits that long.
inline constexpr std::chrono::seconds patience{40};

struct SeenPicture {
    MonotonicTime time;
    PictureChange change;
    const std::byte* address = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    test::FrameNumberReading reading;
};

/// Records what a source delivers. For every picture it checks that the dirty rectangles tell the truth: a copy that is brought up to
/// date with them alone must equal the picture. A picture of another size begins the count anew.
class Recorder {
public:
    Recorder() = default;

    [[nodiscard]] VideoSource::Callbacks callbacks();

    /// Where the window lies in the pictures, for reading frame numbers; the whole picture if not set.
    void setPart(test::PicturePart part);

    /// Keeps the samples alive from now on, or lets them all go.
    void hold(bool isHolding);

    [[nodiscard]] std::vector<SeenPicture> pictures() const;
    [[nodiscard]] std::vector<Error> stops() const;

    /// The sizes that the content has settled at.
    [[nodiscard]] std::vector<std::pair<std::int32_t, std::int32_t>> settled() const;
    [[nodiscard]] SampleBufferRef lastSample() const;

    /// Colours (without alpha) of the last picture.
    [[nodiscard]] std::vector<std::uint32_t> lastColours() const;

    /// What was found wrong with the dirty rectangles, counts or formats. Empty when all is well.
    [[nodiscard]] std::string complaints() const;

    /// Waits until the condition holds for what has been recorded; a test failure when it never does.
    void waitFor(const std::string& what, const std::function<bool()>& condition) const;
    void waitForPictures(std::size_t count) const;
    void waitForColours(const std::string& what, const std::vector<std::uint32_t>& colours) const;
    void waitForStop() const;

private:
    void record(const SampleBufferRef& sample);
    void check(const SampleBuffer& sample) REQUIRES(mutex_);

    mutable Mutex mutex_;
    mutable ConditionVariable changed_;
    std::vector<SeenPicture> pictures_ GUARDED_BY(mutex_);
    std::vector<Error> stops_ GUARDED_BY(mutex_);
    std::vector<std::pair<std::int32_t, std::int32_t>> settled_ GUARDED_BY(mutex_);
    std::vector<std::uint32_t> accumulated_ GUARDED_BY(mutex_);
    std::vector<SampleBufferRef> held_ GUARDED_BY(mutex_);
    bool isHolding_ GUARDED_BY(mutex_) = false;
    std::optional<test::PicturePart> part_ GUARDED_BY(mutex_);
    std::string complaints_ GUARDED_BY(mutex_);
};

/// Takes the nearest pixel: good enough to see where a picture was fitted in.
class NearestScaler final : public PictureScaler {
public:
    Result<void> scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow, std::byte* destination,
        PixelRect destinationSize, std::size_t destinationBytesPerRow) override;
};

[[nodiscard]] PictureScalerFactory nearestScalers();

[[nodiscard]] platform::StreamConfiguration pictureSize(std::int64_t width, std::int64_t height, bool showsCursor = false);

}  // namespace velmora::engine
