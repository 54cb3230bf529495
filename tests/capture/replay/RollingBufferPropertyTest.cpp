// Random streams through the buffer and through a slow, plain model of it.
#include "capture/replay/RollingBuffer.h"

#include "tests/support/Samples.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace velmora {
namespace {

using Ticks = std::int64_t;

/// What happened often enough for the comparison to mean something.
struct Reached {
    int picturesDroppedByTime = 0;
    int picturesDroppedByCount = 0;
    int keyFramesDroppedByCount = 0;
    int soundDroppedByTime = 0;
    int soundDroppedByCount = 0;
    int soundKeptForWantOfYounger = 0;
    int clears = 0;
    int absentClips = 0;
    int clipsFromAnOldEnoughKeyFrame = 0;
    int clipsFromTheFirstKeyFrame = 0;
    int clipsWithoutAKeyFrame = 0;
    int fullClips = 0;
    int shortClips = 0;
    int clipsThatLeaveSoundBehind = 0;
};

struct Picture {
    Ticks time;
    bool isKeyFrame;
    SampleBufferRef sample;
};

struct Sound {
    Ticks time;
    Ticks end;
    SampleBufferRef sample;
};

struct Clip {
    std::vector<SampleBufferRef> pictures;
    std::vector<SampleBufferRef> sound;
    double duration = 0;
    bool isFull = false;
    Ticks start = 0;
    Ticks end = 0;

    friend bool operator==(const Clip&, const Clip&) = default;
};

/// Whole numbers of ticks, one rule after another, nothing remembered.
class Model {
public:
    Model(Ticks ticksPerSecond, double target, double retention, Reached& reached)
        : second_(ticksPerSecond)
        , target_(target)
        , retention_(retention)
        , reached_(reached)
    {
    }

    void add(const Picture& picture)
    {
        pictures_.push_back(picture);
        const auto limit = picture.time - ticks(retention_);
        if (limit > 0) {
            dropPicturesBefore(limit, picture.time - ticks(target_));
            dropByCount();
            dropSound();
        } else {
            dropByCount();
        }
    }

    void add(const Sound& sound)
    {
        sound_.push_back(sound);
        dropSound();
    }

    void clear()
    {
        ++reached_.clears;
        pictures_.clear();
        sound_.clear();
    }

    [[nodiscard]] BufferSnapshot snapshot() const { return {pictures_.size(), sound_.size(), duration(), target_}; }

    [[nodiscard]] std::optional<Clip> clip(std::optional<double> requested) const
    {
        if (pictures_.empty()) {
            ++reached_.absentClips;
            return std::nullopt;
        }
        const double length = requested ? *requested : target_;
        Clip clip;
        clip.end = pictures_.back().time;
        const auto first = firstPicture(std::max<Ticks>(0, clip.end - ticks(length)));
        clip.start = pictures_[first].time;
        for (std::size_t i = first; i < pictures_.size(); ++i)
            clip.pictures.push_back(pictures_[i].sample);
        for (const auto& sound : sound_) {
            if (sound.end >= clip.start && sound.time <= clip.end)
                clip.sound.push_back(sound.sample);
        }
        clip.duration = std::max(0.0, static_cast<double>(clip.end - clip.start) / static_cast<double>(second_));
        clip.isFull = clip.duration >= length - 0.5;
        ++(clip.isFull ? reached_.fullClips : reached_.shortClips);
        reached_.clipsThatLeaveSoundBehind += clip.sound.size() < sound_.size() ? 1 : 0;
        return clip;
    }

private:
    [[nodiscard]] Ticks ticks(double seconds) const { return std::llround(seconds * static_cast<double>(second_)); }

    [[nodiscard]] double duration() const
    {
        if (pictures_.empty())
            return 0;
        return std::max(0.0, static_cast<double>(pictures_.back().time - pictures_.front().time) / static_cast<double>(second_));
    }

    void dropPicturesBefore(Ticks limit, Ticks targetStart)
    {
        std::optional<std::size_t> anchor;
        for (std::size_t i = 0; i < pictures_.size(); ++i) {
            if (pictures_[i].isKeyFrame && pictures_[i].time <= targetStart)
                anchor = i;
        }
        if (!anchor)
            return;
        std::size_t newestTooOld = 0;
        for (std::size_t i = 0; i < *anchor; ++i) {
            if (pictures_[i].time < limit)
                newestTooOld = i;
        }
        for (std::size_t i = 0; i < newestTooOld; ++i) {
            pictures_.pop_front();
            ++reached_.picturesDroppedByTime;
        }
    }

    void dropByCount()
    {
        while (pictures_.size() > 1800) {
            ++reached_.picturesDroppedByCount;
            reached_.keyFramesDroppedByCount += pictures_.front().isKeyFrame ? 1 : 0;
            pictures_.pop_front();
        }
        while (sound_.size() > 2000) {
            ++reached_.soundDroppedByCount;
            sound_.pop_front();
        }
    }

    void dropSound()
    {
        if (pictures_.empty() || sound_.empty())
            return;
        const auto limit = pictures_.front().time - 2 * second_;
        if (std::none_of(sound_.begin(), sound_.end(), [limit](const auto& sound) { return sound.time >= limit; })) {
            ++reached_.soundKeptForWantOfYounger;
            return;
        }
        while (sound_.front().time < limit) {
            ++reached_.soundDroppedByTime;
            sound_.pop_front();
        }
    }

    [[nodiscard]] std::size_t firstPicture(Ticks desired) const
    {
        std::optional<std::size_t> firstKeyFrame;
        std::optional<std::size_t> lastOldEnough;
        for (std::size_t i = 0; i < pictures_.size(); ++i) {
            if (!pictures_[i].isKeyFrame)
                continue;
            if (!firstKeyFrame)
                firstKeyFrame = i;
            if (pictures_[i].time <= desired)
                lastOldEnough = i;
        }
        ++(lastOldEnough        ? reached_.clipsFromAnOldEnoughKeyFrame
                : firstKeyFrame ? reached_.clipsFromTheFirstKeyFrame
                                : reached_.clipsWithoutAKeyFrame);
        return lastOldEnough ? *lastOldEnough : firstKeyFrame.value_or(0);
    }

    const Ticks second_;
    const double target_;
    const double retention_;
    Reached& reached_;
    std::deque<Picture> pictures_;
    std::deque<Sound> sound_;
};

/// Feeds both with the same stream. The answers of the buffer are gathered on its queue and compared at the end.
class Comparison {
public:
    Comparison(std::int32_t timescale, double target, double retention, Reached& reached)
        : timescale_(timescale)
        , model_(timescale, target, retention, reached)
        , buffer_(RollingBuffer::create(target, retention))
    {
    }

    void picture(Ticks time, bool isKeyFrame)
    {
        auto sample = std::make_shared<SampleBuffer>();
        sample->presentationTimeStamp = {time, timescale_};
        sample->attachments = isKeyFrame ? SampleBuffer::syncAttachments() : SampleBuffer::notSyncAttachments();
        model_.add(Picture{time, isKeyFrame, sample});
        buffer_->appendVideoSample(std::move(sample));
        compareSizes();
    }

    void sound(Ticks time, bool durationIsKnown)
    {
        auto sample = std::make_shared<SampleBuffer>();
        sample->presentationTimeStamp = {time, timescale_};
        sample->duration = durationIsKnown ? MediaTime{1024, 48000} : MediaTime::invalid();
        // An end between two ticks has passed the first but not the second.
        model_.add(Sound{time, durationIsKnown ? time + Ticks{1024} * timescale_ / 48000 : time, sample});
        buffer_->appendAudioSample(std::move(sample));
        compareSizes();
    }

    void clear()
    {
        model_.clear();
        buffer_->clear();
        compareSizes();
    }

    void extract(std::optional<double> requested)
    {
        expectedClips_.push_back(model_.clip(requested));
        buffer_->extractRecentClip(requested, [this](std::optional<RollingBufferExtraction> extraction) {
            auto& clip = clips_.emplace_back();
            if (extraction) {
                EXPECT_EQ(extraction->startPTS.timescale, timescale_);
                EXPECT_EQ(extraction->endPTS.timescale, timescale_);
                clip = Clip{std::move(extraction->videoSamples), std::move(extraction->audioSamples), extraction->actualDuration,
                    extraction->isFullDuration, extraction->startPTS.value, extraction->endPTS.value};
            }
        });
    }

    void expectEqual()
    {
        buffer_->drain();
        ASSERT_EQ(sizes_.size(), expectedSizes_.size());
        for (std::size_t i = 0; i < sizes_.size(); ++i) {
            ASSERT_EQ(sizes_[i].videoSampleCount, expectedSizes_[i].videoSampleCount) << "after step " << i;
            ASSERT_EQ(sizes_[i].audioSampleCount, expectedSizes_[i].audioSampleCount) << "after step " << i;
            ASSERT_DOUBLE_EQ(sizes_[i].bufferedDuration, expectedSizes_[i].bufferedDuration) << "after step " << i;
            ASSERT_EQ(sizes_[i].targetDuration, expectedSizes_[i].targetDuration);
        }
        ASSERT_EQ(clips_.size(), expectedClips_.size());
        for (std::size_t i = 0; i < clips_.size(); ++i)
            ASSERT_TRUE(clips_[i] == expectedClips_[i]) << "clip " << i;
    }

private:
    void compareSizes()
    {
        expectedSizes_.push_back(model_.snapshot());
        buffer_->snapshot([this](BufferSnapshot snapshot) { sizes_.push_back(snapshot); });
    }

    const std::int32_t timescale_;
    Model model_;
    std::vector<BufferSnapshot> expectedSizes_;
    std::vector<std::optional<Clip>> expectedClips_;

    // On the buffer's queue.
    std::vector<BufferSnapshot> sizes_;
    std::vector<std::optional<Clip>> clips_;

    std::shared_ptr<RollingBuffer> buffer_;
};

/// A stream of stretches, each of its own kind.
class RandomStream {
public:
    RandomStream(unsigned seed, Reached& reached)
        : random_(seed)
        , timescale_(pick<std::int32_t>({MediaTime::nanosecondScale, 90000, 600}))
        , target_(pick({15.0, 15.0, 3.0, 0.7}))
        , comparison_(timescale_, target_, pick({20.0, target_ + 2.5, target_ / 2}), reached)
        , now_(pick<Ticks>({0, 0, seconds(86'412.3)}))
        , soundNow_(now_)
    {
    }

    void run(int stretches)
    {
        for (int i = 0; i < stretches; ++i)
            stretch();
        comparison_.extract(std::nullopt);
        comparison_.expectEqual();
    }

private:
    template <typename T>
    T pick(std::initializer_list<T> choices)
    {
        return *(choices.begin() + number(0, static_cast<int>(choices.size()) - 1));
    }
    int number(int least, int greatest) { return std::uniform_int_distribution{least, greatest}(random_); }
    bool chance(int percent) { return number(1, 100) <= percent; }
    [[nodiscard]] Ticks seconds(double value) const { return std::llround(value * timescale_); }

    void stretch()
    {
        enum class Kind {
            steady,
            still,
            dense,
            withoutKeyFrames,
            soundGap,
            denseSound,
            soundAlone,
            silentPictures,
            pause,
            backwards,
            clear
        };
        const auto kind = static_cast<Kind>(number(0, static_cast<int>(Kind::clear)));
        switch (kind) {
        case Kind::steady:
            return pictures(number(60, 600), 1.0 / 60, 30);
        case Kind::still:
            return pictures(number(4, 60), 0.5, 1);
        case Kind::dense:
            return pictures(number(600, 2500), 1.0 / 240, number(1, 300));
        case Kind::withoutKeyFrames:
            return pictures(number(60, 900), 1.0 / 30, 100'000);
        case Kind::soundGap:
            pictures(number(60, 600), 1.0 / 60, 30, 0);
            soundNow_ = now_;
            return;
        case Kind::denseSound:
            return pictures(number(30, 300), 1.0 / 60, 30, 0.001);
        case Kind::soundAlone:
            for (int i = number(1, 300); i > 0; --i)
                soundBlock(0.02);
            now_ = std::max(now_, soundNow_);
            return;
        case Kind::silentPictures:
            return pictures(number(60, 600), 1.0 / 30, number(20, 200), 0);
        case Kind::pause:
            now_ += seconds(number(1, 60));
            return;
        case Kind::backwards:
            now_ = std::max<Ticks>(0, now_ - seconds(number(1, 3)));
            return;
        case Kind::clear:
            if (chance(30))
                comparison_.clear();
            return;
        }
    }

    /// With sound up to each picture if `soundDistance` is not 0.
    void pictures(int count, double distance, int keyFrameInterval, double soundDistance = 0.0213)
    {
        const int phase = number(0, keyFrameInterval - 1);
        for (int i = 0; i < count; ++i) {
            comparison_.picture(now_, (i + phase) % keyFrameInterval == 0);
            if (chance(2))
                comparison_.extract(chance(30) ? std::nullopt : std::optional{number(0, 250) / 10.0});
            now_ += seconds(distance) + (chance(20) ? number(0, 2) : 0);
            for (; soundDistance > 0 && soundNow_ < now_;)
                soundBlock(soundDistance);
        }
    }

    void soundBlock(double distance)
    {
        comparison_.sound(soundNow_, chance(90));
        soundNow_ += std::max<Ticks>(1, seconds(distance));
    }

    std::mt19937 random_;
    const std::int32_t timescale_;
    const double target_;
    Comparison comparison_;
    Ticks now_;
    Ticks soundNow_;
};

TEST(RollingBufferProperty, ABufferKeepsAndGivesOutWhatAPlainModelDoes)
{
    Reached reached;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        RandomStream{seed, reached}.run(20);
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(reached.picturesDroppedByTime, 1000);
    EXPECT_GT(reached.picturesDroppedByCount, 1000);
    EXPECT_GT(reached.keyFramesDroppedByCount, 10);
    EXPECT_GT(reached.soundDroppedByTime, 1000);
    EXPECT_GT(reached.soundDroppedByCount, 1000);
    EXPECT_GT(reached.soundKeptForWantOfYounger, 100);
    EXPECT_GT(reached.clears, 3);
    EXPECT_GT(reached.clipsFromAnOldEnoughKeyFrame, 100);
    EXPECT_GT(reached.clipsFromTheFirstKeyFrame, 30);
    EXPECT_GT(reached.clipsWithoutAKeyFrame, 3);
    EXPECT_GT(reached.fullClips, 100);
    EXPECT_GT(reached.shortClips, 30);
    EXPECT_GT(reached.clipsThatLeaveSoundBehind, 100);
}

}  // namespace
}  // namespace velmora
