#include "engine/pictures/PictureSamples.h"

#include "media/LiveTime.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace velmora::engine {

namespace {

std::uint64_t nextStreamNumber()
{
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

}  // namespace

PictureSamples::PictureSamples(const platform::StreamConfiguration& configuration)
    : interval_(configuration.minimumFrameInterval.isValid()
            ? std::max<std::int64_t>(0, configuration.minimumFrameInterval.converted(MediaTime::nanosecondScale).value)
            : 0)
    , stream_(nextStreamNumber())
{
    VideoFormat format;
    format.codec = configuration.pixelFormat;
    format.width = static_cast<std::int32_t>(configuration.width);
    format.height = static_cast<std::int32_t>(configuration.height);
    format_ = std::make_shared<const FormatDescription>(std::move(format));
}

SampleBufferRef PictureSamples::make(PicturePool& pool, PooledPicture& picture, MonotonicTime time, std::vector<PixelRect> dirty)
{
    auto pixels = std::make_shared<PixelBuffer>();
    pixels->width = pool.width();
    pixels->height = pool.height();
    pixels->bytesPerRow = pool.bytesPerRow();
    pixels->baseAddress = picture.pixels;
    pixels->change = {stream_, sequence_++, std::move(dirty)};
    pixels->owner = pool.lease(picture);

    auto sample = std::make_shared<SampleBuffer>();
    sample->format = format_;
    sample->presentationTimeStamp = liveTime(time);
    sample->duration = MediaTime::nanoseconds(interval_.count());
    sample->imageBuffer = std::move(pixels);
    return sample;
}

}  // namespace velmora::engine
