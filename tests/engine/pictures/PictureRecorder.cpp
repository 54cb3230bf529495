#include "tests/engine/pictures/PictureRecorder.h"

#include "media/LiveTime.h"

#include <cstring>
#include <ctime>
#include <gtest/gtest.h>

namespace velmora::engine {

namespace {

constexpr std::uint32_t colourMask = 0xffffff;
constexpr std::chrono::milliseconds lookAgain{20};

}  // namespace

VideoSource::Callbacks Recorder::callbacks()
{
    VideoSource::Callbacks callbacks;
    callbacks.picture = [this](SampleBufferRef sample) { record(sample); };
    callbacks.stopped = [this](const Error& error) {
        MutexLock lock(mutex_);
        stops_.push_back(error);
        changed_.notifyAll();
    };
    callbacks.settled = [this](std::int32_t width, std::int32_t height) {
        MutexLock lock(mutex_);
        settled_.emplace_back(width, height);
        changed_.notifyAll();
    };
    return callbacks;
}

void Recorder::setPart(test::PicturePart part)
{
    MutexLock lock(mutex_);
    part_ = part;
}

void Recorder::hold(bool isHolding)
{
    std::vector<SampleBufferRef> released;
    MutexLock lock(mutex_);
    isHolding_ = isHolding;
    if (!isHolding) {
        // The last one stays, as the last one always does.
        released.swap(held_);
        held_.push_back(released.back());
    }
}

void Recorder::record(const SampleBufferRef& sample)
{
    MutexLock lock(mutex_);
    check(*sample);
    const auto& picture = *sample->imageBuffer;
    const test::PictureView view{picture.baseAddress, picture.bytesPerRow, picture.width, picture.height, 4};
    pictures_.push_back({momentOf(sample->presentationTimeStamp), picture.change, picture.baseAddress, picture.width, picture.height,
        part_ ? test::readFrameNumber(view, *part_) : test::readFrameNumber(view)});
    if (!isHolding_)
        held_.clear();
    held_.push_back(sample);
    changed_.notifyAll();
}

void Recorder::check(const SampleBuffer& sample)
{
    const auto complain = [this](const std::string& what)
                              REQUIRES(mutex_) { complaints_ += "picture " + std::to_string(pictures_.size()) + ": " + what + '\n'; };
    const auto& picture = *sample.imageBuffer;
    const auto width = static_cast<std::size_t>(picture.width);
    const PixelRect whole{0, 0, picture.width, picture.height};
    if (!stops_.empty())
        complain("delivered after the stop");
    if (sample.presentationTimeStamp.timescale != MediaTime::nanosecondScale)
        complain("time scale");
    if (!sample.format || !sample.format->video() || sample.format->video()->width != picture.width
        || sample.format->video()->height != picture.height || sample.format->video()->codec != FourCharacterCode{"BGRA"})
        complain("format");
    const bool isResized = !pictures_.empty() && (pictures_.back().width != picture.width || pictures_.back().height != picture.height);
    if (isResized && pictures_.back().change.stream == picture.change.stream)
        complain("another size under the same number");
    if (pictures_.empty() || isResized) {
        accumulated_.assign(width * static_cast<std::size_t>(picture.height), 0x55555555);
        if (picture.change.dirty != std::vector<PixelRect>{whole})
            complain("the first picture is not dirty all over");
        if (picture.change.sequence != 0)
            complain("the count does not begin at 0");
    } else {
        const auto& last = pictures_.back();
        if (picture.change.stream != last.change.stream || picture.change.sequence != last.change.sequence + 1)
            complain("count");
    }
    if (!pictures_.empty() && momentOf(sample.presentationTimeStamp) <= pictures_.back().time)
        complain("time runs backwards");
    for (const auto& dirty : picture.change.dirty) {
        if (dirty.isEmpty() || dirty.intersected(whole) != dirty) {
            complain("dirty beyond the picture");
            continue;
        }
        for (std::int32_t y = dirty.y; y < dirty.y + dirty.height; ++y) {
            std::memcpy(accumulated_.data() + static_cast<std::size_t>(y) * width + static_cast<std::size_t>(dirty.x),
                picture.baseAddress + static_cast<std::size_t>(y) * picture.bytesPerRow + static_cast<std::size_t>(dirty.x) * 4,
                static_cast<std::size_t>(dirty.width) * 4);
        }
    }
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); ++y) {
        if (std::memcmp(accumulated_.data() + y * width, picture.baseAddress + y * picture.bytesPerRow, width * 4) != 0) {
            complain("differs outside its dirty rectangles in row " + std::to_string(y));
            break;
        }
    }
}

std::vector<SeenPicture> Recorder::pictures() const
{
    MutexLock lock(mutex_);
    return pictures_;
}

std::vector<Error> Recorder::stops() const
{
    MutexLock lock(mutex_);
    return stops_;
}

std::vector<std::pair<std::int32_t, std::int32_t>> Recorder::settled() const
{
    MutexLock lock(mutex_);
    return settled_;
}

SampleBufferRef Recorder::lastSample() const
{
    MutexLock lock(mutex_);
    return held_.empty() ? nullptr : held_.back();
}

std::vector<std::uint32_t> Recorder::lastColours() const
{
    const auto sample = lastSample();
    if (!sample)
        return {};
    const auto& picture = *sample->imageBuffer;
    const auto width = static_cast<std::size_t>(picture.width);
    std::vector<std::uint32_t> colours(width * static_cast<std::size_t>(picture.height));
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); ++y)
        std::memcpy(colours.data() + y * width, picture.baseAddress + y * picture.bytesPerRow, width * 4);
    for (auto& colour : colours)
        colour &= colourMask;
    return colours;
}

std::string Recorder::complaints() const
{
    MutexLock lock(mutex_);
    return complaints_;
}

void Recorder::waitFor(const std::string& what, const std::function<bool()>& condition) const
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "Waited in vain: " << what;
            return;
        }
        MutexLock lock(mutex_);
        changed_.waitUntil(mutex_, std::chrono::steady_clock::now() + lookAgain);
    }
}

void Recorder::waitForPictures(std::size_t count) const
{
    waitFor(std::to_string(count) + " pictures", [&] { return pictures().size() >= count; });
}

void Recorder::waitForColours(const std::string& what, const std::vector<std::uint32_t>& colours) const
{
    waitFor(what, [&] { return lastColours() == colours; });
}

void Recorder::waitForStop() const
{
    waitFor("the stop", [&] { return !stops().empty(); });
}

Result<void> NearestScaler::scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow, std::byte* destination,
    PixelRect destinationSize, std::size_t destinationBytesPerRow)
{
    for (std::int32_t y = 0; y < destinationSize.height; ++y) {
        const auto sourceY = static_cast<std::size_t>(std::int64_t{y} * sourceSize.height / destinationSize.height);
        for (std::int32_t x = 0; x < destinationSize.width; ++x) {
            const auto sourceX = static_cast<std::size_t>(std::int64_t{x} * sourceSize.width / destinationSize.width);
            std::memcpy(destination + static_cast<std::size_t>(y) * destinationBytesPerRow + static_cast<std::size_t>(x) * 4,
                source + sourceY * sourceBytesPerRow + sourceX * 4, 4);
        }
    }
    return {};
}

PictureScalerFactory nearestScalers()
{
    return [] { return Result<std::unique_ptr<PictureScaler>>{std::make_unique<NearestScaler>()}; };
}

platform::StreamConfiguration pictureSize(std::int64_t width, std::int64_t height, bool showsCursor)
{
    platform::StreamConfiguration configuration;
    configuration.width = width;
    configuration.height = height;
    configuration.showsCursor = showsCursor;
    return configuration;
}

}  // namespace velmora::engine
