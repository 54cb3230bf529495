// Pictures of a window that is shared over a real PipeWire server.
#include "platform/linux/portal/CastStream.h"

#include "engine/pictures/FitRectangle.h"
#include "platform/linux/portal/Errors.h"
#include "tests/engine/pictures/PictureRecorder.h"
#include "tests/platform/linux/portal/TestCast.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace velmora::linux_backend {
namespace {

/// What the stream tells whoever asked for it.
class Watcher {
public:
    CastStream::Callbacks callbacks()
    {
        return {
            .firstPicture =
                [this](std::int32_t width, std::int32_t height, const std::string& application) {
                    MutexLock lock(mutex_);
                    size_ = {0, 0, width, height};
                    application_ = application;
                    changed_.notifyAll();
                },
            .stopped =
                [this](const Error& error) {
                    MutexLock lock(mutex_);
                    error_ = error;
                    changed_.notifyAll();
                },
        };
    }

    /// Empty when none came.
    PixelRect waitForSize()
    {
        const auto deadline = std::chrono::steady_clock::now() + engine::patience;
        MutexLock lock(mutex_);
        while (!size_ && !error_ && changed_.waitUntil(mutex_, deadline)) { }
        return size_.value_or(PixelRect{});
    }

    /// As given with the size.
    std::string application()
    {
        MutexLock lock(mutex_);
        return application_;
    }

    std::optional<Error> waitForEnd()
    {
        const auto deadline = std::chrono::steady_clock::now() + engine::patience;
        MutexLock lock(mutex_);
        while (!error_ && changed_.waitUntil(mutex_, deadline)) { }
        return error_;
    }

private:
    Mutex mutex_;
    ConditionVariable changed_;
    std::optional<PixelRect> size_ GUARDED_BY(mutex_);
    std::string application_ GUARDED_BY(mutex_);
    std::optional<Error> error_ GUARDED_BY(mutex_);
};

class CastStreamTest : public testing::Test {
protected:
    void open()
    {
        auto opened = CastStream::create(TestCast::connectToServer(), cast->nodeID(), watcher.callbacks());
        ASSERT_TRUE(opened) << opened.error().localizedDescription;
        stream = std::move(*opened);
    }

    void attach(std::int64_t width = 640, std::int64_t height = 480)
    {
        const auto attached = stream->attach(engine::pictureSize(width, height), engine::nearestScalers(), recorder.callbacks());
        ASSERT_TRUE(attached) << attached.error().localizedDescription;
        attachment = *attached;
    }

    /// With the first frame, number 1, on the way.
    void openAndAttach()
    {
        open();
        cast->show(1);
        watcher.waitForSize();
        attach();
        waitForNumber(1);
    }

    void waitForNumber(std::uint32_t number)
    {
        recorder.waitFor("frame " + std::to_string(number), [&] {
            const auto pictures = recorder.pictures();
            return !pictures.empty() && pictures.back().reading.number() == number;
        });
    }

    /// Waits until that many sizes have.
    bool haveSettled(std::size_t count)
    {
        recorder.waitFor("a size that has settled", [&] { return recorder.settled().size() >= count; });
        return recorder.settled().size() >= count;
    }

    void expectNumbersAndNoOthers(const std::set<std::uint32_t>& numbers)
    {
        for (const auto& picture : recorder.pictures()) {
            ASSERT_TRUE(picture.reading.number()) << "picture " << picture.change.sequence;
            EXPECT_TRUE(numbers.contains(*picture.reading.number())) << *picture.reading.number();
        }
        EXPECT_EQ(recorder.complaints(), "");
    }

    std::unique_ptr<TestCast> cast = std::make_unique<TestCast>();
    Watcher watcher;
    engine::Recorder recorder;
    std::unique_ptr<CastStream> stream;
    CastStream::Attachment attachment = 0;
};

TEST_F(CastStreamTest, TheSizeOfTheWindowIsKnownWithItsFirstPicture)
{
    open();
    cast->show(1);
    EXPECT_EQ(watcher.waitForSize(), (PixelRect{0, 0, 640, 480}));
}

TEST_F(CastStreamTest, WhoComesLaterGetsTheNewestPicture)
{
    open();
    cast->show(1);
    watcher.waitForSize();
    attach();
    waitForNumber(1);
    EXPECT_EQ(recorder.pictures().front().reading.number(), 1U);
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, FramesComeInOrderAndWhole)
{
    openAndAttach();
    for (std::uint32_t number = 2; number <= 41; ++number) {
        cast->show(number);
        waitForNumber(number);
    }
    std::uint32_t last = 0;
    for (const auto& picture : recorder.pictures()) {
        ASSERT_TRUE(picture.reading.number()) << "picture " << picture.change.sequence;
        EXPECT_GE(*picture.reading.number(), last);
        last = *picture.reading.number();
    }
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, ColoursAreRightWhicheverOfThemComesFirst)
{
    cast = std::make_unique<TestCast>(TestCast::Options{.isRedFirst = true});
    openAndAttach();
    EXPECT_EQ(recorder.lastColours()[640 * 240 + 320], 0xc08040U);
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, OnlyTheCropIsTheWindow)
{
    open();
    cast->show({.number = 7, .crop = PixelRect{40, 30, 400, 300}, .damage = {}, .time = {}});
    EXPECT_EQ(watcher.waitForSize(), (PixelRect{0, 0, 400, 300}));
    attach(400, 300);
    waitForNumber(7);
    cast->show({.number = 8, .crop = PixelRect{100, 90, 400, 300}, .damage = {}, .time = {}});
    waitForNumber(8);
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, TheShadowWithinTheCropIsNotTheWindow)
{
    open();
    cast->show({.number = 7, .crop = PixelRect{20, 10, 500, 400}, .shadow = 30, .damage = {}, .time = {}});
    EXPECT_EQ(watcher.waitForSize(), (PixelRect{0, 0, 440, 340}));
    attach(440, 340);
    waitForNumber(7);
    // Of another crop.
    cast->show({.number = 8, .crop = PixelRect{0, 0, 460, 360}, .shadow = 10, .damage = {}, .time = {}});
    waitForNumber(8);
}

TEST_F(CastStreamTest, ACropThatChangesItsSizeIsFittedIn)
{
    openAndAttach();
    const auto fitted = engine::fitRectangle(300, 400, 640, 480);
    recorder.setPart({fitted.x, fitted.y, fitted.width, fitted.height});
    cast->show({.number = 9, .crop = PixelRect{20, 20, 300, 400}, .damage = {}, .time = {}});
    waitForNumber(9);
    EXPECT_EQ(recorder.lastColours()[0], 0U) << "beside the window it is black";
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, OnlyWhatIsDamagedIsTakenAnew)
{
    openAndAttach();
    // The upper strip shows the new number, the lower one still the old.
    cast->show({.number = 2, .crop = {}, .damage = {{0, 0, 640, 32}}, .time = {}, .drawsDamageOnly = true});
    recorder.waitFor("the damaged part", [&] { return recorder.pictures().back().reading.top == 2U; });
    const auto last = recorder.pictures().back();
    EXPECT_EQ(last.reading.bottom, 1U);
    const auto pictures = recorder.pictures();
    const auto changed = std::find_if(pictures.begin(), pictures.end(), [](const auto& picture) { return picture.reading.top == 2U; });
    EXPECT_EQ(changed->change.dirty, (std::vector<PixelRect>{{0, 0, 640, 32}}));
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, DamageIsCountedFromTheCrop)
{
    const PixelRect crop{40, 30, 400, 300};
    open();
    cast->show({.number = 1, .crop = crop, .damage = {}, .time = {}});
    watcher.waitForSize();
    attach(400, 300);
    waitForNumber(1);
    cast->show({.number = 2, .crop = crop, .damage = {{0, 0, 640, 50}}, .time = {}, .drawsDamageOnly = true});
    recorder.waitFor("the damaged part", [&] { return recorder.pictures().back().reading.top == 2U; });
    const auto pictures = recorder.pictures();
    const auto changed = std::find_if(pictures.begin(), pictures.end(), [](const auto& picture) { return picture.reading.top == 2U; });
    EXPECT_EQ(changed->change.dirty, (std::vector<PixelRect>{{0, 0, 400, 20}}));
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, CorruptAndEmptyBuffersAreSkipped)
{
    openAndAttach();
    cast->showInVain({.number = 77, .crop = {}, .damage = {}, .isCorrupt = true, .time = {}});
    cast->showInVain({.number = 78, .crop = {}, .damage = {}, .isEmpty = true, .time = {}});
    cast->show(2);
    waitForNumber(2);
    expectNumbersAndNoOthers({1, 2});
}

TEST_F(CastStreamTest, AfterASkippedBufferEverythingIsTakenAnew)
{
    openAndAttach();
    cast->showInVain({.number = 77, .crop = {}, .damage = {{0, 0, 640, 480}}, .isCorrupt = true, .time = {}});
    // Its damage covers less than has changed since the last picture that could be read.
    cast->show({.number = 2, .crop = {}, .damage = {{0, 0, 8, 8}}, .time = {}});
    waitForNumber(2);
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, AStillWindowIsRepeatedEveryHalfSecond)
{
    openAndAttach();
    cast->show(2);
    waitForNumber(2);
    recorder.waitForPictures(recorder.pictures().size() + 3);
    const auto pictures = recorder.pictures();
    std::size_t first = 0;
    while (pictures[first].reading.number() != 2U)
        ++first;
    for (auto index = first + 1; index < pictures.size(); ++index) {
        EXPECT_GE(pictures[index].time - pictures[index - 1].time, std::chrono::milliseconds{500});
        EXPECT_TRUE(pictures[index].change.dirty.empty());
        EXPECT_EQ(pictures[index].address, pictures[first].address);
    }
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, ABufferThatRepeatsTheOneBeforeIsNoNewPicture)
{
    const auto time = MonotonicClock::now();
    open();
    cast->show({.number = 1, .crop = {}, .damage = {}, .time = time});
    watcher.waitForSize();
    attach();
    waitForNumber(1);
    cast->showInVain({.number = 77, .crop = {}, .damage = {}, .time = time});
    cast->show({.number = 2, .crop = {}, .damage = {}, .time = MonotonicClock::now()});
    waitForNumber(2);
    expectNumbersAndNoOthers({1, 2});
}

TEST_F(CastStreamTest, APictureWhoseTimeStandsStillIsTakenWhenItIsDamaged)
{
    const auto time = MonotonicClock::now();
    open();
    cast->show({.number = 1, .crop = {}, .damage = {}, .time = time});
    watcher.waitForSize();
    attach();
    waitForNumber(1);
    cast->show({.number = 2, .crop = {}, .damage = {{0, 0, 640, 480}}, .time = time});
    waitForNumber(2);
    EXPECT_EQ(recorder.complaints(), "") << "time goes on";
}

TEST_F(CastStreamTest, AResizedWindowIsFittedIn)
{
    openAndAttach();
    const auto fitted = engine::fitRectangle(800, 400, 640, 480);
    cast->resize(800, 400);
    recorder.setPart({fitted.x, fitted.y, fitted.width, fitted.height});
    cast->show(2);
    waitForNumber(2);
    EXPECT_EQ(recorder.complaints(), "");
    EXPECT_TRUE(recorder.stops().empty());
}

TEST_F(CastStreamTest, AResizedWindowGoesOnInItsOwnSizeWhenToldTo)
{
    openAndAttach();
    std::uint32_t number = 1;
    for (const auto& [width, height] : {std::pair{801, 403}, std::pair{320, 240}}) {
        cast->resize(width, height);
        cast->show(++number);
        ASSERT_TRUE(haveSettled(number - 1));
        EXPECT_EQ(recorder.settled().back(), std::pair(width, height));
        const auto updated = stream->updateSize(attachment, width, height);
        ASSERT_TRUE(updated) << updated.error().localizedDescription;
        EXPECT_EQ(recorder.pictures().back().width, width);
        EXPECT_EQ(recorder.pictures().back().height, height);
        EXPECT_EQ(recorder.pictures().back().reading.number(), number);
        EXPECT_FALSE(stream->updateSize(attachment, width + 1, height)) << "which the window does not have";
        EXPECT_FALSE(stream->updateSize(attachment + 1, width, height)) << "of pictures that are not there";
        cast->show(number + 10);
        waitForNumber(number + 10);
        EXPECT_EQ(recorder.pictures().back().width, width);
    }
    EXPECT_EQ(recorder.complaints(), "");
    EXPECT_TRUE(recorder.stops().empty());
}

TEST_F(CastStreamTest, WithoutAPictureTheSizeIsNotUpdatedAndToldAgainASecondLater)
{
    openAndAttach();
    const PixelRect part{20, 10, 400, 300};
    cast->show({.number = 2, .crop = part, .damage = {}, .time = {}});
    ASSERT_TRUE(haveSettled(1));
    // In the new format there is no picture yet.
    const auto before = cast->connections();
    cast->resize(800, 600);
    cast->waitForConnections(before + 1);
    EXPECT_FALSE(stream->updateSize(attachment, part.width, part.height));
    cast->show({.number = 3, .crop = part, .damage = {}, .time = {}});
    ASSERT_TRUE(haveSettled(2));
    EXPECT_EQ(recorder.settled().back(), std::pair(part.width, part.height));
    EXPECT_TRUE(stream->updateSize(attachment, part.width, part.height));
    EXPECT_EQ(recorder.pictures().back().reading.number(), 3U);
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(CastStreamTest, AfterANewFormatWithoutPicturesTheStreamIsConnectedAnew)
{
    openAndAttach();
    const auto before = cast->connections();
    cast->resize(320, 240);
    cast->waitForConnections(before + 1);
    recorder.setPart({0, 0, 640, 480});
    cast->show(2);
    waitForNumber(2);
    EXPECT_EQ(recorder.complaints(), "");
    EXPECT_TRUE(recorder.stops().empty());
}

TEST_F(CastStreamTest, AFirstPictureThatIsLostIsFetchedByConnectingAnew)
{
    open();
    // The window stands still: the desktop sends no other before somebody connects.
    cast->showInVain({.number = 77, .crop = {}, .damage = {}, .isCorrupt = true, .time = {}});
    cast->waitForConnections(2);
    cast->show(1);
    EXPECT_EQ(watcher.waitForSize(), (PixelRect{0, 0, 640, 480}));
    attach();
    waitForNumber(1);
    expectNumbersAndNoOthers({1});
}

TEST_F(CastStreamTest, AFirstPictureThatIsLostAgainIsFetchedAgain)
{
    open();
    cast->waitForConnections(3);
    cast->show(1);
    EXPECT_EQ(watcher.waitForSize(), (PixelRect{0, 0, 640, 480}));
}

TEST_F(CastStreamTest, AfterALostFirstPictureANewFormatWithoutPicturesConnectsAnewToo)
{
    open();
    cast->waitForConnections(2);
    cast->show(1);
    watcher.waitForSize();
    attach();
    waitForNumber(1);
    const auto before = cast->connections();
    cast->resize(320, 240);
    cast->waitForConnections(before + 1);
    cast->show(2);
    waitForNumber(2);
    EXPECT_TRUE(recorder.stops().empty());
}

TEST_F(CastStreamTest, WhatChangedLastIsFetchedOnceTheWindowStandsStill)
{
    open();
    cast->showAndChange(1, 2);
    watcher.waitForSize();
    attach();
    waitForNumber(2);
    expectNumbersAndNoOthers({1, 2});
    EXPECT_TRUE(recorder.stops().empty());
    cast->showAndChange(3, 4);
    waitForNumber(4);
    expectNumbersAndNoOthers({1, 2, 3, 4});
}

TEST_F(CastStreamTest, AWindowThatShowedEverythingIsLookedAtOnceAndGivesNoNewPicture)
{
    openAndAttach();
    cast->waitForConnections(2);
    const auto first = recorder.pictures().back();
    // One every half second: looks could be due several times over.
    recorder.waitForPictures(recorder.pictures().size() + 6);
    EXPECT_EQ(cast->connections(), 2) << "the first, and the stream going on after a pause";
    const auto pictures = recorder.pictures();
    EXPECT_EQ(pictures.back().address, first.address);
    EXPECT_TRUE(pictures.back().change.dirty.empty());
    expectNumbersAndNoOthers({1});
}

TEST_F(CastStreamTest, ADesktopThatSharesEveryChangeIsNotAskedForMore)
{
    cast = std::make_unique<TestCast>(TestCast::Options{.name = "kwin-screencast-org.example.player"});
    openAndAttach();
    const auto before = cast->connections();
    recorder.waitForPictures(recorder.pictures().size() + 4);
    EXPECT_EQ(cast->connections(), before);
}

TEST_F(CastStreamTest, TheApplicationIsToldWhereTheNodesNameTellsIt)
{
    cast = std::make_unique<TestCast>(TestCast::Options{.name = "kwin-screencast-org.example.Player"});
    open();
    cast->show(1);
    watcher.waitForSize();
    EXPECT_EQ(watcher.application(), "org.example.Player");
}

TEST_F(CastStreamTest, ANodeOfAnyOtherNameTellsNoApplication)
{
    open();
    cast->show(1);
    watcher.waitForSize();
    EXPECT_EQ(watcher.application(), "");
}

TEST_F(CastStreamTest, AClosedWindowEndsTheStream)
{
    openAndAttach();
    cast->close();
    recorder.waitForStop();
    ASSERT_EQ(recorder.stops().size(), 1U);
    EXPECT_EQ(recorder.stops()[0].domain, "Velmora.Portal");
    EXPECT_FALSE(recorder.stops()[0].localizedDescription.empty());
    EXPECT_EQ(watcher.waitForEnd(), recorder.stops()[0]);
    EXPECT_FALSE(stream->attach(engine::pictureSize(640, 480), engine::nearestScalers(), recorder.callbacks()));
}

TEST_F(CastStreamTest, EndingTellsTheReasonOnce)
{
    openAndAttach();
    const Error reason{"Velmora.Portal", 3, "The desktop has ended the sharing.", nullptr};
    stream->end(reason);
    stream->end(reason);
    EXPECT_EQ(recorder.stops(), (std::vector<Error>{reason}));
}

TEST_F(CastStreamTest, AfterDetachingNothingComes)
{
    openAndAttach();
    stream->detach(attachment);
    const auto before = recorder.pictures().size();
    engine::Recorder second;
    ASSERT_TRUE(stream->attach(engine::pictureSize(640, 480), engine::nearestScalers(), second.callbacks()));
    cast->show(2);
    second.waitFor("frame 2", [&] { return !second.pictures().empty() && second.pictures().back().reading.number() == 2U; });
    stream.reset();
    EXPECT_EQ(recorder.pictures().size(), before);
}

TEST_F(CastStreamTest, WhenItEndsAmongPicturesNoneOfThemFindsItGone)
{
    // Large pictures take a while, so that one is under way at some of these ends.
    constexpr std::int32_t width = 1920;
    constexpr std::int32_t height = 1080;
    std::size_t pictures = 0;
    for (int ending = 0; ending < 12; ++ending) {
        cast = std::make_unique<TestCast>(TestCast::Options{.width = width, .height = height});
        open();
        cast->show(1);
        watcher.waitForSize();
        attach(width, height);
        for (std::uint32_t number = 2; number <= 6; ++number)
            cast->show(number);
        std::this_thread::sleep_for(std::chrono::milliseconds{ending % 8});
        stream.reset();
        EXPECT_GT(recorder.pictures().size(), pictures) << ending;
        pictures = recorder.pictures().size();
    }
}

TEST_F(CastStreamTest, WhoLetsGoLateDoesNotDetachItsSuccessor)
{
    openAndAttach();
    engine::Recorder second;
    ASSERT_TRUE(stream->attach(engine::pictureSize(640, 480), engine::nearestScalers(), second.callbacks()));
    stream->detach(attachment);
    cast->show(2);
    second.waitFor("frame 2", [&] { return !second.pictures().empty() && second.pictures().back().reading.number() == 2U; });
    stream.reset();
}

TEST(CastStream, AConnectionThatIsNoneIsAnError)
{
    Watcher watcher;
    const auto opened = CastStream::create(FileDescriptor{}, 42, watcher.callbacks());
    EXPECT_FALSE(opened);
}

}  // namespace
}  // namespace velmora::linux_backend
