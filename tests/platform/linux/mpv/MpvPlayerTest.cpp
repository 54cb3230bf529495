#include "platform/linux/mpv/MpvPlayer.h"

#include "engine/files/AssetReader.h"
#include "engine/files/ExportSessions.h"
#include "platform/ExportSession.h"
#include "platform/linux/mpv/LinuxPlayers.h"
#include "tests/platform/linux/mpv/PumpedMainThread.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/ForeignClip.h"
#include "tests/support/media/WrittenClip.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmora::linux_backend {
namespace {

using namespace velmora::test;
using platform::Player;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::int32_t width = 320;
constexpr std::int32_t height = 240;

struct Drawing {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::byte> pixels;

    [[nodiscard]] std::uint8_t at(int x, int y, int channel) const
    {
        return std::to_integer<std::uint8_t>(pixels[static_cast<std::size_t>((y * width + x) * 4 + channel)]);
    }
};

/// A player whose pictures are drawn as they come.
class Viewer {
public:
    Viewer(std::filesystem::path file, std::shared_ptr<platform::AssetReader> reader, std::shared_ptr<PumpedMainThread> mainThread)
        : mainThread_(std::move(mainThread))
    {
        auto loadPictureTimes = [reader = std::move(reader), file](UniqueFunction<void(std::vector<MediaTime>)> completion) {
            reader->loadPictureTimes(file, [completion = std::move(completion)](Result<std::vector<MediaTime>> begins) mutable {
                completion(begins ? std::move(*begins) : std::vector<MediaTime>{});
            });
        };
        auto made = makeMpvPlayer(file, std::move(loadPictureTimes), mainThread_);
        if (!made)
            throw std::runtime_error(made.error().localizedDescription);
        player_ = std::move(*made);
        player_->setPictureObserver([this] { draw(); });
        player_->setFailureObserver([this](const Error& error) { errors.push_back(error); });
        player_->addPeriodicTimeObserver({1, 10}, [this](MediaTime time) { times.push_back(time); });
    }

    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    [[nodiscard]] Player* operator->() const { return player_.get(); }
    void close() { player_.reset(); }

    [[nodiscard]] std::optional<Drawing> drawing(std::int32_t drawnWidth = width, std::int32_t drawnHeight = height) const
    {
        Drawing drawing{drawnWidth, drawnHeight, std::vector<std::byte>(static_cast<std::size_t>(drawnWidth * drawnHeight) * 4)};
        const auto bytesPerRow = static_cast<std::size_t>(drawnWidth) * 4;
        if (!player_->drawPicture({drawing.pixels.data(), drawnWidth, drawnHeight, bytesPerRow}))
            return std::nullopt;
        return drawing;
    }

    [[nodiscard]] bool waitForPicture(int number)
    {
        return mainThread_->runUntil([&] { return !shown.empty() && shown.back() == number; });
    }
    [[nodiscard]] bool waitForFirstPicture() { return waitForPicture(0); }
    [[nodiscard]] bool waitForTime(MediaTime time)
    {
        return mainThread_->runUntil([&] { return !times.empty() && time <= times.back(); });
    }
    [[nodiscard]] bool waitForError()
    {
        return mainThread_->runUntil([&] { return !errors.empty(); });
    }

    std::vector<int> shown;  ///< the numbers of the pictures that were drawn
    std::vector<MediaTime> times;
    std::vector<Error> errors;

private:
    void draw()
    {
        const auto one = drawing();
        if (!one)
            return;
        std::vector<std::uint8_t> luma;
        for (std::size_t i = 1; i < one->pixels.size(); i += 4)
            luma.push_back(std::to_integer<std::uint8_t>(one->pixels[i]));
        shown.push_back(numberInPicture(luma.data(), width, width, height));
    }

    const std::shared_ptr<PumpedMainThread> mainThread_;
    std::unique_ptr<Player> player_;
};

/// Away from the machine's sound, and from whoever runs the tests: what is played is written to a file.
class MpvPlayerTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        for (const auto* name : {"HOME", "XDG_RUNTIME_DIR"})
            ::setenv(name, shared_->path().c_str(), 1);
        ::setenv("PULSE_SERVER", "unix:/nowhere", 1);
        ::unsetenv("XDG_CONFIG_HOME");
        writeSoundCard(shared_->path());
        writeClip(unevenFile(), unevenClip(5));
        uneven_ = decodeFile(unevenFile());
    }
    static void TearDownTestSuite() { shared_.reset(); }

    static void writeSoundCard(const std::filesystem::path& home)
    {
        std::ofstream{home / ".asoundrc"}
            << "pcm.!default { type plug slave { format S16_LE rate 48000 channels 2 pcm { type file format raw file \""
            << soundFile().string() << "\" slave.pcm { type null } } } }\n";
    }
    [[nodiscard]] static std::filesystem::path soundFile() { return shared_->path() / "sound.raw"; }

    /// The loudest sample of what was played last, of 32768.
    [[nodiscard]] static int loudestSample()
    {
        std::ifstream file{soundFile(), std::ios::binary};
        int loudest = 0;
        for (std::int16_t sample = 0; file.read(reinterpret_cast<char*>(&sample), sizeof sample);)
            loudest = std::max(loudest, std::abs(static_cast<int>(sample)));
        return loudest;
    }

    [[nodiscard]] static std::filesystem::path unevenFile() { return shared_->path() / "uneven.mp4"; }
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

    [[nodiscard]] Viewer view(const std::filesystem::path& file) const { return Viewer{file, reader_, mainThread_}; }

    [[nodiscard]] std::filesystem::path write(const std::string& name, const std::string& content) const
    {
        std::ofstream{path(name)} << content;
        return path(name);
    }

    /// A part of the uneven clip, as a person trims it.
    [[nodiscard]] std::filesystem::path trim(const TimeRange& range) const
    {
        const auto session = engine::makeExportSessions()->makeExportSession(unevenFile(), platform::ExportPreset::passthrough);
        (*session)->setOutputURL(path("part.mp4"));
        (*session)->setOutputFileType(platform::AssetFileType::mpeg4);
        (*session)->setTimeRange(range);
        std::promise<void> done;
        (*session)->exportAsynchronously([&done] { done.set_value(); });
        done.get_future().wait();
        EXPECT_EQ((*session)->status(), platform::ExportSession::Status::completed);
        return path("part.mp4");
    }

    /// Every `distance`th picture, by its beginning, by a time within it and by its last moment.
    void expectSeeksShowTheirPictures(const std::filesystem::path& file, std::size_t distance)
    {
        const auto decoded = decodeFile(file);
        ASSERT_FALSE(decoded.pictures.empty());
        auto viewer = view(file);
        ASSERT_TRUE(viewer.waitForPicture(decoded.pictures.front().number)) << testing::PrintToString(viewer.shown);
        constexpr double tick = 1.0 / 90'000;
        for (std::size_t i = 0; i < decoded.pictures.size(); i += distance) {
            const auto& picture = decoded.pictures[i];
            const double end = i + 1 < decoded.pictures.size() ? decoded.pictures[i + 1].time : decoded.duration;
            const std::size_t other = (i + decoded.pictures.size() / 2) % decoded.pictures.size();
            for (const double time : {picture.time + tick, (picture.time + end) / 2, end - 2 * tick}) {
                // Coming from elsewhere: what is shown anyway proves nothing.
                viewer->seek(MediaTime::fromSeconds(decoded.pictures[other].time + tick, 90'000));
                ASSERT_TRUE(viewer.waitForPicture(decoded.pictures[other].number)) << viewer.shown.back();
                viewer->seek(MediaTime::fromSeconds(time, 90'000));
                ASSERT_TRUE(viewer.waitForPicture(picture.number)) << time << " shows " << viewer.shown.back();
            }
        }
    }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    static inline DecodedFile uneven_;

    const TemporaryDirectory folder_;
    const std::shared_ptr<PumpedMainThread> mainThread_ = std::make_shared<PumpedMainThread>();
    const std::shared_ptr<engine::AssetReader> reader_ =
        std::make_shared<engine::AssetReader>([](const VideoFormat&, const engine::PictureRequest&) {
            return Result<std::unique_ptr<engine::PictureDecoder>>{fail("Velmora.Test", 1, "no pictures are decoded here")};
        });
};

MediaTime seconds(double value)
{
    return MediaTime::fromSeconds(value, 600);
}

/// The number of the picture that the uneven clip shows then.
int pictureAt(const DecodedFile& file, double time)
{
    int number = 0;
    for (const auto& picture : file.pictures) {
        if (picture.time <= time)
            number = picture.number;
    }
    return number;
}

TEST_F(MpvPlayerTest, BeginsPausedAtTheFirstPicture)
{
    auto viewer = view(unevenFile());
    EXPECT_FALSE(viewer.drawing()) << "there is none yet";
    ASSERT_TRUE(viewer.waitForFirstPicture());
    viewer->seek(seconds(1));
    ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, 1)));
    EXPECT_THAT(viewer.times, IsEmpty());
    EXPECT_THAT(viewer.errors, IsEmpty());
}

TEST_F(MpvPlayerTest, TheFirstPictureIsToldOfBeforePlayingHasBegun)
{
    auto viewer = view(unevenFile());
    int told = 0;
    viewer->setPictureObserver([&] { ++told; });
    // As nobody draws it, libmpv begins some time later all the same, which is told too.
    ASSERT_TRUE(mainThread_->runUntil([&] { return told == 2; })) << "told " << told << " times";
    EXPECT_TRUE(viewer.drawing());
    EXPECT_THAT(viewer.errors, IsEmpty());
}

TEST_F(MpvPlayerTest, NoneOfItsOwnScriptsIsRun)
{
    auto viewer = view(unevenFile());
    ASSERT_TRUE(viewer.waitForFirstPicture());
    std::vector<std::string> threads;
    for (const auto& task : std::filesystem::directory_iterator{"/proc/self/task"}) {
        std::string name;
        std::getline(std::ifstream{task.path() / "comm"}, name);
        threads.push_back(name);
    }
    EXPECT_THAT(threads, testing::Contains(testing::HasSubstr("mpv"))) << "looked at the wrong place";
    EXPECT_THAT(threads, Each(Not(testing::HasSubstr("script"))));
}

TEST_F(MpvPlayerTest, ASeekShowsThePictureOfThatTimeAlsoInAStillStretchAndAtUnevenTimes)
{
    expectSeeksShowTheirPictures(unevenFile(), 11);
}

TEST_F(MpvPlayerTest, ASeekInATrimmedClipCountsFromItsFirstShownPicture)
{
    // Key frames are 30 pictures apart: many come before the part, unseen.
    expectSeeksShowTheirPictures(trim({seconds(0.41), seconds(1.32)}), 7);
}

TEST_F(MpvPlayerTest, ASeekInAPartThatBeginsWithinAStillPictureShowsThatPicture)
{
    expectSeeksShowTheirPictures(trim({seconds(2.3), seconds(4.6)}), 1);
}

TEST_F(MpvPlayerTest, ASeekWherePicturesAreDecodedInAnotherOrderShowsThePictureOfThatTime)
{
    writeForeignClip(path("foreign.mp4"), {.pictureCount = 60, .rate = 30, .bFrames = 2});
    expectSeeksShowTheirPictures(path("foreign.mp4"), 5);
}

TEST_F(MpvPlayerTest, ASeekTellsPicturesApartThatFollowEachOtherWithinAFewMilliseconds)
{
    WrittenClip clip;
    for (int i = 0; i < 60; ++i)
        clip.pictures.push_back(MediaTime::nanoseconds(i / 2 * 30'000'000LL + i % 2 * 2'000'000));
    writeClip(path("close.mp4"), clip);
    expectSeeksShowTheirPictures(path("close.mp4"), 7);
}

TEST_F(MpvPlayerTest, ASeekToTheEndOrBehindItShowsTheLastPicture)
{
    auto viewer = view(unevenFile());
    for (const double time : {uneven_.duration, uneven_.duration + 0.01, 100'000.0}) {
        viewer->seek(MediaTime::zero());
        ASSERT_TRUE(viewer.waitForFirstPicture());
        viewer->seek(seconds(time));
        ASSERT_TRUE(viewer.waitForPicture(uneven_.pictures.back().number)) << time;
    }
}

TEST_F(MpvPlayerTest, OfABurstOfSeeksTheLastOnesPictureIsShown)
{
    auto viewer = view(unevenFile());
    for (int round = 1; round <= 3; ++round) {
        for (int i = 0; i < 60; ++i) {
            viewer->seek(seconds(0.1 * i));
            if (i % 4 == 0)
                mainThread_->runPending();
        }
        const double last = 1.5 * round;
        viewer->seek(seconds(last));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, last)));
    }
}

TEST_F(MpvPlayerTest, PlayingPausesByItselfAtTheEndTimeAndShowsNoPictureThatBeginsLater)
{
    auto viewer = view(unevenFile());
    ASSERT_TRUE(viewer.waitForFirstPicture());
    for (const double end : {0.31, 0.5, 3.25, 5.111}) {
        viewer->setForwardPlaybackEndTime(seconds(end));
        viewer->seek(seconds(end - 0.3));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, end - 0.3)));
        viewer.shown.clear();
        viewer.times.clear();
        viewer->play();
        ASSERT_TRUE(viewer.waitForTime(seconds(end)));
        EXPECT_EQ(viewer.times.back(), seconds(end));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, end))) << end << testing::PrintToString(viewer.shown);
        EXPECT_THAT(viewer.shown, Each(testing::Le(pictureAt(uneven_, end)))) << end;
        EXPECT_TRUE(std::is_sorted(viewer.shown.begin(), viewer.shown.end())) << end << testing::PrintToString(viewer.shown);
    }
}

TEST_F(MpvPlayerTest, PlayingAtTheEndTimeOrBehindItPausesAtOnce)
{
    auto viewer = view(unevenFile());
    viewer->setForwardPlaybackEndTime(seconds(1));
    for (const double time : {1.0, 1.5, 4.0}) {
        viewer->seek(seconds(time));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, time)));
        viewer.shown.clear();
        viewer.times.clear();
        viewer->play();
        EXPECT_THAT(viewer.times, IsEmpty()) << "nothing is reported within a call";
        ASSERT_TRUE(viewer.waitForTime(seconds(time)));
        EXPECT_THAT(viewer.times, ElementsAre(seconds(time)));
        // It is paused: another place can be looked at, and stays.
        viewer->seek(seconds(0.2));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, 0.2)));
        EXPECT_THAT(viewer.times, SizeIs(1));
    }
}

TEST_F(MpvPlayerTest, PlayingEndsWithTheFile)
{
    auto viewer = view(unevenFile());
    const auto& last = uneven_.pictures.back();
    viewer->seek(seconds(last.time - 0.3));
    ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, last.time - 0.3)));
    viewer->play();
    ASSERT_TRUE(viewer.waitForPicture(last.number));
    ASSERT_TRUE(viewer.waitForTime(seconds(last.time - 0.05)));
    const auto told = viewer.times.size();
    viewer->play();
    viewer->pause();
    ASSERT_TRUE(mainThread_->runUntil([&] { return viewer.times.size() > told; })) << "playing had paused, and does so again";
    EXPECT_EQ(viewer.shown.back(), last.number);
}

TEST_F(MpvPlayerTest, PlayingGoesOnFromAnEndThatWasMovedOrLeft)
{
    auto viewer = view(unevenFile());
    viewer->setForwardPlaybackEndTime(seconds(0.2));
    viewer->play();
    ASSERT_TRUE(viewer.waitForTime(seconds(0.2)));
    viewer->setForwardPlaybackEndTime(seconds(0.4));
    viewer->play();
    ASSERT_TRUE(viewer.waitForTime(seconds(0.4)));
    viewer.times.clear();
    viewer->seek(MediaTime::zero());
    viewer->play();
    ASSERT_TRUE(viewer.waitForTime(seconds(0.4)));
    EXPECT_EQ(viewer.times.back(), seconds(0.4));
    ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, 0.4)));
}

TEST_F(MpvPlayerTest, AnEndTimeThatIsSetWhilePlayingCounts)
{
    auto viewer = view(unevenFile());
    viewer->play();
    ASSERT_TRUE(mainThread_->runUntil([&] { return !viewer.times.empty(); }));
    viewer->setForwardPlaybackEndTime(seconds(0.9));
    ASSERT_TRUE(viewer.waitForTime(seconds(0.9)));
    EXPECT_EQ(viewer.times.back(), seconds(0.9));
    ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, 0.9)));
}

TEST_F(MpvPlayerTest, WhilePlayingTimesAreToldNoMoreOftenThanAskedFor)
{
    auto viewer = view(unevenFile());
    viewer->setForwardPlaybackEndTime(seconds(1.5));
    viewer->play();
    ASSERT_TRUE(viewer.waitForTime(seconds(1.5)));
    ASSERT_GE(viewer.times.size(), 3U);
    for (std::size_t i = 1; i + 1 < viewer.times.size(); ++i)
        EXPECT_GE(viewer.times[i] - viewer.times[i - 1], (MediaTime{1, 10}));
}

TEST_F(MpvPlayerTest, PausedByHandItTellsTheTimeOfThePictureThatItShows)
{
    auto viewer = view(unevenFile());
    viewer->play();
    ASSERT_TRUE(viewer.waitForTime(seconds(0.2)));
    viewer->pause();
    const auto told = viewer.times.size();
    ASSERT_TRUE(mainThread_->runUntil([&] { return viewer.times.size() > told; }));
    const int shown = pictureAt(uneven_, viewer.times.back().seconds() + 1e-6);
    ASSERT_TRUE(viewer.waitForPicture(shown)) << viewer.shown.back();
    viewer->seek(viewer.times.back());
    viewer->setForwardPlaybackEndTime(viewer.times.back());
    viewer->play();
    ASSERT_TRUE(mainThread_->runUntil([&] { return viewer.times.size() > told + 1; }));
    EXPECT_EQ(viewer.shown.back(), shown);
}

TEST_F(MpvPlayerTest, AnObserverThatWasRemovedHearsNothingMore)
{
    auto viewer = view(unevenFile());
    int heard = 0;
    const auto token = viewer->addPeriodicTimeObserver({1, 10}, [&](MediaTime) { ++heard; });
    viewer->play();
    ASSERT_TRUE(mainThread_->runUntil([&] { return heard > 0; }));
    viewer->removeTimeObserver(token);
    const int before = heard;
    viewer->setForwardPlaybackEndTime(seconds(0.8));
    ASSERT_TRUE(viewer.waitForTime(seconds(0.8)));
    EXPECT_EQ(heard, before);
}

TEST_F(MpvPlayerTest, VolumeAndMutingAreHeardAndThoseOfThatPlayerAlone)
{
    const auto play = [this](const auto& prepare) {
        std::filesystem::remove(soundFile());
        {
            auto viewer = view(unevenFile());
            prepare(viewer);
            viewer->play();
            EXPECT_TRUE(viewer.waitForTime(seconds(0.7)));
        }
        EXPECT_TRUE(std::filesystem::exists(soundFile()) && std::filesystem::file_size(soundFile()) > 20'000);
        return loudestSample();
    };
    const int whole = play([](Viewer&) {});
    ASSERT_GT(whole, 3000);
    EXPECT_EQ(play([](Viewer& viewer) { viewer->setMuted(true); }), 0);
    const int part = play([](Viewer& viewer) {
        viewer->setMuted(true);
        viewer->setVolume(0.5);
        viewer->setMuted(false);
    });
    EXPECT_GT(part, 100);
    EXPECT_LT(part, whole / 2);
    EXPECT_EQ(play([](Viewer& viewer) { viewer->setVolume(0); }), 0);
    EXPECT_NEAR(play([](Viewer&) {}), whole, 0.02 * whole) << "nothing was kept";
}

TEST_F(MpvPlayerTest, APictureKeepsItsShapeWithOpaqueBlackAroundIt)
{
    auto viewer = view(unevenFile());
    ASSERT_TRUE(viewer.waitForFirstPicture());
    const auto drawing = viewer.drawing(640, 240);
    ASSERT_TRUE(drawing);
    for (const int x : {0, 80, 155, 484, 639}) {
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_EQ(drawing->at(x, 120, channel), 0) << x;
    }
    EXPECT_GT(drawing->at(320, 200, 1), 15);
    for (std::size_t i = 3; i < drawing->pixels.size(); i += 4)
        ASSERT_EQ(drawing->pixels[i], std::byte{0xff});
}

TEST_F(MpvPlayerTest, WhatIsNoMovieFailsOnceWithAMessage)
{
    std::filesystem::create_directory(path("folder.mp4"));
    for (const auto& file : {write("text.mp4", "This is no film."), write("empty.mp4", ""), path("missing.mp4"), path("folder.mp4"),
             write("list.mp4", "#EXTM3U\n" + unevenFile().string() + "\n"), write("list.m3u", unevenFile().string() + "\n"),
             write("list.edl", "# mpv EDL v0\n" + unevenFile().string() + "\n"),
             write("list.cue", "FILE \"" + unevenFile().string() + "\" MP4\n TRACK 01 AUDIO\n  INDEX 01 00:00:00\n")}) {
        auto viewer = view(file);
        ASSERT_TRUE(viewer.waitForError()) << file;
        mainThread_->runPending();
        EXPECT_THAT(viewer.errors, SizeIs(1)) << file;
        EXPECT_EQ(viewer.errors.front().domain, mpvErrorDomain);
        EXPECT_THAT(viewer.errors.front().localizedDescription, Not(IsEmpty()));
        EXPECT_THAT(viewer.shown, IsEmpty());
        // What is asked of it now does nothing.
        viewer->seek(seconds(1));
        viewer->play();
        viewer->pause();
        mainThread_->runPending();
        EXPECT_FALSE(viewer.drawing());
    }
}

TEST_F(MpvPlayerTest, AFilesNameIsNothingButAName)
{
    for (const auto* name : {"a b.mp4", "%n #1 \"it's\".mp4", "edl:%5%x.mp4", "línea\nnueva.mp4", "--pause=no.mp4", "${HOME}.mp4"}) {
        std::filesystem::copy_file(unevenFile(), path(name));
        auto viewer = view(path(name));
        viewer->seek(seconds(1));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, 1))) << name;
    }
}

TEST_F(MpvPlayerTest, TwoAtOnceKeepApart)
{
    writeForeignClip(path("foreign.mp4"), {.pictureCount = 60, .rate = 30});
    auto first = view(unevenFile());
    auto second = view(path("foreign.mp4"));
    first->seek(seconds(1));
    second->seek(seconds(1));
    ASSERT_TRUE(first.waitForPicture(pictureAt(uneven_, 1)));
    ASSERT_TRUE(second.waitForPicture(30));
    first->setForwardPlaybackEndTime(seconds(1.3));
    second->setForwardPlaybackEndTime(seconds(1.5));
    first->play();
    second->play();
    ASSERT_TRUE(first.waitForTime(seconds(1.3)));
    first.close();
    ASSERT_TRUE(second.waitForTime(seconds(1.5)));
    EXPECT_EQ(first.times.back(), seconds(1.3));
    ASSERT_TRUE(second.waitForPicture(45));
}

TEST_F(MpvPlayerTest, TheUsersConfigurationAndScriptsCountForNothing)
{
    const auto evidence = path("evidence");
    for (const auto& folder : {path(".config/mpv"), path(".mpv"), path("mpv")}) {
        std::filesystem::create_directories(folder / "scripts");
        std::ofstream{folder / "mpv.conf"} << "pause=no\nstart=3\nspeed=50\nloop-file=inf\nlog-file=" << (path("evidence-log")).string()
                                           << "\n";
        std::ofstream{folder / "scripts" / "evil.lua"} << "io.open('" << evidence.string() << "', 'w'):close()\n";
    }
    std::ofstream{path("clip.mp4.conf")} << "start=3\n";
    std::ofstream{path("mpv.conf")} << "start=3\n";
    std::ofstream{path("clip.srt")} << "1\n00:00:00,000 --> 00:01:00,000\nwords\n";
    std::filesystem::copy_file(unevenFile(), path("clip.mp4"));
    writeSoundCard(folder_.path());
    ::setenv("HOME", folder_.path().c_str(), 1);
    ::setenv("MPV_HOME", path("mpv").c_str(), 1);
    {
        auto viewer = view(path("clip.mp4"));
        ASSERT_TRUE(viewer.waitForFirstPicture());
        viewer->setForwardPlaybackEndTime(seconds(0.3));
        viewer->play();
        ASSERT_TRUE(viewer.waitForTime(seconds(0.3)));
        EXPECT_EQ(viewer.times.back(), seconds(0.3));
        ASSERT_TRUE(viewer.waitForPicture(pictureAt(uneven_, 0.3)));
    }
    ::setenv("HOME", shared_->path().c_str(), 1);
    ::unsetenv("MPV_HOME");
    EXPECT_FALSE(std::filesystem::exists(evidence));
    EXPECT_FALSE(std::filesystem::exists(path("evidence-log")));
    EXPECT_FALSE(std::filesystem::exists(path(".config/mpv/watch_later")));
}

TEST_F(MpvPlayerTest, ClosedWhileItLoadsSeeksOrPlaysItTellsNothingMore)
{
    for (int steps = 0; steps < 12; ++steps) {
        auto viewer = view(unevenFile());
        int heard = 0;
        viewer->setPictureObserver([&heard] { ++heard; });
        for (int i = 0; i < steps; ++i) {
            viewer->seek(seconds(0.3 * i));
            mainThread_->runPending();
        }
        viewer->play();
        ASSERT_TRUE(mainThread_->runUntil([&] { return steps % 3 != 2 || !viewer.times.empty(); }));
        const int before = heard;
        const auto told = viewer.times.size();
        viewer.close();
        mainThread_->runPending();
        EXPECT_EQ(heard, before);
        EXPECT_THAT(viewer.times, SizeIs(told));
    }
}

TEST_F(MpvPlayerTest, ItCanBeClosedByWhatItTells)
{
    {
        auto viewer = view(unevenFile());
        viewer->addPeriodicTimeObserver({1, 10}, [&](MediaTime) { viewer.close(); });
        bool isHeardBehind = false;
        viewer->addPeriodicTimeObserver({1, 10}, [&](MediaTime) { isHeardBehind = true; });
        viewer->play();
        ASSERT_TRUE(mainThread_->runUntil([&] { return !viewer.times.empty(); }));
        mainThread_->runPending();
        EXPECT_FALSE(isHeardBehind);
    }
    {
        auto viewer = view(path("missing.mp4"));
        bool isClosed = false;
        viewer->setFailureObserver([&](const Error&) {
            viewer.close();
            isClosed = true;
        });
        ASSERT_TRUE(mainThread_->runUntil([&] { return isClosed; }));
        mainThread_->runPending();
    }
}

TEST_F(MpvPlayerTest, WhatPlayersNeedIsLoadedOnAnotherThreadAndToldOfOnThisOneEachTime)
{
    const auto players = makePlayers(reader_, mainThread_);
    int told = 0;
    players->prepare([&told] { ++told; });
    players->prepare([&told] { ++told; });
    EXPECT_EQ(told, 0) << "loading takes longer than these calls";
    ASSERT_TRUE(mainThread_->runUntil([&told] { return told == 2; }));
    players->prepare([&told] { ++told; });
    EXPECT_EQ(told, 3) << "at once";
    EXPECT_TRUE(players->makePlayer(unevenFile()));
}

TEST_F(MpvPlayerTest, PlayersThatGoWhileTheirPartsAreBeingLoadedStillAnswer)
{
    int told = 0;
    makePlayers(reader_, mainThread_)->prepare([&told] { ++told; });
    EXPECT_TRUE(mainThread_->runUntil([&told] { return told == 1; }));
}

}  // namespace
}  // namespace velmora::linux_backend
