#include "media/mp4/Movie.h"

#include "media/mp4/BoxReader.h"
#include "media/mp4/MovieParser.h"
#include "media/mp4/MovieSerializer.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <span>

namespace velmora::mp4 {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Track videoTrack()
{
    static const auto format = std::make_shared<const FormatDescription>(
        VideoFormat{"avc1", 640, 480, ColourDescription::bt709(), std::vector<std::byte>(16, std::byte{1})});
    Track track;
    track.id = 1;
    track.format = format;
    track.timescale = videoTimescale;
    return track;
}

Track soundTrack()
{
    static const auto format = std::make_shared<const FormatDescription>(AudioFormat{"mp4a", 48000, 2, {std::byte{0x11}, std::byte{0x90}}});
    Track track;
    track.id = 2;
    track.format = format;
    track.timescale = 48000;
    track.edits = {{0, 1024}};
    return track;
}

void fill(Track& track, const std::vector<std::int64_t>& times, std::uint32_t lastDuration, std::uint64_t offset = 100)
{
    for (std::size_t i = 0; i < times.size(); ++i)
        ASSERT_TRUE(track.samples.append({offset + i * 10, 10, times[i], 0, i == 0}));
    track.samples.setLastDuration(lastDuration);
}

std::vector<std::int64_t> packets(std::int64_t start, int count)
{
    std::vector<std::int64_t> times;
    for (int i = 0; i < count; ++i)
        times.push_back(start + i * 1024);
    return times;
}

Movie recorded(Track video, std::optional<Track> sound = {})
{
    Movie movie;
    movie.timescale = sound ? 48000 : videoTimescale;
    movie.isFragmented = true;
    movie.tracks.push_back(std::move(video));
    if (sound)
        movie.tracks.push_back(std::move(*sound));
    return movie;
}

TEST(CloseRecordedMovie, TheLastPictureLastsUntilTheSoundEnds)
{
    auto video = videoTrack();
    fill(video, {0, 3000, 6000}, 3000);
    auto sound = soundTrack();
    fill(sound, packets(0, 11), 1024);
    auto movie = recorded(std::move(video), std::move(sound));
    closeRecordedMovie(movie, {{}, {9600}});  // 0.2 s
    EXPECT_EQ(movie.tracks[0].samples.lastDuration(), 12000U);
    EXPECT_EQ(presentationDuration(movie, movie.tracks[0]), (MediaTime{18000, 90000}));
    EXPECT_EQ(presentationDuration(movie), (MediaTime{1, 5}));
}

TEST(CloseRecordedMovie, TheLastPictureLastsNoLongerThanHalfASecond)
{
    auto video = videoTrack();
    fill(video, {0, 3000}, 3000);
    auto sound = soundTrack();
    fill(sound, packets(0, 100), 1024);
    auto movie = recorded(std::move(video), std::move(sound));
    closeRecordedMovie(movie, {{}, {96000}});
    EXPECT_EQ(movie.tracks[0].samples.lastDuration(), 45000U);
    EXPECT_EQ(presentationDuration(movie), (MediaTime{2, 1}));
}

TEST(CloseRecordedMovie, WithoutSoundTheLastPictureHasItsOwnDurationOfAtMostHalfASecond)
{
    for (const auto& [duration, expected] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{{1500, 1500}, {0, 1}, {900000, 45000}}) {
        auto video = videoTrack();
        fill(video, {0, 3000}, duration);
        auto movie = recorded(std::move(video));
        closeRecordedMovie(movie, {});
        EXPECT_EQ(movie.tracks[0].samples.lastDuration(), expected);
    }
}

TEST(CloseRecordedMovie, ASoundThatEndsBeforeTheLastPictureDoesNotShortenIt)
{
    auto video = videoTrack();
    fill(video, {0, 90000}, 3000);
    auto sound = soundTrack();
    fill(sound, packets(0, 11), 1024);
    auto movie = recorded(std::move(video), std::move(sound));
    closeRecordedMovie(movie, {{}, {9600}});
    EXPECT_EQ(movie.tracks[0].samples.lastDuration(), 3000U);
}

TEST(CloseRecordedMovie, CutsPrimingAndPaddingOfTheSoundAndKeepsALateStart)
{
    auto video = videoTrack();
    fill(video, {0}, 3000);
    auto sound = soundTrack();
    fill(sound, packets(777, 5), 1024);
    auto movie = recorded(std::move(video), std::move(sound));
    closeRecordedMovie(movie, {{}, {3500}});
    EXPECT_THAT(movie.tracks[0].edits, IsEmpty());
    EXPECT_THAT(movie.tracks[1].edits, ElementsAre(Edit{777, -1}, Edit{3500, 1024}));
    EXPECT_EQ(movie.tracks[1].samples.firstDecodeTime(), 0);
    EXPECT_EQ(movie.tracks[1].samples.duration(), 3500U + 1024);
    EXPECT_FALSE(movie.isFragmented);
}

TEST(CloseRecordedMovie, ShowsAllThatThePacketsHoldWhereTheEndIsNotKnown)
{
    auto sound = soundTrack();
    fill(sound, packets(0, 5), 1024);
    auto video = videoTrack();
    fill(video, {0}, 3000);
    auto movie = recorded(std::move(video), std::move(sound));
    closeRecordedMovie(movie, {});
    EXPECT_THAT(movie.tracks[1].edits, ElementsAre(Edit{4096, 1024}));
}

TEST(CloseRecordedMovie, NeverPlaysMoreSoundThanThereIs)
{
    auto sound = soundTrack();
    fill(sound, packets(0, 2), 1024);
    auto video = videoTrack();
    fill(video, {0}, 3000);
    auto movie = recorded(std::move(video), std::move(sound));
    closeRecordedMovie(movie, {{}, {5000}});
    EXPECT_THAT(movie.tracks[1].edits, ElementsAre(Edit{1024, 1024}));
}

TEST(CloseRecordedMovie, PicturesThatBeginLateKeepTheirPlace)
{
    auto video = videoTrack();
    fill(video, {9000, 12000}, 3000);
    auto movie = recorded(std::move(video));
    closeRecordedMovie(movie, {});
    EXPECT_THAT(movie.tracks[0].edits, ElementsAre(Edit{9000, -1}, Edit{6000, 0}));
    EXPECT_EQ(presentationDuration(movie), (MediaTime{15000, 90000}));
}

TEST(CloseRecordedMovie, LeavesEmptyTracksOut)
{
    auto video = videoTrack();
    fill(video, {0}, 3000);
    auto movie = recorded(std::move(video), soundTrack());
    closeRecordedMovie(movie, {{}, {0}});
    EXPECT_EQ(movie.tracks.size(), 1U);
}

TEST(Rescaled, RoundsToTheNearestAndDoesNotOverflow)
{
    EXPECT_EQ(rescaled(1, 3, 90000), 30000U);
    EXPECT_EQ(rescaled(1, 48000, 90000), 2U);
    EXPECT_EQ(rescaled(std::uint64_t{1} << 60, 90000, 48000), (std::uint64_t{1} << 60) / 15 * 8 + 1);
    EXPECT_EQ(rescaled(~std::uint64_t{0}, 1, 90000), ~std::uint64_t{0});
}

Movie roundTrip(const Movie& movie, std::uint64_t fileSize)
{
    const auto bytes = serializeMovie(movie);
    ByteReader reader{bytes};
    const auto box = nextBox(reader);
    EXPECT_TRUE(box && box->type == FourCharacterCode{"moov"} && reader.remaining() == 0);
    auto parsed = parseMovie(box->payload, fileSize);
    EXPECT_TRUE(parsed) << parsed.error().localizedDescription;
    return std::move(parsed->movie);
}

TEST(SerializeMovie, WhatIsWrittenReadsTheSame)
{
    auto movie = recorded(videoTrack(), soundTrack());
    movie.isFragmented = false;
    movie.creationTime = 3'800'000'000;
    movie.tracks[0].matrix = {0, 0x10000, 0, -0x10000, 0, 0, 0, 0, 0x40000000};
    movie.tracks[0].edits = {{500, -1}, {9000, 33}};
    auto& samples = movie.tracks[0].samples;
    ASSERT_TRUE(samples.append({1000, 10, 0, 6000, true}));
    ASSERT_TRUE(samples.append({1010, 20, 3000, -2000, false}));
    ASSERT_TRUE(samples.append({2000, 30, 4000, 0, false}));
    samples.setLastDuration(77);
    fill(movie.tracks[1], packets(0, 7), 512, 3000);

    const auto read = roundTrip(movie, 10000);
    EXPECT_EQ(read.timescale, movie.timescale);
    EXPECT_EQ(read.creationTime, movie.creationTime);
    ASSERT_EQ(read.tracks.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(read.tracks[i].samples.expanded(), movie.tracks[i].samples.expanded());
        EXPECT_EQ(read.tracks[i].edits, movie.tracks[i].edits);
        EXPECT_EQ(read.tracks[i].matrix, movie.tracks[i].matrix);
        EXPECT_EQ(read.tracks[i].id, movie.tracks[i].id);
        EXPECT_EQ(*read.tracks[i].format, *movie.tracks[i].format);
    }
    // Once more through the sample entries that were read.
    EXPECT_EQ(serializeMovie(read), serializeMovie(roundTrip(read, 10000)));
}

TEST(SerializeMovie, TimesAndOffsetsBeyond32BitsSurvive)
{
    auto movie = recorded(videoTrack());
    movie.isFragmented = false;
    auto& samples = movie.tracks[0].samples;
    const std::int64_t day = std::int64_t{86400} * videoTimescale;
    for (std::int64_t hour = 0; hour <= 24; ++hour)
        ASSERT_TRUE(samples.append({(std::uint64_t{5} << 32) + static_cast<std::uint64_t>(hour) * 100, 50, hour * day / 24, 0, true}));
    samples.setLastDuration(3000);
    movie.tracks[0].edits = {{static_cast<std::uint64_t>(day), std::int64_t{1} << 33}};
    const auto read = roundTrip(movie, std::uint64_t{6} << 32);
    EXPECT_EQ(read.tracks[0].samples.expanded(), samples.expanded());
    EXPECT_EQ(read.tracks[0].edits, movie.tracks[0].edits);
    EXPECT_EQ(presentationDuration(read), (MediaTime{86400, 1}));
}

TEST(SerializeMovie, TheIndexOfTenHoursStaysSmall)
{
    auto movie = recorded(videoTrack());
    movie.isFragmented = false;
    auto& samples = movie.tracks[0].samples;
    std::uint64_t offset = 1000;
    for (std::int64_t i = 0; i < std::int64_t{36000} * 30; ++i) {
        if (i % 24 == 0)
            offset += 500;
        ASSERT_TRUE(samples.append({offset, 30000, i * 3000 + i % 2, 0, i % 30 == 0}));
        offset += 30000;
    }
    // An uneven clock is the most costly: every sample has a duration of its own.
    EXPECT_LT(serializeMovie(movie).size(), std::size_t{36000} * 450);
}

TEST(CanDescribe, OnlyWhatTheFileFormatHoldsAndHasItsConfiguration)
{
    EXPECT_TRUE(canDescribe(*videoTrack().format));
    EXPECT_TRUE(canDescribe(*soundTrack().format));
    EXPECT_FALSE(canDescribe(FormatDescription{VideoFormat{"avc1", 640, 480, {}, {}}}));
    EXPECT_FALSE(canDescribe(FormatDescription{VideoFormat{"avc1", 70000, 480, {}, std::vector<std::byte>(16)}}));
    EXPECT_FALSE(canDescribe(FormatDescription{VideoFormat{"BGRA", 640, 480, {}, {}}}));
    EXPECT_FALSE(canDescribe(FormatDescription{AudioFormat{"lpcm", 48000, 2, {}}}));
}

TEST(SerializeMovie, SaysWhatColoursAreInEveryBit)
{
    for (const bool isFull : {false, true}) {
        auto track = videoTrack();
        auto format = *track.format->video();
        format.colour = {1, 13, 6, isFull};
        track.format = std::make_shared<const FormatDescription>(format);
        Movie movie;
        movie.timescale = 90000;
        movie.tracks.push_back(std::move(track));
        const auto bytes = serializeMovie(movie);
        const auto type = std::as_bytes(std::span{"colr", 4});
        const auto found = std::search(bytes.begin(), bytes.end(), type.begin(), type.end());
        ASSERT_GE(bytes.end() - found, 15);
        // ISO 14496-12 12.1.5: the last seven bits are 0.
        std::vector<int> written;
        for (auto byte = found; byte != found + 15; ++byte)
            written.push_back(static_cast<int>(*byte));
        EXPECT_EQ(written, (std::vector<int>{'c', 'o', 'l', 'r', 'n', 'c', 'l', 'x', 0, 1, 0, 13, 0, 6, isFull ? 0x80 : 0}));
    }
}

TEST(SerializeMovie, TheDescriptorsOfSoundEndWhereTheySay)
{
    Movie movie;
    movie.timescale = 48000;
    movie.tracks.push_back(soundTrack());
    const auto bytes = serializeMovie(movie);
    const auto type = std::as_bytes(std::span{"esds", 4});
    const auto found = std::search(bytes.begin(), bytes.end(), type.begin(), type.end());
    ASSERT_GE(bytes.end() - found, 47);
    // ISO 14496-1: a tag, the size in four bytes of seven bits, what is inside.
    const auto header = [](int tag, int size) { return std::vector<int>{tag, 0x80, 0x80, 0x80, size}; };
    std::vector<int> expected{'e', 's', 'd', 's', 0, 0, 0, 0};
    const auto append = [&](const std::vector<int>& more) { expected.insert(expected.end(), more.begin(), more.end()); };
    append(header(3, 34));
    append({0, 0, 0});
    append(header(4, 20));
    append({0x40, 0x15, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});  // no samples, no rate
    append(header(5, 2));
    append({0x11, 0x90});
    append(header(6, 1));
    append({2});
    std::vector<int> written;
    for (auto byte = found; byte != bytes.end() && written.size() < expected.size(); ++byte)
        written.push_back(static_cast<int>(*byte));
    EXPECT_EQ(written, expected);
    EXPECT_EQ(static_cast<std::size_t>(*(found - 1)), expected.size() + 4);
}

}  // namespace
}  // namespace velmora::mp4
