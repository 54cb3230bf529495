// From the picker's entry to pictures: the real portal and a real PipeWire, the desktop behind them the test's.
#include "platform/linux/portal/PortalShareableContent.h"

#include "base/Mutex.h"
#include "engine/pictures/PictureStream.h"
#include "platform/linux/portal/PortalScreenCaptureAccess.h"
#include "platform/linux/portal/ScreenCastSession.h"
#include "tests/engine/pictures/PictureRecorder.h"
#include "tests/platform/linux/portal/TestCast.h"
#include "tests/platform/linux/portal/TestPortal.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QTimer>

#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::PrivateBus;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

/// The thread of the test, whose events PrivateBus::runUntil() runs.
class TestThread final : public Executor {
public:
    void async(UniqueFunction<void()> work) override
    {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [shared = std::make_shared<UniqueFunction<void()>>(std::move(work))] {
                (*shared)();
                shared->reset();
            },
            Qt::QueuedConnection);
    }
};

class PortalShareableContentTest : public testing::Test {
protected:
    PortalShareableContentTest() { portal.node = cast->nodeID(); }

    ~PortalShareableContentTest() override
    {
        source.reset();
        content.reset();
        // What was to be released on this thread.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    std::shared_ptr<PortalShareableContent> makeContent(
        std::chrono::milliseconds firstPicture = engine::patience, std::chrono::milliseconds unclaimed = engine::patience)
    {
        return std::make_shared<PortalShareableContent>(executor,
            PortalShareableContentOptions{.busAddress = bus.address(),
                .grantsFile = directory.path() / "grants.json",
                .firstPicturePatience = firstPicture,
                .unclaimedPatience = unclaimed,
                .listSoundStreams = [this] {
                    MutexLock lock(mutex);
                    return streams;
                }});
    }

    void play(std::vector<engine::SoundStream> playing)
    {
        MutexLock lock(mutex);
        streams = std::move(playing);
    }

    /// None when the window has no choice of sounds.
    std::optional<platform::SoundChoices> soundChoices(std::uint32_t id)
    {
        bool isAnswered = false;
        std::optional<platform::SoundChoices> choices;
        content->getSoundChoices(id, [&](auto offered) {
            isAnswered = true;
            choices = std::move(offered);
        });
        EXPECT_FALSE(isAnswered) << "not before the call has returned";
        EXPECT_TRUE(PrivateBus::runUntil([&] { return isAnswered; }));
        return choices;
    }

    /// The user chooses the application with that name among those offered.
    void choose(std::uint32_t id, const std::string& name)
    {
        const auto choices = soundChoices(id);
        ASSERT_TRUE(choices);
        for (const auto& each : choices->applications) {
            if (each.application.applicationName == name)
                return content->chooseSound(id, {each.application});
        }
        FAIL() << name << " is not offered";
    }

    std::vector<platform::ShareableWindow> windows(bool onScreenOnly = false)
    {
        std::vector<platform::ShareableWindow> result;
        content->getShareableContent(true, onScreenOnly, [&](Result<platform::ShareableContent> answered) {
            ASSERT_TRUE(answered);
            result = std::move(answered->windows);
        });
        return result;
    }

    void request(std::uint32_t id)
    {
        answer.reset();
        content->requestWindow(id, [this](auto window) { answer = std::move(window); });
    }

    bool isAnswered()
    {
        return PrivateBus::runUntil([this] { return answer.has_value(); });
    }

    /// The user chooses the test's window, which shows frame 1.
    platform::ShareableWindow grant(std::uint32_t id = PortalShareableContent::chooserID)
    {
        request(id);
        // It waits for somebody who takes pictures, which this thread has to bring about.
        std::thread window{[this] { cast->show(1); }};
        EXPECT_TRUE(isAnswered());
        window.join();
        if (!answer || !*answer || !**answer) {
            ADD_FAILURE() << "nothing was granted: " << (answer && !*answer ? answer->error().localizedDescription : "cancelled");
            return {};
        }
        return ***answer;
    }

    void start(const platform::ShareableWindow& window)
    {
        source = content->makeVideoSource(window.windowID,
            engine::pictureSize(static_cast<std::int64_t>(window.frame.width), static_cast<std::int64_t>(window.frame.height)),
            engine::nearestScalers());
        const auto started = source->start(recorder.callbacks());
        ASSERT_TRUE(started) << started.error().localizedDescription;
    }

    PrivateBus bus;
    Mutex mutex;
    Result<std::vector<engine::SoundStream>> streams GUARDED_BY(mutex) = std::vector<engine::SoundStream>{};
    std::unique_ptr<TestCast> cast = std::make_unique<TestCast>();
    TestPortal portal{bus};
    test::TemporaryDirectory directory;
    std::shared_ptr<Executor> executor = std::make_shared<TestThread>();
    std::shared_ptr<PortalShareableContent> content = makeContent();
    std::optional<Result<std::optional<platform::ShareableWindow>>> answer;
    std::unique_ptr<engine::VideoSource> source;
    engine::Recorder recorder;
};

TEST_F(PortalShareableContentTest, AtFirstThereIsOnlyTheDesktopsChooserAndNothingOnScreen)
{
    ASSERT_THAT(windows(), SizeIs(1));
    EXPECT_EQ(windows()[0].windowID, PortalShareableContent::chooserID);
    EXPECT_TRUE(content->needsRequest(PortalShareableContent::chooserID));
    EXPECT_FALSE(content->needsRequest(77));
    EXPECT_THAT(windows(true), SizeIs(0));
    EXPECT_EQ(portal.dialogs, 0);
}

TEST_F(PortalShareableContentTest, AChosenWindowIsOnScreenWithItsSizeAndShowsItsPictures)
{
    const auto window = grant();
    EXPECT_EQ(window.frame, (Rect{0, 0, 640, 480}));
    EXPECT_TRUE(window.isOnScreen);
    EXPECT_NE(window.windowID, PortalShareableContent::chooserID);
    EXPECT_THAT(windows(true), ElementsAre(window));
    start(window);
    recorder.waitForPictures(1);
    EXPECT_EQ(recorder.pictures().front().reading.number(), 1U);
    cast->show(2);
    recorder.waitFor("frame 2", [&] { return recorder.pictures().back().reading.number() == 2U; });
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(PortalShareableContentTest, AChosenWindowThatIsResizedGoesOnInItsOwnSizeWhenToldTo)
{
    start(grant());
    recorder.waitForPictures(1);
    cast->resize(800, 400);
    cast->show(2);
    recorder.waitFor("a size that has settled", [&] { return !recorder.settled().empty(); });
    EXPECT_TRUE(source->updateSize(800, 400));
    EXPECT_EQ(recorder.pictures().back().width, 800);
    EXPECT_EQ(recorder.pictures().back().reading.number(), 2U);
    EXPECT_EQ(recorder.complaints(), "");
    source->stop();
}

TEST_F(PortalShareableContentTest, AWindowThatStandsStillIsRepeatedForWhoWantsAPicture)
{
    start(grant());
    recorder.waitForPictures(1);
    bool cameAtOnce = false;
    // By itself no picture ever comes sooner. One that is wanted may be late on a busy machine, but not each time.
    for (int attempt = 0; attempt < 20 && !cameAtOnce; ++attempt) {
        const auto before = recorder.pictures().size();
        source->wantPicture();
        recorder.waitForPictures(before + 1);
        const auto pictures = recorder.pictures();
        cameAtOnce = pictures[before].time - pictures[before - 1].time < engine::PictureStream::repeatInterval;
    }
    EXPECT_TRUE(cameAtOnce);
    EXPECT_EQ(recorder.pictures().back().reading.number(), 1U);
    EXPECT_EQ(recorder.complaints(), "");
}

TEST_F(PortalShareableContentTest, ACancelledChooserGrantsNothing)
{
    portal.user = TestPortal::User::cancels;
    request(PortalShareableContent::chooserID);
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(answer->has_value());
    EXPECT_FALSE((*answer)->has_value());
    EXPECT_THAT(windows(), SizeIs(1));
}

TEST_F(PortalShareableContentTest, TheEndOfTheStreamEndsTheSharing)
{
    start(grant());
    source->stop();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return portal.sessionsClosed == 1; }));
    EXPECT_THAT(windows(true), SizeIs(0));
    EXPECT_TRUE(recorder.stops().empty());
}

TEST_F(PortalShareableContentTest, AGrantedWindowIsListedByTheNextProgramAndNeedsNoQuestion)
{
    const auto window = grant();
    content.reset();
    cast->waitUntilAlone();
    content = makeContent();
    ASSERT_THAT(windows(), SizeIs(2));
    EXPECT_EQ(windows()[0].windowID, window.windowID);
    EXPECT_EQ(windows()[0].chosenAt, window.chosenAt);
    EXPECT_EQ(windows()[0].frame, window.frame);
    EXPECT_FALSE(windows()[0].isOnScreen);
    EXPECT_EQ(grant(window.windowID), window);
    EXPECT_EQ(portal.dialogs, 1);
    EXPECT_EQ(portal.restored, 1);
    start(window);
    recorder.waitForPictures(1);
}

TEST_F(PortalShareableContentTest, AWindowThatIsSharedAlreadyIsGrantedAgainAtOnceAndTakenOver)
{
    const auto window = grant();
    start(window);
    request(window.windowID);
    ASSERT_TRUE(isAnswered());
    auto first = std::move(source);
    engine::Recorder second;
    source = content->makeVideoSource(window.windowID, engine::pictureSize(640, 480), engine::nearestScalers());
    ASSERT_TRUE(source->start(second.callbacks()));
    first->stop();
    cast->show(9);
    second.waitFor("frame 9", [&] { return !second.pictures().empty() && second.pictures().back().reading.number() == 9U; });
    source.reset();
    EXPECT_EQ(portal.dialogs, 1);
    EXPECT_EQ(portal.restored, 0);
}

TEST_F(PortalShareableContentTest, ADesktopThatEndsTheSharingStopsTheStreamWithAReason)
{
    start(grant());
    portal.closeSession();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return !recorder.stops().empty(); }));
    EXPECT_THAT(recorder.stops()[0].localizedDescription, HasSubstr("no longer shares the window"));
    EXPECT_THAT(windows(true), SizeIs(0));
    EXPECT_THAT(windows(), SizeIs(2)) << "the grant stays";
}

TEST_F(PortalShareableContentTest, AClosedWindowStopsTheStream)
{
    start(grant());
    cast->close();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return !recorder.stops().empty(); }));
    EXPECT_TRUE(PrivateBus::runUntil([&] { return windows(true).empty(); }));
}

TEST_F(PortalShareableContentTest, AWindowWithoutAPictureIsAnError)
{
    content = makeContent(std::chrono::milliseconds{1});
    request(PortalShareableContent::chooserID);
    ASSERT_TRUE(isAnswered());
    ASSERT_FALSE(answer->has_value());
    EXPECT_THAT(answer->error().localizedDescription, HasSubstr("no picture"));
    EXPECT_TRUE(PrivateBus::runUntil([&] { return portal.sessionsClosed == 1; }));
}

TEST_F(PortalShareableContentTest, AGrantThatNobodyUsesIsGivenBack)
{
    content = makeContent(engine::patience, std::chrono::milliseconds{1});
    const auto window = grant();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return portal.sessionsClosed == 1; }));
    source = content->makeVideoSource(window.windowID, engine::pictureSize(640, 480), engine::nearestScalers());
    EXPECT_FALSE(source->start(recorder.callbacks()));
}

TEST_F(PortalShareableContentTest, ALaterRequestCancelsTheFirst)
{
    portal.user = TestPortal::User::thinks;
    bool isCancelled = false;
    content->requestWindow(PortalShareableContent::chooserID, [&](auto window) { isCancelled = window && !*window; });
    ASSERT_TRUE(PrivateBus::runUntil([&] { return portal.dialogs == 1; }));
    portal.user = TestPortal::User::choosesAtOnce;
    static_cast<void>(grant());
    EXPECT_TRUE(isCancelled);
}

engine::SoundStream playing(const std::string& name, bool isPlaying = true)
{
    return {{0, false, name, name + "-bin", {}}, name + "'s film", isPlaying};
}

std::vector<std::string> names(const platform::SoundChoices& choices)
{
    std::vector<std::string> result;
    for (const auto& each : choices.applications)
        result.push_back(each.application.applicationName);
    return result;
}

/// The names of those of which that is so.
std::vector<std::string> names(const platform::SoundChoices& choices, bool platform::AudibleApplication::*fact)
{
    std::vector<std::string> result;
    for (const auto& each : choices.applications) {
        if (each.*fact)
            result.push_back(each.application.applicationName);
    }
    return result;
}

constexpr auto ownsWindow = &platform::AudibleApplication::ownsWindow;
constexpr auto wasChosen = &platform::AudibleApplication::wasChosen;

TEST_F(PortalShareableContentTest, WithoutASoundServerThereIsNoSoundToChoose)
{
    const auto window = grant();
    {
        MutexLock lock(mutex);
        streams = fail("Velmora.Test", 1, "No sound server.");
    }
    EXPECT_FALSE(soundChoices(window.windowID));
    EXPECT_FALSE(content->audioTarget(window.windowID));
}

TEST_F(PortalShareableContentTest, AWindowThatIsNotGrantedHasNoSoundToChoose)
{
    play({playing("Player")});
    EXPECT_FALSE(soundChoices(PortalShareableContent::chooserID));
    EXPECT_FALSE(soundChoices(77));
}

TEST_F(PortalShareableContentTest, ApplicationsThatSoundAreOfferedThoseThatPlayFirst)
{
    const auto window = grant();
    play({playing("Waiting", false), playing("Player")});
    const auto choices = soundChoices(window.windowID);
    ASSERT_TRUE(choices);
    EXPECT_THAT(names(*choices), ElementsAre("Player", "Waiting"));
    EXPECT_EQ(choices->applications[0], (platform::AudibleApplication{{"Player-bin", "Player", 0}, "Player's film", true}));
    EXPECT_FALSE(choices->applications[1].isPlaying);
    EXPECT_THAT(names(*choices, ownsWindow), SizeIs(0)) << "this desktop does not tell";
    EXPECT_THAT(names(*choices, wasChosen), SizeIs(0));
    EXPECT_FALSE(choices->wasNoSoundChosen);
    EXPECT_FALSE(content->audioTarget(window.windowID)) << "nobody has chosen";
}

TEST_F(PortalShareableContentTest, TheChosenSoundIsTheWindowsAndNoSoundIsNone)
{
    const auto window = grant();
    play({playing("Player"), playing("Browser")});
    choose(window.windowID, "Browser");
    const auto target = content->audioTarget(window.windowID);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->applicationName, "Browser");
    EXPECT_EQ(target->bundleIdentifier, "Browser-bin");
    EXPECT_TRUE(target->isFollowedByName);
    EXPECT_FALSE(content->audioTarget(77));
    content->chooseSound(window.windowID, {});
    EXPECT_FALSE(content->audioTarget(window.windowID));
}

TEST_F(PortalShareableContentTest, TheNextProgramKnowsWhatWasChosenAndOffersItEvenWhenItIsNotThere)
{
    const auto window = grant();
    play({playing("Player"), playing("Browser")});
    choose(window.windowID, "Player");
    content.reset();
    cast->waitUntilAlone();
    content = makeContent();
    grant(window.windowID);
    auto choices = soundChoices(window.windowID);
    ASSERT_TRUE(choices);
    EXPECT_THAT(names(*choices, wasChosen), ElementsAre("Player"));
    EXPECT_THAT(names(*choices), ElementsAre("Browser", "Player"));
    play({playing("Browser")});
    choices = soundChoices(window.windowID);
    EXPECT_THAT(names(*choices, wasChosen), ElementsAre("Player"));
    EXPECT_THAT(names(*choices), ElementsAre("Browser", "Player"));
    EXPECT_FALSE(choices->applications[1].isPlaying);
    choose(window.windowID, "Player");
    EXPECT_EQ(content->audioTarget(window.windowID)->applicationName, "Player");
}

TEST_F(PortalShareableContentTest, NoSoundIsRememberedToo)
{
    const auto window = grant();
    play({playing("Player")});
    static_cast<void>(soundChoices(window.windowID));
    content->chooseSound(window.windowID, {});
    content.reset();
    cast->waitUntilAlone();
    content = makeContent();
    grant(window.windowID);
    EXPECT_TRUE(soundChoices(window.windowID)->wasNoSoundChosen);
    EXPECT_THAT(names(*soundChoices(window.windowID), wasChosen), SizeIs(0));
}

TEST_F(PortalShareableContentTest, OfTwoInstancesOfWhatWasChosenItIsSaidOfBoth)
{
    const auto window = grant();
    auto first = playing("Player");
    auto second = playing("Player");
    first.identity.portalApplicationID = "org.example.Player";
    play({first});
    choose(window.windowID, "Player");
    first.identity.portalApplicationID.clear();
    second.identity.processID = ::getppid();
    second.identity.processIDIsCertain = true;
    play({first, second});
    EXPECT_THAT(names(*soundChoices(window.windowID), wasChosen), ElementsAre("Player", "Player"));
}

TEST_F(PortalShareableContentTest, WhereTheDesktopTellsTheApplicationOfTheWindowItIsSaidOfThatOne)
{
    cast = std::make_unique<TestCast>(TestCast::Options{.name = "kwin-screencast-org.example.player"});
    portal.node = cast->nodeID();
    const auto window = grant();
    play({playing("Browser"), playing("Player")});
    const auto choices = soundChoices(window.windowID);
    ASSERT_TRUE(choices);
    EXPECT_THAT(names(*choices, ownsWindow), ElementsAre("Player"));
    play({playing("Browser")});
    EXPECT_THAT(names(*soundChoices(window.windowID), ownsWindow), SizeIs(0)) << "it does not sound";
    choose(window.windowID, "Browser");
    play({playing("Browser"), playing("Player")});
    EXPECT_THAT(names(*soundChoices(window.windowID), ownsWindow), ElementsAre("Player"));
    EXPECT_THAT(names(*soundChoices(window.windowID), wasChosen), ElementsAre("Browser"));
}

TEST_F(PortalShareableContentTest, AWindowWhoseSoundIsBeingChosenStaysGrantedUntilItIsGivenBack)
{
    content = makeContent(engine::patience, std::chrono::milliseconds{200});
    const auto window = grant();
    play({playing("Player")});
    ASSERT_TRUE(soundChoices(window.windowID));
    // Longer than a window that nobody takes waits.
    bool isOver = false;
    QTimer::singleShot(600, [&] { isOver = true; });
    PrivateBus::runUntil([&] { return isOver; });
    EXPECT_EQ(portal.sessionsClosed, 0);
    content->giveBackWindow(window.windowID);
    EXPECT_TRUE(PrivateBus::runUntil([&] { return portal.sessionsClosed == 1; }));
}

TEST_F(PortalShareableContentTest, GivingBackAWindowThatIsCapturedChangesNothing)
{
    const auto window = grant();
    start(window);
    content->giveBackWindow(window.windowID);
    cast->show(2);
    recorder.waitFor("frame 2", [&] { return !recorder.pictures().empty() && recorder.pictures().back().reading.number() == 2U; });
    EXPECT_THAT(windows(true), SizeIs(1));
}

TEST_F(PortalShareableContentTest, ADesktopThatRemembersNothingLeavesNoEntryBehind)
{
    portal.remembers = false;
    static_cast<void>(grant());
    EXPECT_THAT(windows(), SizeIs(2));
    content.reset();
    content = makeContent();
    EXPECT_THAT(windows(), SizeIs(1));
}

TEST_F(PortalShareableContentTest, AnAccessThatIsThereIsTakenForGrantedWhileThePortalIsAsked)
{
    PortalScreenCaptureAccess access{bus.address()};
    int changes = 0;
    access.observeAccess([&] { ++changes; });
    EXPECT_TRUE(access.preflightScreenCaptureAccess());
    // The portal answers what it is asked in order, so that the first answer is there by now.
    bool isAsked = false;
    askWhetherWindowsCanBeShared(bus.address(), [&](const Result<void>& available) {
        EXPECT_TRUE(available);
        isAsked = true;
    });
    ASSERT_TRUE(PrivateBus::runUntil([&] { return isAsked; }));
    EXPECT_TRUE(access.requestScreenCaptureAccess());
    EXPECT_EQ(access.explanation(), "");
    EXPECT_EQ(changes, 0);
}

TEST(PortalScreenCaptureAccess, WithoutABusThereIsNoneWhichIsToldOnce)
{
    const PrivateBus events;
    PortalScreenCaptureAccess access{"unix:path=/nonexistent/bus"};
    int changes = 0;
    access.observeAccess([&] {
        ++changes;
        EXPECT_FALSE(access.preflightScreenCaptureAccess());
    });
    static_cast<void>(access.preflightScreenCaptureAccess());
    ASSERT_TRUE(PrivateBus::runUntil([&] { return changes == 1; }));
    EXPECT_NE(access.explanation(), "");
    // What the observer has asked is answered too, and changes nothing.
    QCoreApplication::processEvents();
    EXPECT_EQ(changes, 1);
}

}  // namespace
}  // namespace velmora::linux_backend
