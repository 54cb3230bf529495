#include "platform/mac/EncoderTrial.h"

#include "base/Mutex.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::mac_backend {

namespace {

using Encoder = platform::DesktopFacts::Encoder;

// What the encoder is tried with: moving pictures of a common size.
constexpr std::int32_t trialWidth = 1280;
constexpr std::int32_t trialHeight = 720;
constexpr int trialPictureCount = 4;
constexpr std::int64_t trialBitRate = 8'000'000;
constexpr std::int32_t trialTimescale = 60;

PixelBufferRef trialPicture(int number)
{
    const auto rowBytes = static_cast<std::size_t>(trialWidth) * 4;
    const auto pixels = std::make_shared<std::vector<std::byte>>(rowBytes * static_cast<std::size_t>(trialHeight));
    // Bars that move.
    for (std::size_t index = 0; index < pixels->size(); ++index)
        (*pixels)[index] = static_cast<std::byte>((index / 64 + static_cast<std::size_t>(number) * 40) & 0xFF);
    auto made = std::make_shared<PixelBuffer>();
    made->width = trialWidth;
    made->height = trialHeight;
    made->bytesPerRow = rowBytes;
    made->baseAddress = pixels->data();
    made->owner = pixels;
    return made;
}

/// What comes out of the encoder, on a thread of its own.
struct TrialOutput {
    Mutex mutex;
    int pictures GUARDED_BY(mutex) = 0;
    bool beginsWithKeyFrame GUARDED_BY(mutex) = false;
    platform::CompressionStatus failure GUARDED_BY(mutex) = 0;
};

std::string trialStatusText(const platform::CompressionSessionFactory& sessions, platform::CompressionStatus status)
{
    const auto words = sessions.description(status);
    return (words.empty() ? std::string{"status"} : words) + ' ' + std::to_string(status);
}

}  // namespace

Encoder tryEncoder(platform::CompressionSessionFactory& sessions)
{
    const auto fails = [](std::string reason) { return Encoder{"VideoToolbox", Encoder::Outcome::fails, std::move(reason), false}; };
    const auto output = std::make_shared<TrialOutput>();
    const auto session =
        sessions.makeSession(trialWidth, trialHeight, FourCharacterCode{"avc1"}, [output](auto status, const SampleBufferRef& sample) {
            MutexLock lock(output->mutex);
            if (status != 0 || !sample) {
                output->failure = status;
                return;
            }
            if (output->pictures++ == 0)
                output->beginsWithKeyFrame = sample->isSync();
        });
    if (!session)
        return fails("no session: " + trialStatusText(sessions, session.error()));
    using platform::CompressionProperty;
    (*session)->setProperty(CompressionProperty::realTime, true);
    (*session)->setProperty(CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel);
    (*session)->setProperty(CompressionProperty::averageBitRate, trialBitRate);
    (*session)->setProperty(CompressionProperty::allowFrameReordering, false);
    (*session)->prepareToEncodeFrames();
    platform::CompressionStatus refused = 0;
    for (int number = 0; number < trialPictureCount && refused == 0; ++number)
        refused = (*session)->encodeFrame(trialPicture(number), MediaTime{number, trialTimescale}, MediaTime{1, trialTimescale});
    (*session)->completeFrames();
    (*session)->invalidate();
    MutexLock lock(output->mutex);
    if (refused != 0 || output->pictures < trialPictureCount)
        return fails(std::to_string(output->pictures) + " of " + std::to_string(trialPictureCount)
            + " pictures were encoded: " + trialStatusText(sessions, refused != 0 ? refused : output->failure));
    if (!output->beginsWithKeyFrame)
        return fails("the first picture is no key frame, so no file could begin with it");
    return {"VideoToolbox", Encoder::Outcome::works, {}, false};
}

}  // namespace velmora::mac_backend
