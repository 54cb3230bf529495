#include "tests/support/media/WrittenClip.h"

#include "media/mp4/PosixFile.h"
#include "media/mp4/RecordingFile.h"
#include "tests/support/media/AacEncoder.h"
#include "tests/support/media/EncodedClip.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <numbers>
#include <random>
#include <stdexcept>

namespace velmora::test {

namespace {

constexpr std::int32_t soundRate = 48000;
constexpr std::int64_t clickDistance = 7919;

std::vector<float> risingTone(const WrittenClip& clip)
{
    std::vector<float> sound;
    double phase = 0;
    for (std::int64_t i = 0; i < clip.soundFrames; ++i) {
        phase += 2 * std::numbers::pi * (200 + 0.01 * static_cast<double>(i)) / soundRate;
        const bool isSilent =
            std::any_of(clip.silences.begin(), clip.silences.end(), [i](const auto& gap) { return i >= gap.first && i < gap.second; });
        const double value = isSilent ? 0 : 0.3 * std::sin(phase) + (i % clickDistance == 0 ? 0.6 : 0);
        sound.insert(sound.end(), 2, static_cast<float>(value));
    }
    return sound;
}

template <typename T>
void require(const Result<T>& result)
{
    if (!result)
        throw std::runtime_error(result.error().localizedDescription);
}

}  // namespace

void writeClip(const std::filesystem::path& path, const WrittenClip& clip)
{
    std::map<std::int64_t, mp4::RecordedFragment> fragments;
    const auto add = [&fragments](std::size_t track, MediaTime time, mp4::RecordedSample sample) {
        auto& fragment = fragments[static_cast<std::int64_t>(time.seconds() / 0.8)];
        if (fragment.empty() || fragment.back().track != track)
            fragment.push_back({track, {}});
        fragment.back().samples.push_back(std::move(sample));
    };

    const auto encoded = encodeClip(clip.pictures, {.keyFrameInterval = clip.keyFrameInterval});
    std::vector<mp4::RecordedTrack> tracks{{encoded.format, mp4::videoTimescale, 0}};
    std::vector<mp4::TrackEnd> ends(1);
    for (std::size_t i = 0; i < encoded.samples.size(); ++i) {
        const auto& sample = encoded.samples[i];
        const auto time = clip.pictures[i].converted(mp4::videoTimescale);
        const auto next = i + 1 < clip.pictures.size() ? clip.pictures[i + 1].converted(mp4::videoTimescale).value : time.value + 3000;
        add(0, time, {sample->data, time.value, static_cast<std::uint32_t>(next - time.value), sample->isSync()});
    }
    if (clip.soundFrames > 0) {
        const auto encoder = makeAacEncoder();
        std::vector<engine::AudioEncoder::Packet> packets;
        require(encoder->encode(risingTone(clip), packets));
        require(encoder->flush(packets));
        tracks.push_back({encoder->format(), soundRate, encoder->primingFrames()});
        ends.push_back({clip.soundFrames});
        auto time = clip.soundStart;
        for (const auto& packet : packets) {
            add(1, {time, soundRate}, {packet.data, time, static_cast<std::uint32_t>(packet.frames), true});
            time += packet.frames;
        }
    }

    auto file = mp4::PosixFile::create(path);
    require(file);
    auto recording = mp4::RecordingFile::create(std::move(*file), {});
    require(recording);
    require((*recording)->start(tracks));
    for (const auto& [number, fragment] : fragments)
        require((*recording)->write(fragment));
    if (clip.isFinished)
        require((*recording)->finish(ends));
}

WrittenClip unevenClip(unsigned seed)
{
    std::mt19937 random{seed};
    std::uniform_int_distribution<std::int64_t> jitter{-9'000'000, 9'000'000};
    WrittenClip clip;
    std::int64_t time = 0;
    const auto stretch = [&](int count, std::int64_t distance, bool isUneven) {
        for (int i = 0; i < count; ++i) {
            clip.pictures.push_back(MediaTime::nanoseconds(time));
            time += distance + (isUneven ? jitter(random) : 0);
        }
    };
    stretch(120, 16'666'667, false);
    stretch(5, 500'000'000, false);
    stretch(90, 33'333'333, true);
    stretch(1, 1'000'000'000, false);
    stretch(70, 20'000'000, true);
    clip.soundStart = 12'345;
    clip.soundFrames = MediaTime::nanoseconds(time).converted(soundRate).value - clip.soundStart - 333;
    clip.silences = {{100'000, 150'001}};
    return clip;
}

std::vector<DecodedPicture> picturesIn(const DecodedFile& whole, const TimeRange& range)
{
    // The decoder's clock ticks 90000 times a second.
    constexpr double halfTick = 0.5 / 90000;
    std::vector<DecodedPicture> expected;
    for (const auto& picture : whole.pictures) {
        if (picture.time >= range.end.seconds() - halfTick)
            break;
        if (picture.time <= range.start.seconds() + halfTick)
            expected = {{0, picture.number}};
        else
            expected.push_back({picture.time - range.start.seconds(), picture.number});
    }
    return expected;
}

void expectPartOf(const DecodedFile& whole, const TimeRange& range, const DecodedFile& part)
{
    SCOPED_TRACE(testing::Message() << "from " << range.start.seconds() << " to " << range.end.seconds());
    ASSERT_TRUE(part.opened);
    EXPECT_THAT(part.complaints, testing::IsEmpty());
    const auto expected = picturesIn(whole, range);
    ASSERT_EQ(part.pictures.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(part.pictures[i].number, expected[i].number) << i;
        EXPECT_NEAR(part.pictures[i].time, expected[i].time, 1.01 / 90000) << i;
    }

    const auto begin = range.start.converted(soundRate).value;
    const auto end = std::min(range.end.converted(soundRate).value, whole.endFrame());
    const auto firstHeard = std::max(begin, whole.firstFrame);
    ASSERT_EQ(part.hasAudio, whole.hasAudio && firstHeard < end);
    if (!part.hasAudio)
        return;
    EXPECT_EQ(part.firstFrame, firstHeard - begin);
    EXPECT_GE(part.endFrame(), end - begin);
    double largest = 0;
    for (auto frame = firstHeard; frame < std::min(end, begin + part.endFrame()); ++frame) {
        const auto there = whole.sound.at(static_cast<std::size_t>(frame - whole.firstFrame));
        const auto here = part.sound.at(static_cast<std::size_t>(frame - begin - part.firstFrame));
        largest = std::max(largest, std::abs(static_cast<double>(there) - static_cast<double>(here)));
    }
    EXPECT_LT(largest, 1e-3);
}

}  // namespace velmora::test
