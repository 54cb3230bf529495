#include "media/mp4/SplicePlanner.h"

#include "media/mp4/RecordingLayout.h"
#include "media/mp4/SpliceAssembly.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>

namespace velmora::mp4::splice_planner_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::int64_t ticks = 3000;  // 30 pictures a second
constexpr std::int32_t rate = 48000;
constexpr auto anew = SampleOrigin::anew;

std::vector<std::byte> bytes(std::initializer_list<unsigned> values)
{
    std::vector<std::byte> result;
    for (const auto value : values)
        result.push_back(static_cast<std::byte>(value));
    return result;
}

/// One sequence and one picture parameter set, both with the number 0, of a record for High.
std::vector<std::byte> record()
{
    return bytes({1, 100, 0, 13, 0xFF, 0xE1, 0, 5, 0x67, 100, 0, 13, 0xAC, 1, 0, 3, 0x68, 0xEE, 0x3C, 0xFD, 0xF8, 0xF8, 0});
}

/// The n-th picture of a movie has the offset 100 n; key frames at multiples of `keyInterval`.
Track pictures(int count, int keyInterval)
{
    Track track;
    track.id = 1;
    track.format = std::make_shared<const FormatDescription>(VideoFormat{"avc1", 320, 240, ColourDescription::bt709(), record()});
    track.timescale = videoTimescale;
    for (int i = 0; i < count; ++i)
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(100 * i), 50, i * ticks, 0, i % keyInterval == 0}));
    track.samples.setLastDuration(ticks);
    return track;
}

/// In decode order by presentation number, with two pictures of delay. The offset is 100 times the presentation number.
Track reordered(const std::vector<int>& numbers, const std::vector<int>& keys)
{
    auto track = pictures(0, 1);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto decode = static_cast<std::int64_t>(i) * ticks;
        const bool isSync = std::find(keys.begin(), keys.end(), numbers[i]) != keys.end();
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(100 * numbers[i]), 50, decode,
            static_cast<std::int32_t>((numbers[i] + 2) * ticks - decode), isSync}));
    }
    track.samples.setLastDuration(ticks);
    track.edits = {{numbers.size() * static_cast<std::size_t>(ticks), 2 * ticks}};
    return track;
}

Track sound(std::int64_t frames, std::int64_t late = 0)
{
    Track track;
    track.id = 2;
    track.format = std::make_shared<const FormatDescription>(AudioFormat{"mp4a", rate, 2, bytes({0x11, 0x90})});
    track.timescale = rate;
    const auto packets = (frames + 1023) / 1024 + 1;
    for (std::int64_t i = 0; i < packets; ++i)
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(1'000'000 + 100 * i), 50, i * 1024, 0, true}));
    track.samples.setLastDuration(1024);
    if (late > 0)
        track.edits.push_back({static_cast<std::uint64_t>(late), -1});
    track.edits.push_back({static_cast<std::uint64_t>(frames), 1024});
    return track;
}

Movie movieOf(std::vector<Track> tracks)
{
    Movie movie;
    movie.timescale = tracks.size() > 1 ? rate : videoTimescale;
    movie.tracks = std::move(tracks);
    return movie;
}

/// 20 seconds, a key frame each second.
Movie twentySeconds()
{
    return movieOf({pictures(600, 30), sound(20 * rate)});
}

TimeRange seconds(double from, double to)
{
    return {MediaTime::fromSeconds(from, 90000), MediaTime::fromSeconds(to, 90000)};
}

SplicePlan planned(const std::vector<const Movie*>& movies, const std::vector<KeptSpan>& spans)
{
    std::vector<SpliceSource> sources;
    for (const auto* movie : movies)
        sources.push_back({movie, "clip " + std::to_string(sources.size() + 1)});
    auto plan = planSplice(sources, spans);
    EXPECT_TRUE(plan) << (plan ? "" : plan.error().localizedDescription);
    return plan ? std::move(*plan) : SplicePlan{};
}

SplicePlan without(const Movie& movie, const std::vector<TimeRange>& cuts)
{
    std::vector<KeptSpan> spans;
    for (const auto& range : rangesWithout(seconds(0, 20), cuts))
        spans.push_back({0, range});
    return planned({&movie}, spans);
}

std::string refusal(const Movie& first, const Movie& second)
{
    const auto plan = planSplice({{&first, "a.mp4"}, {&second, "b.mp4"}}, {{0, seconds(0, 20)}, {1, seconds(0, 20)}});
    EXPECT_FALSE(plan);
    if (plan)
        return {};
    EXPECT_EQ(plan.error().code, static_cast<int>(ErrorCode::unsupported));
    return plan.error().localizedDescription;
}

/// Ranges in seconds.
std::vector<std::pair<double, double>> inSeconds(const std::vector<TimeRange>& ranges)
{
    std::vector<std::pair<double, double>> result;
    for (const auto& range : ranges)
        result.emplace_back(range.start.seconds(), range.end.seconds());
    return result;
}

TEST(RangesWithout, LeavesWhatLiesBetweenTheCuts)
{
    const auto whole = seconds(0, 10);
    EXPECT_THAT(inSeconds(rangesWithout(whole, {})), ElementsAre(std::pair{0.0, 10.0}));
    EXPECT_THAT(inSeconds(rangesWithout(whole, {seconds(6, 7), seconds(2, 3)})),
        ElementsAre(std::pair{0.0, 2.0}, std::pair{3.0, 6.0}, std::pair{7.0, 10.0}));
}

TEST(RangesWithout, TakesCutsThatTouchOrOverlapForOne)
{
    const auto whole = seconds(0, 10);
    EXPECT_THAT(inSeconds(rangesWithout(whole, {seconds(2, 3), seconds(3, 4)})), ElementsAre(std::pair{0.0, 2.0}, std::pair{4.0, 10.0}));
    EXPECT_THAT(inSeconds(rangesWithout(whole, {seconds(2, 6), seconds(3, 4), seconds(5, 7)})),
        ElementsAre(std::pair{0.0, 2.0}, std::pair{7.0, 10.0}));
}

TEST(RangesWithout, ACutAtAnEndLeavesOneRangeAndACutOfEverythingNone)
{
    const auto whole = seconds(1, 10);
    EXPECT_THAT(inSeconds(rangesWithout(whole, {seconds(0, 3)})), ElementsAre(std::pair{3.0, 10.0}));
    EXPECT_THAT(inSeconds(rangesWithout(whole, {seconds(8, 30)})), ElementsAre(std::pair{1.0, 8.0}));
    EXPECT_THAT(rangesWithout(whole, {seconds(0, 5), seconds(5, 10)}), IsEmpty());
    EXPECT_THAT(inSeconds(rangesWithout(whole, {seconds(5, 5), seconds(6, 4)})), ElementsAre(std::pair{1.0, 10.0}));
}

TEST(SplicePlanner, OneSpanIsPlannedAsATrim)
{
    const auto movie = twentySeconds();
    for (const auto& range : {seconds(0, 20), seconds(1.23, 4.56), seconds(2, 3), seconds(19.9, 20)}) {
        const auto plan = planned({&movie}, {{0, range}});
        const auto trim = planTrim(movie, range);
        ASSERT_TRUE(trim);
        EXPECT_TRUE(plan.isTrim);
        EXPECT_THAT(plan.pictureRuns, IsEmpty());
        EXPECT_FALSE(plan.sound);
        EXPECT_EQ(plan.movie.timescale, trim->timescale);
        EXPECT_EQ(plan.movie.leastDuration, trim->leastDuration);
        ASSERT_EQ(plan.movie.tracks.size(), trim->tracks.size());
        for (std::size_t i = 0; i < trim->tracks.size(); ++i) {
            EXPECT_EQ(plan.movie.tracks[i].edits, trim->tracks[i].edits);
            EXPECT_EQ(plan.movie.tracks[i].samples.expanded(), trim->tracks[i].samples.expanded());
        }
    }
}

TEST(SplicePlanner, EncodesThePicturesFromACutToTheNextKeyFrameAndCopiesAllOthers)
{
    const auto movie = twentySeconds();
    // Pictures 0 to 149; then 303 to 599, with a key frame at 330.
    const auto plan = without(movie, {seconds(5, 10.1)});
    ASSERT_EQ(plan.pictureRuns.size(), 1U);
    EXPECT_EQ(plan.pictureRuns[0].firstDecoded, 300U);
    EXPECT_EQ(plan.pictureRuns[0].lastDecoded, 329U);
    std::vector<std::size_t> expected(27);
    std::iota(expected.begin(), expected.end(), 303);
    EXPECT_EQ(plan.pictureRuns[0].encoded, expected);
    ASSERT_EQ(plan.pictures.size(), 150U + 297U);
    for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
        const auto number = i < 150 ? i : i + 153;
        const bool isCopied = number < 150 || number >= 330;
        EXPECT_EQ(plan.pictures[i].origin.source, isCopied ? 0 : anew) << i;
        EXPECT_TRUE(!isCopied || plan.pictures[i].origin.offset == 100 * number) << i;
        EXPECT_EQ(plan.pictures[i].presentation, static_cast<std::int64_t>(i) * ticks);
        EXPECT_EQ(plan.pictures[i].decode, plan.pictures[i].presentation);
        EXPECT_EQ(plan.pictures[i].isSync, i == 150 || (isCopied && number % 30 == 0)) << i;
    }
    EXPECT_EQ(plan.picturesEnd, 447 * ticks);
}

TEST(SplicePlanner, ACutBetweenPicturesCutsTheOneOnEitherSideShort)
{
    const auto movie = twentySeconds();
    // 5 ms into picture 150, and 5 ms before picture 304.
    const auto plan = without(movie, {seconds(5.005, 10 + 4 / 30.0 - 0.005)});
    ASSERT_GE(plan.pictures.size(), 153U);
    EXPECT_EQ(plan.pictures[150].presentation, 150 * ticks);
    EXPECT_EQ(plan.pictures[151].presentation, 150 * ticks + 450);
    EXPECT_EQ(plan.pictureRuns[0].encoded[0], 303U);
    EXPECT_EQ(plan.pictures[152].presentation, 150 * ticks + 900);
}

TEST(SplicePlanner, ACutThatEndsAtAKeyFrameEncodesNoPicture)
{
    const auto movie = twentySeconds();
    const auto plan = without(movie, {seconds(5.5, 10)});
    EXPECT_THAT(plan.pictureRuns, IsEmpty());
    EXPECT_EQ(plan.pictures[165].origin.offset, 30000U);
    EXPECT_TRUE(plan.pictures[165].isSync);
}

TEST(SplicePlanner, AKeyFrameRightBeforeAnotherSpansIsEncodedAnew)
{
    const auto movie = twentySeconds();
    // The last picture before the cut is key frame 150, the first behind it key frame 300.
    const auto plan = without(movie, {seconds(5 + 1 / 30.0, 10)});
    ASSERT_EQ(plan.pictureRuns.size(), 1U);
    EXPECT_THAT(plan.pictureRuns[0].encoded, ElementsAre(150U));
    EXPECT_EQ(plan.pictureRuns[0].firstDecoded, 150U);
    EXPECT_EQ(plan.pictures[150].origin.source, anew);
    EXPECT_TRUE(plan.pictures[150].isSync);
    EXPECT_EQ(plan.pictures[151].origin.offset, 30000U);
}

TEST(SplicePlanner, ASpanWithoutAKeyFrameIsEncodedWhole)
{
    const auto movie = twentySeconds();
    const auto plan = planned({&movie}, {{0, seconds(0, 1)}, {0, seconds(5.2, 5.4)}, {0, seconds(10, 11)}});
    ASSERT_EQ(plan.pictureRuns.size(), 1U);
    EXPECT_THAT(plan.pictureRuns[0].encoded, ElementsAre(156U, 157U, 158U, 159U, 160U, 161U));
    EXPECT_EQ(plan.pictureRuns[0].lastDecoded, 161U);
    EXPECT_EQ(plan.pictures.size(), 30U + 6U + 30U);
}

TEST(SplicePlanner, AKeyFrameThatIsNoneIsNotCopiedFrom)
{
    const auto movie = twentySeconds();
    const SpliceSource source{&movie, "clip", [](const Sample& sample) -> Result<bool> { return sample.offset != 30000; },
        [](const Sample& sample) -> Result<bool> { return sample.offset != 30000 && sample.offset != 33000; }};
    const auto plan = planSplice({source}, {{0, seconds(0, 5)}, {0, seconds(10.5, 20)}});
    ASSERT_TRUE(plan);
    ASSERT_EQ(plan->pictureRuns.size(), 1U);
    // Decoding begins at 270, because it cannot at 300; copying at 360, because 330 needs what is before it.
    EXPECT_EQ(plan->pictureRuns[0].firstDecoded, 270U);
    EXPECT_EQ(plan->pictureRuns[0].encoded.front(), 315U);
    EXPECT_EQ(plan->pictureRuns[0].encoded.back(), 359U);
}

TEST(SplicePlanner, PicturesThatNeedOnesThatAreCutAreEncodedAnew)
{
    // Groups of eight, decoded 0 3 1 2 6 4 5 7.
    std::vector<int> numbers;
    std::vector<int> keys;
    for (int group = 0; group < 10; ++group) {
        for (const int number : {0, 3, 1, 2, 6, 4, 5, 7})
            numbers.push_back(8 * group + number);
        keys.push_back(8 * group);
    }
    const auto movie = movieOf({reordered(numbers, keys)});
    // Up to picture 20, behind 21 and 22, which come before it in the file; then from 40 on.
    const auto plan = planned({&movie}, {{0, seconds(0, 21 / 30.0)}, {0, seconds(40 / 30.0, 80 / 30.0)}});
    ASSERT_EQ(plan.pictureRuns.size(), 1U);
    // It is the 22nd in the file.
    EXPECT_THAT(plan.pictureRuns[0].encoded, ElementsAre(21U));
    EXPECT_EQ(plan.pictureRuns[0].firstDecoded, 16U);
    EXPECT_EQ(plan.pictures.size(), 21U + 40U);
    std::vector<std::int64_t> presentation;
    for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
        EXPECT_LE(plan.pictures[i].decode, plan.pictures[i].presentation);
        EXPECT_TRUE(i == 0 || plan.pictures[i - 1].decode < plan.pictures[i].decode);
        presentation.push_back(plan.pictures[i].presentation);
    }
    std::sort(presentation.begin(), presentation.end());
    for (std::size_t i = 0; i < presentation.size(); ++i)
        EXPECT_EQ(presentation[i], static_cast<std::int64_t>(i) * ticks);
}

TEST(SplicePlanner, SoundIsCopiedFromTheLongerSideAndHeardAtItsFrames)
{
    const auto movie = twentySeconds();
    const auto plan = without(movie, {seconds(5, 7.5)});
    ASSERT_TRUE(plan.sound);
    const auto& sound = *plan.sound;
    EXPECT_EQ(sound.end, static_cast<std::int64_t>(17.5 * rate));
    ASSERT_EQ(sound.spans.size(), 2U);
    EXPECT_EQ(sound.spans[0].begin, 0);
    EXPECT_EQ(sound.spans[0].end, 5 * rate);
    EXPECT_EQ(sound.spans[0].mediaOffset, 1024);
    EXPECT_EQ(sound.spans[1].begin, 5 * rate);
    EXPECT_EQ(sound.spans[1].mediaOffset, 1024 + 2.5 * rate);
    ASSERT_EQ(sound.runs.size(), 2U);
    EXPECT_FALSE(sound.runs[0].isCopied);
    EXPECT_TRUE(sound.runs[1].isCopied);
    // What the first copied packet decodes to is heard where its source has it, behind the cut.
    const auto time = sound.timeOf(sound.runs[1].first);
    EXPECT_GE(time, 5 * rate);
    EXPECT_LT(time, 5 * rate + 1024);
    EXPECT_EQ(static_cast<std::int64_t>(sound.runs[1].firstInSource) * 1024, time + sound.spans[1].mediaOffset);
    EXPECT_EQ(sound.runs[1].first + sound.runs[1].count, sound.packetCount());
}

TEST(SplicePlanner, SoundThatBeginsLateInASpanKeepsItsDistance)
{
    const auto movie = movieOf({pictures(600, 30), sound(10 * rate, 4 * rate)});
    const auto plan = planned({&movie}, {{0, seconds(0, 1)}, {0, seconds(3, 6)}, {0, seconds(16, 18)}});
    ASSERT_TRUE(plan.sound);
    ASSERT_EQ(plan.sound->spans.size(), 1U);
    EXPECT_EQ(plan.sound->spans[0].begin, 2 * rate);
    EXPECT_EQ(plan.sound->spans[0].end, 4 * rate);
    EXPECT_EQ(plan.sound->spans[0].mediaOffset, 1024 - 2 * rate);
    EXPECT_EQ(plan.sound->end, 4 * rate);
}

TEST(SplicePlanner, SpansWithoutSoundHaveNoTrackOfIt)
{
    const auto movie = movieOf({pictures(600, 30), sound(2 * rate, 4 * rate)});
    const auto plan = planned({&movie}, {{0, seconds(0, 1)}, {0, seconds(8, 9)}});
    EXPECT_FALSE(plan.sound);
    EXPECT_EQ(plan.movie.tracks.size(), 1U);
}

TEST(SplicePlanner, NothingIsLeftIsAnErrorInWords)
{
    const auto movie = twentySeconds();
    const auto plan = planSplice({{&movie, "clip"}}, {});
    ASSERT_FALSE(plan);
    EXPECT_EQ(plan.error().code, static_cast<int>(ErrorCode::invalidRange));
    EXPECT_EQ(plan.error().localizedDescription, "Nothing is left of the clip.");
}

TEST(SplicePlanner, ClipsOfOneKindFollowOneAnother)
{
    const auto first = movieOf({pictures(60, 30), sound(2 * rate)});
    const auto second = movieOf({pictures(90, 30), sound(3 * rate)});
    const auto plan = planned({&first, &second, &first}, {{0, seconds(0, 20)}, {1, seconds(0, 20)}, {2, seconds(0, 20)}});
    EXPECT_THAT(plan.pictureRuns, IsEmpty());
    ASSERT_EQ(plan.pictures.size(), 210U);
    EXPECT_EQ(plan.pictures[60].origin.source, 1U);
    EXPECT_EQ(plan.pictures[60].presentation, 60 * ticks);
    EXPECT_EQ(plan.pictures[150].origin.source, 2U);
    EXPECT_EQ(plan.pictures[150].origin.offset, 0U);
    EXPECT_EQ(plan.sound->end, 7 * rate);
}

TEST(SplicePlanner, ClipsOfDifferentKindsAreRefusedByWhatDiffers)
{
    const auto usual = twentySeconds();
    const auto withPictures = [](const std::function<void(Track&, VideoFormat&)>& change) {
        auto movie = twentySeconds();
        auto format = *movie.tracks[0].format->video();
        change(movie.tracks[0], format);
        movie.tracks[0].format = std::make_shared<const FormatDescription>(std::move(format));
        return movie;
    };
    EXPECT_EQ(refusal(usual, withPictures([](Track&, VideoFormat& format) { format.width = 640; })),
        "The clips do not go together: the pictures of b.mp4 are 640 x 240, and those of a.mp4 are 320 x 240.");
    EXPECT_THAT(
        refusal(usual, withPictures([](Track& track, VideoFormat&) { track.shownWidth = 100 << 16; })), HasSubstr("are shown as 100 x"));
    EXPECT_THAT(refusal(usual, withPictures([](Track& track, VideoFormat&) { track.matrix[1] = 0x10000; })), HasSubstr("turned"));
    EXPECT_THAT(refusal(usual, withPictures([](Track&, VideoFormat& format) { format.colour.fullRange = true; })), HasSubstr("colours"));
    EXPECT_THAT(refusal(usual, withPictures([](Track&, VideoFormat& format) { format.decoderConfiguration[12] ^= std::byte{1}; })),
        HasSubstr("encoder"));
    EXPECT_EQ(refusal(usual, movieOf({pictures(600, 30)})), "The clips do not go together: a.mp4 has sound, and b.mp4 has none.");
    EXPECT_EQ(refusal(movieOf({pictures(600, 30)}), usual), "The clips do not go together: b.mp4 has sound, and a.mp4 has none.");

    const auto withSound = [](std::vector<std::byte> configuration, std::int32_t soundRate, std::int32_t channels) {
        auto movie = twentySeconds();
        movie.tracks[1].format =
            std::make_shared<const FormatDescription>(AudioFormat{"mp4a", soundRate, channels, std::move(configuration)});
        movie.tracks[1].timescale = soundRate;
        return movie;
    };
    EXPECT_EQ(refusal(usual, withSound(bytes({0x12, 0x10}), 44100, 2)),
        "The clips do not go together: the sound of b.mp4 has 44100 samples a second, and that of a.mp4 48000.");
    EXPECT_THAT(refusal(usual, withSound(bytes({0x11, 0x88}), rate, 1)), HasSubstr("has 1 channels, and that of a.mp4 2"));
}

TEST(SplicePlanner, AFileThatCannotBeCutIsRefusedWithItsName)
{
    const auto usual = twentySeconds();
    auto other = twentySeconds();
    other.tracks[0].sampleEntryCount = 2;
    EXPECT_EQ(refusal(usual, other), "b.mp4: The file cannot be trimmed exactly: a track changes its format.");
    other = movieOf({pictures(60, 30), sound(2 * rate), sound(2 * rate)});
    EXPECT_THAT(refusal(usual, other), HasSubstr("more than one track of sound"));
}

TEST(SpliceAssembly, TheMoviePutsEverySampleWhereItsSourceBegins)
{
    const auto movie = twentySeconds();
    const auto plan = without(movie, {seconds(5, 10.1)});
    AnewMedia media;
    for (int i = 0; i < 27; ++i)
        media.pictures.push_back(media.add(bytes({1, 2, 3})));
    for (const auto& run : plan.sound->runs) {
        for (std::int64_t i = 0; i < (run.isCopied ? 0 : run.count); ++i)
            media.sound.push_back(media.add(bytes({4})));
    }
    media.decoderConfiguration = *withParameterSets(record(), record());
    const auto assembled = assembleSplice(plan, media, sourceOffsets({5'000'000}));
    ASSERT_TRUE(assembled);
    ASSERT_EQ(assembled->tracks.size(), 2U);
    const auto samples = assembled->tracks[0].samples.expanded();
    ASSERT_EQ(samples.size(), 447U);
    EXPECT_EQ(samples[149].offset, 14900U);
    EXPECT_EQ(samples[150].offset, 5'000'001U);
    EXPECT_EQ(samples[151].offset, 5'000'004U);
    EXPECT_EQ(samples[177].offset, 33000U);
    EXPECT_THAT(assembled->tracks[0].edits, IsEmpty());
    EXPECT_EQ(assembled->tracks[0].samples.duration(), 447U * ticks);
    // The only edit is that of the sound's lead.
    ASSERT_EQ(assembled->tracks[1].edits.size(), 1U);
    EXPECT_EQ(assembled->tracks[1].edits[0].mediaTime, plan.sound->lead);
    EXPECT_EQ(assembled->tracks[1].edits[0].duration, static_cast<std::uint64_t>(plan.sound->end));
    EXPECT_EQ(assembled->tracks[1].samples.duration(), static_cast<std::uint64_t>(plan.sound->lead + plan.sound->end));
}

TEST(SpliceAssembly, ASampleEntryGetsTheParameterSetsOfBothEncoders)
{
    EXPECT_EQ(freeParameterSetNumber(record()), 1);
    const auto more = bytes({1, 100, 0, 31, 0xFF, 0xE1, 0, 5, 0x67, 100, 0, 31, 0x2C, 1, 0, 3, 0x68, 0x2E, 0x3C, 0xFD, 0xF8, 0xF8, 0});
    const auto both = withParameterSets(record(), more);
    ASSERT_TRUE(both);
    EXPECT_EQ(*both,
        bytes({1, 100, 0, 31, 0xFF, 0xE2, 0, 5, 0x67, 100, 0, 13, 0xAC, 0, 5, 0x67, 100, 0, 31, 0x2C, 2, 0, 3, 0x68, 0xEE, 0x3C, 0, 3, 0x68,
            0x2E, 0x3C, 0xFD, 0xF8, 0xF8, 0}));
    // 0 is 1 and 1 is 010 in these numbers: the next that is free is 2 where 0 and 1 are taken.
    const auto taken =
        withParameterSets(record(), bytes({1, 100, 0, 13, 0xFF, 0xE1, 0, 5, 0x67, 100, 0, 13, 0x40, 1, 0, 3, 0x68, 0x40, 0x3C}));
    ASSERT_TRUE(taken);
    EXPECT_EQ(freeParameterSetNumber(*taken), 2);
}

TEST(SpliceAssembly, ARecordThatEndsTooSoonMakesNoSense)
{
    auto cut = record();
    // What comes last may be missing.
    cut.resize(18);
    for (; !cut.empty(); cut.pop_back()) {
        EXPECT_FALSE(withParameterSets(cut, record())) << cut.size();
        EXPECT_FALSE(freeParameterSetNumber(cut)) << cut.size();
    }
}

TEST(SpliceAssembly, APlainerProfileBecomesTheRicherOne)
{
    const auto main = bytes({1, 77, 0x40, 31, 0xFF, 0xE1, 0, 5, 0x67, 77, 0x40, 31, 0xAC, 1, 0, 3, 0x68, 0xEE, 0x3C});
    const auto both = withParameterSets(main, record());
    ASSERT_TRUE(both);
    EXPECT_EQ((*both)[1], std::byte{100});
    EXPECT_EQ((*both)[2], std::byte{0});
    EXPECT_EQ((*both)[3], std::byte{31});
    EXPECT_EQ(std::vector(both->end() - 4, both->end()), bytes({0xFD, 0xF8, 0xF8, 0}));
}

}  // namespace
}  // namespace velmora::mp4::splice_planner_test
