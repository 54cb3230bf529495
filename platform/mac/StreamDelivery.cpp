#include "platform/mac/StreamDelivery.h"

#include "base/CurrentThread.h"
#include "media/LiveTime.h"

#include <algorithm>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::StreamOutputType;

constexpr std::chrono::milliseconds soundInterval{100};  // at which silence is put out where no sound comes
constexpr std::chrono::milliseconds soundTolerance{10};
constexpr std::chrono::seconds greatestDelay{1};  // of sound behind its stamp
constexpr MonotonicTime never = MonotonicTime::max();

std::chrono::nanoseconds intervalOf(const platform::StreamConfiguration& configuration)
{
    const auto interval = configuration.minimumFrameInterval;
    return std::chrono::nanoseconds{interval.isValid() ? interval.converted(MediaTime::nanosecondScale).value : 0};
}

std::optional<engine::AudioSourceFormat> formatOf(const platform::StreamConfiguration& configuration)
{
    const engine::AudioSourceFormat format{
        static_cast<std::int32_t>(configuration.sampleRate), static_cast<std::int32_t>(configuration.channelCount)};
    if (!configuration.capturesAudio || !engine::checkFormat(format))
        return std::nullopt;
    return format;
}

/// In two channels, whatever the system makes of that wish.
std::vector<float> inStereo(const CapturedSound& sound)
{
    const auto channels = static_cast<std::size_t>(sound.channelCount);
    if (channels == 2)
        return sound.samples;
    std::vector<float> stereo;
    stereo.reserve(sound.samples.size() / channels * 2);
    for (std::size_t at = 0; at + channels <= sound.samples.size(); at += channels) {
        stereo.push_back(sound.samples[at]);
        stereo.push_back(sound.samples[at + (channels > 1 ? 1 : 0)]);
    }
    return stereo;
}

}  // namespace

StreamDelivery::StreamDelivery(const platform::StreamConfiguration& configuration, engine::KeyFrameRequests keyFrameRequests)
    : interval_(intervalOf(configuration))
    , soundFormat_(formatOf(configuration))
    , keyFrameRequests_(std::move(keyFrameRequests))
{
}

StreamDelivery::~StreamDelivery()
{
    end();
}

void StreamDelivery::addOutput(std::weak_ptr<platform::StreamOutput> output, StreamOutputType type, std::shared_ptr<Executor> queue)
{
    MutexLock lock(mutex_);
    outputs_.push_back({std::move(output), type, std::move(queue)});
}

void StreamDelivery::begin(std::weak_ptr<const platform::CaptureStream> stream)
{
    const auto now = MonotonicClock::now();
    auto observation = keyFrameRequests_.observe([this] {
        MutexLock lock(mutex_);
        isPictureWanted_ = true;
        changed_.notifyAll();
    });
    MutexLock lock(mutex_);
    if (hasEnded_ || hasBegun_)
        return;
    hasBegun_ = true;
    stream_ = std::move(stream);
    observation_ = std::move(observation);
    if (soundFormat_) {
        // Called within deliver(), so with the mutex held.
        const auto block = [this](const SampleBufferRef& sample) NO_THREAD_SAFETY_ANALYSIS { handOn(sample, StreamOutputType::audio); };
        sound_.emplace(*soundFormat_, block, now);
        soundInput_ = sound_->mixer().addInput(soundTolerance);
    }
    soundDue_ = sound_ ? now + soundInterval : never;
    thread_ = std::thread([this] { run(); });
}

void StreamDelivery::deliver(const PixelBufferRef& picture, MediaTime time)
{
    const auto now = MonotonicClock::now();
    MutexLock lock(mutex_);
    if (!hasBegun_ || hasEnded_)
        return;
    // The system's own time where it can be: it says when the picture was on the screen.
    auto moment = time.isValid() ? momentOf(time) : now;
    if (moment > now || now - moment >= repeatInterval)
        moment = now;
    lastTime_ = std::max(moment, lastTime_ + std::chrono::nanoseconds{1});
    lastPicture_ = picture;
    isPictureWanted_ = false;
    handOn(sampleOf(picture), StreamOutputType::screen);
    changed_.notifyAll();
}

void StreamDelivery::deliver(const CapturedSound& sound)
{
    if (!soundFormat_ || sound.sampleRate != soundFormat_->sampleRate || sound.channelCount < 1 || !sound.time.isValid())
        return;
    const auto samples = inStereo(sound);
    const auto now = MonotonicClock::now();
    MutexLock lock(mutex_);
    if (!sound_ || hasEnded_)
        return;
    // A stamp of another clock, of which only the distances would be right, is worth less than the moment of arrival.
    auto moment = momentOf(sound.time);
    const std::chrono::nanoseconds length{static_cast<std::int64_t>(samples.size() / 2) * 1'000'000'000 / sound.sampleRate};
    if (std::chrono::abs(now - moment) > greatestDelay + length)
        moment = now - length;
    sound_->mixer().write(soundInput_, moment, samples, now);
    sound_->deliver(now);
}

void StreamDelivery::end()
{
    std::thread thread;
    engine::KeyFrameRequests::Registration observation;
    {
        MutexLock lock(mutex_);
        hasEnded_ = true;
        lastPicture_.reset();
        thread = std::move(thread_);
        observation = std::move(observation_);
        changed_.notifyAll();
    }
    // Not with the mutex: a request that is being made wants it.
    observation.end();
    if (thread.joinable())
        thread.join();
}

void StreamDelivery::run()
{
    setUpCurrentThread("com.velmora.mac.stream", SerialQueue::QualityOfService::userInteractive);
    MutexLock lock(mutex_);
    while (!hasEnded_) {
        const auto now = MonotonicClock::now();
        const auto wait = isPictureWanted_ ? std::min<std::chrono::nanoseconds>(interval_, repeatInterval) : repeatInterval;
        const auto pictureDue = lastPicture_ ? lastTime_ + wait : never;
        if (now >= pictureDue) {
            repeatAt(now);
        } else if (now >= soundDue_) {
            soundDue_ = now + soundInterval;
            sound_->deliver(now);
        } else if (const auto due = std::min(pictureDue, soundDue_); due == never) {
            changed_.wait(mutex_);
        } else {
            changed_.waitUntil(mutex_, due);
        }
    }
}

void StreamDelivery::repeatAt(MonotonicTime now)
{
    lastTime_ = now;
    isPictureWanted_ = false;
    handOn(sampleOf(lastPicture_), StreamOutputType::screen);
}

SampleBufferRef StreamDelivery::sampleOf(const PixelBufferRef& picture)
{
    const auto* const known = format_ ? format_->video() : nullptr;
    if (!known || known->codec != picture->format || known->width != picture->width || known->height != picture->height)
        format_ = std::make_shared<const FormatDescription>(VideoFormat{picture->format, picture->width, picture->height, {}, {}});
    auto sample = std::make_shared<SampleBuffer>();
    sample->format = format_;
    sample->presentationTimeStamp = liveTime(lastTime_);
    sample->duration = MediaTime::nanoseconds(interval_.count());
    sample->imageBuffer = picture;
    return sample;
}

void StreamDelivery::handOn(const SampleBufferRef& sample, StreamOutputType type)
{
    for (const auto& output : outputs_) {
        if (output.type != type)
            continue;
        output.queue->async([self = shared_from_this(), sample, target = output.output, weakStream = stream_, type] {
            const auto stream = weakStream.lock();
            const auto receiver = target.lock();
            if (stream && receiver && !self->hasEnded_)
                receiver->streamDidOutputSampleBuffer(*stream, sample, type);
        });
    }
}

}  // namespace velmora::mac_backend
