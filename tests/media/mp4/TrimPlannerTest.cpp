#include "media/mp4/TrimPlanner.h"

#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::mp4 {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t pictureTicks = 3000;  // 30 pictures a second
constexpr std::int64_t gap = 3060;  // 34 ms
constexpr std::int32_t soundRate = 48000;

FormatDescriptionRef pictureFormat(FourCharacterCode codec = "avc1")
{
    return std::make_shared<const FormatDescription>(VideoFormat{codec, 320, 240, ColourDescription::bt709(), {}});
}

FormatDescriptionRef soundFormat(std::vector<std::byte> configuration = {std::byte{0x11}, std::byte{0x90}})
{
    return std::make_shared<const FormatDescription>(AudioFormat{"mp4a", soundRate, 2, std::move(configuration)});
}

/// Samples of `size` bytes whose offsets give their index: `base` + 100 * index.
Track pictureTrack(int count, int keyInterval, std::int32_t timescale = videoTimescale, std::int64_t ticks = pictureTicks)
{
    Track track;
    track.id = 1;
    track.format = pictureFormat();
    track.timescale = timescale;
    for (int i = 0; i < count; ++i)
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(100 * i), 50, i * ticks, 0, i % keyInterval == 0}));
    track.samples.setLastDuration(static_cast<std::uint32_t>(ticks));
    return track;
}

Track soundTrack(int packets, std::uint32_t lastDuration = 1024)
{
    Track track;
    track.id = 2;
    track.format = soundFormat();
    track.timescale = soundRate;
    for (int i = 0; i < packets; ++i)
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(1'000'000 + 100 * i), 50, i * 1024, 0, true}));
    track.samples.setLastDuration(lastDuration);
    return track;
}

/// In decode order by presentation number, one tick distance apart, with two pictures of delay as encoders have.
Track reorderedTrack(const std::vector<int>& numbers, const std::vector<int>& keys)
{
    Track track;
    track.id = 1;
    track.format = pictureFormat();
    track.timescale = videoTimescale;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto decode = static_cast<std::int64_t>(i) * pictureTicks;
        const auto offset = (numbers[i] + 2) * pictureTicks - decode;
        const bool isSync = std::find(keys.begin(), keys.end(), numbers[i]) != keys.end();
        EXPECT_TRUE(
            track.samples.append({static_cast<std::uint64_t>(100 * numbers[i]), 50, decode, static_cast<std::int32_t>(offset), isSync}));
    }
    track.samples.setLastDuration(pictureTicks);
    track.edits = {{numbers.size() * static_cast<std::size_t>(pictureTicks), 2 * pictureTicks}};
    return track;
}

Movie movieOf(std::vector<Track> tracks)
{
    Movie movie;
    const bool hasSound = std::any_of(tracks.begin(), tracks.end(), [](const Track& track) { return !track.isVideo(); });
    movie.timescale = hasSound ? soundRate : videoTimescale;
    movie.tracks = std::move(tracks);
    return movie;
}

/// Three seconds of pictures, and as much sound after a priming of 1024 frames.
Movie threeSeconds()
{
    auto sound = soundTrack(142, 144'000 + 1024 - 141 * 1024);
    sound.edits = {{144'000, 1024}};
    return movieOf({pictureTrack(90, 30), std::move(sound)});
}

TimeRange seconds(double start, double end)
{
    return {MediaTime::fromSeconds(start, 600), MediaTime::fromSeconds(end, 600)};
}

Movie planned(const Movie& movie, const TimeRange& range)
{
    auto plan = planTrim(movie, range);
    EXPECT_TRUE(plan) << (plan ? "" : plan.error().localizedDescription);
    return plan ? std::move(*plan) : Movie{};
}

int codeOf(const Result<Movie>& plan)
{
    return plan ? 0 : plan.error().code;
}

constexpr int invalidRange = static_cast<int>(ErrorCode::invalidRange);
constexpr int unsupported = static_cast<int>(ErrorCode::unsupported);
constexpr int nothingInside = static_cast<int>(ErrorCode::nothingInside);

/// Which samples were taken, by the numbers in their offsets.
std::vector<std::uint64_t> taken(const Track& track)
{
    std::vector<std::uint64_t> numbers;
    for (const auto& sample : track.samples.expanded())
        numbers.push_back(sample.offset % 1'000'000 / 100);
    return numbers;
}

/// What a player shows: number and time in ticks, from the edit on.
std::vector<std::pair<std::uint64_t, std::int64_t>> shown(const Movie& movie, const Track& track)
{
    std::int64_t begin = 0;
    std::int64_t mediaTime = 0;
    auto end = static_cast<std::int64_t>(track.samples.duration());
    for (const auto& edit : track.edits) {
        const auto duration = static_cast<std::int64_t>(rescaled(edit.duration, movie.timescale, track.timescale));
        if (edit.mediaTime < 0) {
            begin = duration;
        } else {
            mediaTime = edit.mediaTime;
            end = mediaTime + duration;
        }
    }
    std::vector<std::pair<std::uint64_t, std::int64_t>> result;
    for (const auto& sample : track.samples.expanded()) {
        const auto presented = sample.decodeTime + sample.compositionOffset;
        EXPECT_GE(presented, sample.decodeTime);
        if (presented >= mediaTime && presented < end)
            result.emplace_back(sample.offset % 1'000'000 / 100, presented - mediaTime + begin);
    }
    std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    return result;
}

TEST(TrimPlanner, ARangeThatBeginsAtAKeyFrameNeedsNoLeadInAndNoEdit)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), seconds(1, 1.1));
    ASSERT_EQ(movie.tracks.size(), 1U);
    EXPECT_THAT(taken(movie.tracks[0]), ElementsAre(30, 31, 32));
    EXPECT_THAT(movie.tracks[0].edits, IsEmpty());
    EXPECT_EQ(presentationDuration(movie), (MediaTime{1, 10}));
}

TEST(TrimPlanner, LeadInPicturesLastATickEachAndTheLastOfThem34Milliseconds)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), seconds(1.2, 1.3));
    const auto& track = movie.tracks.at(0);
    EXPECT_THAT(taken(track), ElementsAre(30, 31, 32, 33, 34, 35, 36, 37, 38));
    std::vector<std::uint32_t> durations;
    for (const auto& sample : track.samples.expanded())
        durations.push_back(sample.duration);
    EXPECT_THAT(durations, ElementsAre(1, 1, 1, 1, 1, gap, 3000, 3000, 3000));
    EXPECT_THAT(track.edits, ElementsAre(Edit{9000, 5 + gap}));
    EXPECT_THAT(shown(movie, track), ElementsAre(std::pair{36U, 0}, std::pair{37U, 3000}, std::pair{38U, 6000}));
}

TEST(TrimPlanner, PicturesThatAreFarApartKeepTheLeadInAsFarFromTheFirstShown)
{
    // Two pictures a second.
    const auto movie = planned(movieOf({pictureTrack(20, 10, videoTimescale, 45000)}), seconds(2, 4.5));
    const auto& track = movie.tracks.at(0);
    ASSERT_EQ(taken(track).size(), 9U);
    const auto distance = track.edits.at(0).mediaTime - 3;
    // What a player takes for the length of a picture when it knows how many there are and the length of the track.
    const auto samples = track.samples.expanded();
    const auto average = static_cast<std::int64_t>(track.samples.duration() - samples.front().duration) / 8;
    EXPECT_GT(distance, average);
    EXPECT_LT(distance, 45000);
    EXPECT_EQ(samples[3].duration, distance);
}

TEST(TrimPlanner, TheLeadInIsNeverMoreThanASecondFromTheFirstShown)
{
    const auto movie = planned(movieOf({pictureTrack(3, 10, videoTimescale, 900'000)}), seconds(10, 20));
    EXPECT_THAT(movie.tracks.at(0).edits, ElementsAre(Edit{900'000, 90'000}));
}

TEST(TrimPlanner, WhatIsDecodedLongBeforeItIsShownLastsHalfOfThePart)
{
    // A player that thinks the media much shorter than the movie takes it for a still picture.
    auto track = pictureTrack(3, 3);
    track.samples = SampleTable{};
    for (const auto& [decode, offset] : {std::pair{0, 0}, std::pair{3000, 447'000}, std::pair{6000, 447'000}})
        ASSERT_TRUE(track.samples.append({static_cast<std::uint64_t>(decode / 30), 50, decode, offset, decode == 0}));
    track.samples.setLastDuration(pictureTicks);
    track.edits.clear();
    const auto movie = planned(movieOf({std::move(track)}), {{0, 90000}, {451'000, 90000}});
    EXPECT_THAT(taken(movie.tracks.at(0)), ElementsAre(0, 1));
    EXPECT_EQ(movie.tracks[0].samples.duration(), 451'000U / 2);
}

TEST(TrimPlanner, OneLeadInPictureIs34MillisecondsBeforeTheFirstShown)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), {{31, 30}, {32, 30}});
    EXPECT_THAT(movie.tracks.at(0).edits, ElementsAre(Edit{3000, gap}));
    EXPECT_THAT(taken(movie.tracks[0]), ElementsAre(30, 31));
}

TEST(TrimPlanner, TheFirstShownPictureIsCutWhereTheRangeBegins)
{
    // Inside picture 36, at a third of it.
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), {{36 * 3000 + 1000, 90000}, {38 * 3000, 90000}});
    EXPECT_THAT(shown(movie, movie.tracks.at(0)), ElementsAre(std::pair{36U, 0}, std::pair{37U, 2000}));
    EXPECT_EQ(presentationDuration(movie), (MediaTime{5000, 90000}));
}

TEST(TrimPlanner, AKeyFrameThatIsCutNeedsNoLeadInEither)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), {{30 * 3000 + 1000, 90000}, {32 * 3000, 90000}});
    EXPECT_THAT(movie.tracks.at(0).edits, IsEmpty());
    EXPECT_THAT(shown(movie, movie.tracks[0]), ElementsAre(std::pair{30U, 0}, std::pair{31U, 2000}));
}

TEST(TrimPlanner, AnEndInsideAPictureKeepsItUpToTheEnd)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), {{30 * 3000, 90000}, {31 * 3000 + 1, 90000}});
    EXPECT_THAT(taken(movie.tracks.at(0)), ElementsAre(30, 31));
    EXPECT_EQ(movie.tracks[0].samples.lastDuration(), 1U);
    EXPECT_EQ(presentationDuration(movie), (MediaTime{3001, 90000}));
}

TEST(TrimPlanner, AnEndWhereAPictureBeginsLeavesItOut)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), {{30 * 3000, 90000}, {32 * 3000, 90000}});
    EXPECT_THAT(taken(movie.tracks.at(0)), ElementsAre(30, 31));
}

TEST(TrimPlanner, ARangeInsideOnePictureIsThatPicture)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30)}), {{36 * 3000 + 100, 90000}, {36 * 3000 + 101, 90000}});
    EXPECT_THAT(shown(movie, movie.tracks.at(0)), ElementsAre(std::pair{36U, 0}));
    EXPECT_EQ(presentationDuration(movie), (MediaTime{1, 90000}));
}

TEST(TrimPlanner, WithoutAKeyFrameBeforeItTheLeadInIsAllThereIs)
{
    const auto movie = planned(movieOf({pictureTrack(90, 1000)}), seconds(2, 2.1));
    EXPECT_EQ(taken(movie.tracks.at(0)).size(), 63U);
    EXPECT_THAT(shown(movie, movie.tracks[0]), ElementsAre(std::pair{60U, 0}, std::pair{61U, 3000}, std::pair{62U, 6000}));
}

TEST(TrimPlanner, SoundBeginsOnePacketEarlyAndTheEditCutsItToTheSample)
{
    // 1.5 s is frame 72000, in the media 73024: packet 71 holds it.
    const auto movie = planned(threeSeconds(), seconds(1.5, 2));
    const auto& sound = movie.tracks.at(1);
    EXPECT_EQ(taken(sound).front(), 70U);
    EXPECT_THAT(sound.edits, ElementsAre(Edit{24000, 73024 - 70 * 1024}));
    // 2 s is 97024: the last frame before it lies in packet 94.
    EXPECT_EQ(taken(sound).back(), 94U);
    EXPECT_EQ(sound.samples.lastDuration(), 97024U - 94 * 1024);
    EXPECT_EQ(movie.timescale, soundRate);
    EXPECT_EQ(presentationDuration(movie), (MediaTime{1, 2}));
}

TEST(TrimPlanner, SoundThatBeginsInTheFirstPacketBeginsThere)
{
    auto sound = soundTrack(100);
    const auto movie = planned(movieOf({pictureTrack(60, 30), sound}), {{480, 48000}, {48000, 48000}});
    EXPECT_EQ(taken(movie.tracks.at(1)).front(), 0U);
    EXPECT_EQ(movie.tracks[1].edits.at(0).mediaTime, 480);
}

TEST(TrimPlanner, SoundThatBeginsWithAPacketStillBeginsOneEarly)
{
    const auto movie = planned(movieOf({pictureTrack(60, 30), soundTrack(90)}), {{10 * 1024, 48000}, {48000, 48000}});
    EXPECT_EQ(taken(movie.tracks.at(1)).front(), 9U);
    EXPECT_EQ(movie.tracks[1].edits.at(0).mediaTime, 1024);
}

/// Packets without a gap, their times rounded to another scale.
Track soundOnScale(std::int32_t timescale, int packets)
{
    Track track = soundTrack(0);
    track.timescale = timescale;
    for (int i = 0; i <= packets; ++i) {
        const auto time = (std::int64_t{i} * 1024 * timescale + soundRate / 2) / soundRate;
        if (i < packets) {
            EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(1'000'000 + 100 * i), 50, time, 0, true}));
        } else {
            track.samples.setLastDuration(static_cast<std::uint32_t>(time - track.samples.lastDecodeTime()));
        }
    }
    return track;
}

TEST(TrimPlanner, SoundOfAnyTimeScaleHasATickForEachFrameInThePart)
{
    const auto direct = planned(movieOf({pictureTrack(90, 30), soundTrack(141)}), seconds(0.71, 2.4));
    for (const std::int32_t timescale : {10'000'000, 90'000, 44'100, 1000, 600}) {
        SCOPED_TRACE(timescale);
        const auto movie = planned(movieOf({pictureTrack(90, 30), soundOnScale(timescale, 141)}), seconds(0.71, 2.4));
        ASSERT_EQ(movie.tracks.size(), 2U);
        EXPECT_EQ(movie.tracks[1].timescale, soundRate);
        EXPECT_EQ(movie.tracks[1].samples.expanded(), direct.tracks[1].samples.expanded());
        EXPECT_EQ(movie.tracks[1].edits, direct.tracks[1].edits);
        EXPECT_EQ(movie.timescale, soundRate);
    }
}

TEST(TrimPlanner, AnEditOfSoundOnAnotherScaleMeansTheSameTime)
{
    auto sound = soundOnScale(90'000, 142);
    sound.edits = {{144'000, 1920}};
    auto same = soundTrack(142);
    same.edits = {{144'000, 1024}};
    const auto movie = planned(movieOf({pictureTrack(90, 30), sound}), seconds(1.5, 2));
    const auto direct = planned(movieOf({pictureTrack(90, 30), same}), seconds(1.5, 2));
    EXPECT_EQ(movie.tracks.at(1).edits, direct.tracks.at(1).edits);
    EXPECT_EQ(taken(movie.tracks[1]), taken(direct.tracks[1]));
}

/// 20 packets, two seconds of nothing in the entry of the last of them, 80 packets.
Track soundWithGap()
{
    Track track = soundTrack(20);
    for (int i = 20; i < 100; ++i)
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(1'000'000 + 100 * i), 50, i * 1024 + 96'000, 0, true}));
    return track;
}

TEST(TrimPlanner, ThePacketBeforeTheFirstHeardLastsNoLongerThanItSounds)
{
    // In the middle of packet 20.
    const std::int64_t begin = 20 * 1024 + 96'000 + 500;
    const auto movie = planned(movieOf({pictureTrack(150, 30), soundWithGap()}), {{begin, soundRate}, {begin + 48'000, soundRate}});
    const auto& sound = movie.tracks.at(1);
    EXPECT_EQ(taken(sound).front(), 19U);
    EXPECT_EQ(sound.samples.expanded().at(0).duration, 1024U);
    EXPECT_THAT(sound.edits, ElementsAre(Edit{48'000, 1024 + 500}));
}

TEST(TrimPlanner, ARangeThatBeginsInAGapIsSilentUntilItsEnd)
{
    const std::int64_t begin = 20 * 1024 + 48'000;
    const auto movie = planned(movieOf({pictureTrack(150, 30), soundWithGap()}), {{begin, soundRate}, {begin + 96'000, soundRate}});
    const auto& sound = movie.tracks.at(1);
    EXPECT_EQ(taken(sound).front(), 19U);
    EXPECT_THAT(sound.edits, ElementsAre(Edit{48'000, -1}, Edit{48'000, 1024}));
    EXPECT_EQ(
        planned(movieOf({pictureTrack(150, 30), soundWithGap()}), {{begin, soundRate}, {begin + 40'000, soundRate}}).tracks.size(), 1U);
}

TEST(TrimPlanner, SoundWhoseEntryNamesTwiceTheRateIsRefused)
{
    auto sound = soundTrack(100);
    sound.format = std::make_shared<const FormatDescription>(AudioFormat{"mp4a", 48000, 2, {std::byte{0x13}, std::byte{0x10}}});
    EXPECT_EQ(codeOf(planTrim(movieOf({pictureTrack(60, 30), sound}), seconds(0.5, 1))), unsupported);
}

TEST(TrimPlanner, ASyncSampleAtWhichDecodingCannotBeginIsPassedOver)
{
    const auto source = movieOf({pictureTrack(90, 10)});
    std::vector<std::uint64_t> asked;
    const auto plan = planTrim(source, seconds(1.5, 1.6), [&](const Sample& sample) -> Result<bool> {
        asked.push_back(sample.offset / 100);
        return sample.offset / 100 == 20;
    });
    ASSERT_TRUE(plan);
    EXPECT_THAT(asked, ElementsAre(40, 30, 20));
    EXPECT_EQ(taken(plan->tracks.at(0)).front(), 20U);
    // Players that begin at the last sync sample before the edit find the right one.
    EXPECT_THAT(plan->tracks[0].samples.syncSamples(), ElementsAre(0));
    const auto failed = planTrim(source, seconds(1.5, 1.6), [](const Sample&) -> Result<bool> { return fail("Test", 7, "no disk"); });
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().code, 7);
}

TEST(TrimPlanner, ABeginningThatIsAFalseSyncSampleIsNotCalledOne)
{
    const auto plan = planTrim(
        movieOf({pictureTrack(90, 10)}), {{20, 30}, {40, 30}}, [](const Sample& sample) -> Result<bool> { return sample.offset == 0; });
    ASSERT_TRUE(plan);
    EXPECT_EQ(taken(plan->tracks.at(0)).front(), 0U);
    EXPECT_THAT(plan->tracks[0].samples.syncSamples(), ElementsAre(0, 30));
}

TEST(TrimPlanner, AKeyFrameCloserToTheEndThanTheLeadInIsLongIsNotCalledOne)
{
    // Picture 60 is the last but one, with 34 ms after it and as much of a lead-in.
    const auto close = planned(movieOf({pictureTrack(90, 30)}), {{45, 30}, {62, 30}});
    EXPECT_THAT(taken(close.tracks.at(0)), ::testing::Contains(60U));
    EXPECT_THAT(close.tracks[0].samples.syncSamples(), ElementsAre(0));
    const auto enough = planned(movieOf({pictureTrack(90, 30)}), {{45, 30}, {63, 30}});
    EXPECT_THAT(enough.tracks.at(0).samples.syncSamples(), ElementsAre(0, 30));
    const auto noLeadIn = planned(movieOf({pictureTrack(90, 30)}), {{30, 30}, {61, 30}});
    EXPECT_THAT(noLeadIn.tracks.at(0).samples.syncSamples(), ElementsAre(0, 30));
}

TEST(TrimPlanner, APartThatIsShorterThanItsLeadInSaysThatItLastsAsLong)
{
    const auto leadIn = [](const Movie& movie) { return movie.tracks.at(0).edits.back().mediaTime; };
    const auto small = planned(movieOf({pictureTrack(90, 30)}), {{45 * 3000 + 2000, 90000}, {46 * 3000 + 500, 90000}});
    EXPECT_EQ(presentationDuration(small), (MediaTime{1500, 90000}));
    EXPECT_GT(static_cast<std::int64_t>(small.leastDuration), leadIn(small));
    EXPECT_LT(static_cast<std::int64_t>(small.leastDuration), leadIn(small) + 10);
    EXPECT_EQ(planned(movieOf({pictureTrack(90, 30)}), {{45, 30}, {47, 30}}).leastDuration, 0U);
    EXPECT_EQ(planned(movieOf({pictureTrack(90, 30)}), {{30, 30}, {31, 30}}).leastDuration, 0U);
}

TEST(TrimPlanner, SoundThatBeginsLateKeepsItsDistance)
{
    auto sound = soundTrack(47);
    sound.edits = {{48000, -1}, {47 * 1024 - 1024, 1024}};
    const auto movie = planned(movieOf({pictureTrack(90, 30), sound}), seconds(0.5, 1.5));
    EXPECT_THAT(movie.tracks.at(1).edits, ElementsAre(Edit{24000, -1}, Edit{24000, 1024}));
    EXPECT_EQ(taken(movie.tracks[1]).front(), 0U);
}

TEST(TrimPlanner, SoundThatEndsEarlierEndsEarlierInThePartToo)
{
    const auto movie = planned(movieOf({pictureTrack(90, 30), soundTrack(47)}), seconds(0.5, 2));
    EXPECT_EQ(presentationDuration(movie, movie.tracks.at(1)), (MediaTime{47 * 1024 - 24000, 48000}));
    EXPECT_EQ(presentationDuration(movie), (MediaTime{3, 2}));
}

TEST(TrimPlanner, SoundThatIsNotHeardInTheRangeIsLeftOut)
{
    auto late = soundTrack(47);
    late.edits = {{96000, -1}, {47 * 1024, 0}};
    EXPECT_EQ(planned(movieOf({pictureTrack(90, 30), late}), seconds(0.5, 2)).tracks.size(), 1U);
    EXPECT_EQ(planned(movieOf({pictureTrack(90, 30), late}), seconds(0.5, 2.1)).tracks.size(), 2U);
    EXPECT_EQ(planned(movieOf({pictureTrack(90, 30), soundTrack(46)}), seconds(1, 2)).tracks.size(), 1U);
}

TEST(TrimPlanner, APictureThatTheMovieShowsNoLongerIsHeld)
{
    // Pictures end after one second, sound after three.
    const auto movie = planned(movieOf({pictureTrack(30, 30), soundTrack(141)}), seconds(2, 2.5));
    EXPECT_THAT(shown(movie, movie.tracks.at(0)), ElementsAre(std::pair{29U, 0}));
    EXPECT_EQ(presentationDuration(movie, movie.tracks[0]), (MediaTime{1, 2}));
}

TEST(TrimPlanner, PicturesThatBeginLateKeepTheirDistance)
{
    auto pictures = pictureTrack(60, 30);
    pictures.edits = {{48000, -1}, {96000, 0}};
    const auto movie = planned(movieOf({pictures, soundTrack(141)}), seconds(0.75, 1.2));
    EXPECT_THAT(movie.tracks.at(0).edits.front(), (Edit{12000, -1}));
    EXPECT_EQ(shown(movie, movie.tracks[0]).front(), (std::pair{std::uint64_t{0}, std::int64_t{22500}}));
    EXPECT_EQ(codeOf(planTrim(movieOf({pictures, soundTrack(141)}), seconds(0, 1))), nothingInside);
}

TEST(TrimPlanner, ThePartOfAPartIsThatPart)
{
    const auto once = planned(threeSeconds(), seconds(0.71, 2.4));
    const auto twice = planned(once, seconds(0.5, 0.9));
    const auto direct = planned(threeSeconds(), seconds(1.21, 1.61));
    ASSERT_EQ(twice.tracks.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(twice.tracks[i].samples.expanded(), direct.tracks[i].samples.expanded());
        EXPECT_EQ(twice.tracks[i].edits, direct.tracks[i].edits);
    }
}

TEST(TrimPlanner, WhatIsHiddenInTheSourceIsNotShown)
{
    const auto once = planned(threeSeconds(), seconds(1.5, 2));
    const auto twice = planned(once, seconds(0, 0.1));
    EXPECT_THAT(shown(twice, twice.tracks.at(0)), ElementsAre(std::pair{45U, 0}, std::pair{46U, 3000}, std::pair{47U, 6000}));
}

TEST(TrimPlanner, TheWholeMovieKeepsEverySampleItsTimesAndItsEdits)
{
    for (const auto& source :
        {threeSeconds(), planned(threeSeconds(), seconds(1.5, 2)), movieOf({reorderedTrack({0, 3, 1, 2, 6, 4, 5, 7}, {0})})}) {
        const auto movie = planned(source, {MediaTime::zero(), presentationDuration(source)});
        ASSERT_EQ(movie.tracks.size(), source.tracks.size());
        EXPECT_EQ(movie.timescale, source.timescale);
        for (std::size_t i = 0; i < source.tracks.size(); ++i) {
            EXPECT_EQ(movie.tracks[i].samples.expanded(), source.tracks[i].samples.expanded());
            EXPECT_EQ(movie.tracks[i].edits, source.tracks[i].edits);
        }
    }
}

TEST(TrimPlanner, AnEndPastTheMovieIsItsEnd)
{
    const auto movie = planned(threeSeconds(), {{2, 1}, {std::numeric_limits<std::int64_t>::max(), 1}});
    EXPECT_EQ(presentationDuration(movie), (MediaTime{1, 1}));
}

TEST(TrimPlanner, AnEndThatIsTheMoviesAsNearlyAsItsScaleTellsIsTheMoviesEnd)
{
    auto source = threeSeconds();
    // 3 s and 39 frames of sound: 1800.49 on a scale of 600.
    source.tracks[1] = soundTrack(142, 144'039 + 1024 - 141 * 1024);
    source.tracks[1].edits = {{144'039, 1024}};
    const auto movie = planned(source, {{0, 600}, {1800, 600}});
    EXPECT_EQ(presentationDuration(movie), (MediaTime{144'039, 48000}));
    EXPECT_EQ(movie.tracks[1].samples.expanded(), source.tracks[1].samples.expanded());
    // One step of the slider earlier is a different end.
    EXPECT_EQ(presentationDuration(planned(source, {{0, 600}, {1799, 600}})), (MediaTime{1799, 600}));
}

TEST(TrimPlanner, ABeginningBeforeTheMovieIsItsBeginning)
{
    EXPECT_EQ(presentationDuration(planned(threeSeconds(), seconds(-5, 1))), (MediaTime{1, 1}));
}

TEST(TrimPlanner, AnEmptyOrInvertedRangeIsRefused)
{
    const auto movie = threeSeconds();
    EXPECT_EQ(codeOf(planTrim(movie, seconds(1, 1))), invalidRange);
    EXPECT_EQ(codeOf(planTrim(movie, seconds(2, 1))), invalidRange);
    EXPECT_EQ(codeOf(planTrim(movie, seconds(-2, -1))), invalidRange);
    EXPECT_EQ(codeOf(planTrim(movie, seconds(-2, 0))), invalidRange);
    EXPECT_EQ(codeOf(planTrim(movie, {MediaTime::invalid(), {1, 1}})), invalidRange);
    EXPECT_EQ(codeOf(planTrim(movie, {{1, 1}, MediaTime::invalid()})), invalidRange);
}

TEST(TrimPlanner, ABeginningAtOrPastTheEndIsRefused)
{
    EXPECT_EQ(codeOf(planTrim(threeSeconds(), seconds(3, 4))), invalidRange);
    EXPECT_EQ(codeOf(planTrim(
                  threeSeconds(), {{std::numeric_limits<std::int64_t>::max() - 1, 1}, {std::numeric_limits<std::int64_t>::max(), 1}})),
        invalidRange);
    EXPECT_EQ(codeOf(planTrim(threeSeconds(), seconds(2.99, 4))), 0);
}

TEST(TrimPlanner, PicturesOutOfOrderAreShownInTheirOrder)
{
    const auto source = movieOf({reorderedTrack({0, 3, 1, 2, 6, 4, 5, 7}, {0})});
    const auto movie = planned(source, {{2, 30}, {6, 30}});
    EXPECT_THAT(
        shown(movie, movie.tracks.at(0)), ElementsAre(std::pair{2U, 0}, std::pair{3U, 3000}, std::pair{4U, 6000}, std::pair{5U, 9000}));
    // Picture 6 is decoded for 4 and 5; it lies a millisecond after the end.
    EXPECT_THAT(taken(movie.tracks[0]), ElementsAre(0, 3, 1, 2, 6, 4, 5));
    for (const auto& sample : movie.tracks[0].samples.expanded()) {
        if (sample.offset == 600) {
            EXPECT_EQ(sample.decodeTime + sample.compositionOffset, movie.tracks[0].edits.at(0).mediaTime + 4 * pictureTicks + 90);
        }
    }
}

TEST(TrimPlanner, TheMediaLastsUntilBehindTheLastPictureThatIsOnlyDecodedForOthers)
{
    const auto movie = planned(movieOf({reorderedTrack({0, 3, 1, 2, 6, 4, 5, 7}, {0})}), {{2, 30}, {6, 30}});
    const auto samples = movie.tracks.at(0).samples.expanded();
    // Picture 5 is the last to be decoded, and lasts until picture 6 has been presented for its tick.
    EXPECT_EQ(samples.back().offset, 500U);
    EXPECT_EQ(samples.back().duration, pictureTicks + 90 + 1);
}

TEST(TrimPlanner, APictureOutOfOrderThatIsNotNeededIsLeftOut)
{
    const auto movie = planned(movieOf({reorderedTrack({0, 3, 1, 2, 6, 4, 5, 7}, {0})}), {{0, 30}, {3, 30}});
    EXPECT_THAT(taken(movie.tracks.at(0)), ElementsAre(0, 3, 1, 2));
    EXPECT_THAT(shown(movie, movie.tracks[0]), ElementsAre(std::pair{0U, 0}, std::pair{1U, 3000}, std::pair{2U, 6000}));
}

TEST(TrimPlanner, AKeyFrameThatLaterPicturesReachBehindIsNoBeginning)
{
    // 2 and 3 are decoded after the key frame 4 and shown before it.
    const auto source = movieOf({reorderedTrack({0, 1, 4, 2, 3, 5, 8, 6, 7}, {0, 4})});
    const auto movie = planned(source, {{5, 30}, {6, 30}});
    EXPECT_EQ(taken(movie.tracks.at(0)).front(), 0U);
    EXPECT_THAT(shown(movie, movie.tracks[0]), ElementsAre(std::pair{5U, 0}));
}

TEST(TrimPlanner, AScaleThatIsTooCoarseToCutOnIsMadeFiner)
{
    // One tick a picture.
    auto coarse = pictureTrack(90, 30, 30, 1);
    auto source = movieOf({coarse});
    source.timescale = 30;
    const auto movie = planned(source, {{361, 300}, {38, 30}});
    EXPECT_EQ(movie.tracks.at(0).timescale, 90000);
    EXPECT_THAT(shown(movie, movie.tracks[0]), ElementsAre(std::pair{36U, 0}, std::pair{37U, 2700}));
}

TEST(TrimPlanner, TracksKeepTheirFormatTheirNumberAndHowTheyStand)
{
    auto source = threeSeconds();
    source.tracks[0].id = 7;
    source.tracks[0].matrix[1] = 0x10000;
    source.tracks[0].shownWidth = 640 << 16;
    source.tracks[0].sampleEntry = {std::byte{1}, std::byte{2}};
    const auto movie = planned(source, seconds(1.2, 1.5));
    EXPECT_EQ(movie.tracks[0].id, 7U);
    EXPECT_EQ(movie.tracks[0].matrix, source.tracks[0].matrix);
    EXPECT_EQ(movie.tracks[0].shownWidth, source.tracks[0].shownWidth);
    EXPECT_EQ(movie.tracks[0].sampleEntry, source.tracks[0].sampleEntry);
    EXPECT_EQ(movie.tracks[0].format, source.tracks[0].format);
}

TEST(TrimPlanner, ATrackWithoutSamplesIsLeftOut)
{
    auto source = threeSeconds();
    source.tracks[1].samples = SampleTable{};
    EXPECT_EQ(planned(source, seconds(1, 2)).tracks.size(), 1U);
}

TEST(TrimPlanner, AFragmentedMovieBecomesAWholeOne)
{
    auto source = movieOf({pictureTrack(90, 30)});
    source.isFragmented = true;
    source.tracks[0].edits = {{0, 6000}};
    const auto movie = planned(source, seconds(0, 0.1));
    EXPECT_FALSE(movie.isFragmented);
    EXPECT_THAT(shown(movie, movie.tracks.at(0)), ElementsAre(std::pair{2U, 0}, std::pair{3U, 3000}, std::pair{4U, 6000}));
}

TEST(TrimPlanner, SamplesOfAFragmentedMovieThatBeginLateKeepTheirDistance)
{
    auto source = movieOf({pictureTrack(90, 30)});
    source.isFragmented = true;
    source.tracks[0].samples.setFirstDecodeTime(9000);
    const auto movie = planned(source, seconds(0, 0.2));
    EXPECT_THAT(shown(movie, movie.tracks.at(0)), ElementsAre(std::pair{0U, 9000}, std::pair{1U, 12000}, std::pair{2U, 15000}));
}

TEST(TrimPlanner, OtherThanH264IsRefused)
{
    auto source = threeSeconds();
    source.tracks[0].format = pictureFormat("hvc1");
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
    source.tracks[0].format = pictureFormat("avc3");
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), 0);
}

TEST(TrimPlanner, SoundThatCannotBeCutAtAPacketIsRefused)
{
    auto source = threeSeconds();
    // AAC with spectral band replication.
    source.tracks[1].format = soundFormat({std::byte{0x2B}, std::byte{0x11}, std::byte{0x88}, std::byte{0}});
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
    // Low delay, whose number is escaped.
    source.tracks[1].format = soundFormat({std::byte{0xF8}, std::byte{0xE6}, std::byte{0x40}});
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
    source.tracks[1].format = soundFormat({});
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
    source.tracks[1].format = std::make_shared<const FormatDescription>(AudioFormat{"Opus", soundRate, 2, {}});
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
    // Another codec whose configuration reads like one of AAC.
    source.tracks[1].format =
        std::make_shared<const FormatDescription>(AudioFormat{"Opus", soundRate, 2, {std::byte{0x11}, std::byte{0x90}}});
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
}

TEST(TrimPlanner, WithoutPicturesThereIsNothingToTrim)
{
    EXPECT_EQ(codeOf(planTrim(movieOf({soundTrack(141)}), seconds(1, 2))), nothingInside);
    EXPECT_EQ(codeOf(planTrim(movieOf({}), seconds(1, 2))), nothingInside);
}

TEST(TrimPlanner, TwoTracksOfPicturesAreRefused)
{
    EXPECT_EQ(codeOf(planTrim(movieOf({pictureTrack(90, 30), pictureTrack(90, 30)}), seconds(1, 2))), unsupported);
}

TEST(TrimPlanner, ATrackThatChangesItsFormatIsRefused)
{
    auto source = threeSeconds();
    source.tracks[0].sampleEntryCount = 2;
    EXPECT_EQ(codeOf(planTrim(source, seconds(1, 2))), unsupported);
}

TEST(TrimPlanner, EditsThatPutPartsTogetherOrChangeTheSpeedAreRefused)
{
    auto source = movieOf({pictureTrack(90, 30)});
    source.tracks[0].edits = {{90000, 0}, {90000, 180000}};
    EXPECT_EQ(codeOf(planTrim(source, seconds(0.5, 1))), unsupported);
    source.tracks[0].edits = {{90000, 0, false}};
    EXPECT_EQ(codeOf(planTrim(source, seconds(0.5, 1))), unsupported);
}

TEST(TrimPlanner, SaysWhyItRefuses)
{
    auto source = threeSeconds();
    source.tracks[0].format = pictureFormat("hvc1");
    EXPECT_EQ(planTrim(source, seconds(1, 2)).error().localizedDescription, "The file cannot be trimmed exactly: its video is not H.264.");
}

}  // namespace
}  // namespace velmora::mp4
