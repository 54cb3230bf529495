// From the picker's entry to pictures: the real portal and a real PipeWire, the desktop behind them the test's.
#include "platform/linux/portal/PortalShareableContent.h"

#include "platform/linux/portal/PortalScreenCaptureAccess.h"
#include "platform/linux/portal/ScreenCastSession.h"
#include "tests/platform/linux/pictures/PictureRecorder.h"
#include "tests/platform/linux/portal/TestCast.h"
#include "tests/platform/linux/portal/TestPortal.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <gmock/gmock.h>
#include <thread>

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
        QDBusConnection::disconnectFromBus(QStringLiteral("velmora-portal"));
    }

    std::shared_ptr<PortalShareableContent> makeContent(
        std::chrono::milliseconds firstPicture = patience, std::chrono::milliseconds unclaimed = patience)
    {
        return std::make_shared<PortalShareableContent>(executor,
            PortalShareableContentOptions{.busAddress = bus.address(),
                .grantsFile = directory.path() / "grants.json",
                .firstPicturePatience = firstPicture,
                .unclaimedPatience = unclaimed});
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
            pictureSize(static_cast<std::int64_t>(window.frame.width), static_cast<std::int64_t>(window.frame.height)), nearestScalers());
        const auto started = source->start(recorder.callbacks());
        ASSERT_TRUE(started) << started.error().localizedDescription;
    }

    PrivateBus bus;
    std::unique_ptr<TestCast> cast = std::make_unique<TestCast>();
    TestPortal portal{bus};
    test::TemporaryDirectory directory;
    std::shared_ptr<Executor> executor = std::make_shared<TestThread>();
    std::shared_ptr<PortalShareableContent> content = makeContent();
    std::optional<Result<std::optional<platform::ShareableWindow>>> answer;
    std::unique_ptr<VideoSource> source;
    Recorder recorder;
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
    EXPECT_EQ(windows()[0].title, window.title);
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
    Recorder second;
    source = content->makeVideoSource(window.windowID, pictureSize(640, 480), nearestScalers());
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
    content = makeContent(patience, std::chrono::milliseconds{1});
    const auto window = grant();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return portal.sessionsClosed == 1; }));
    source = content->makeVideoSource(window.windowID, pictureSize(640, 480), nearestScalers());
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
    // What the observer has asked is answered, too, and changes nothing.
    QCoreApplication::processEvents();
    EXPECT_EQ(changes, 1);
    QDBusConnection::disconnectFromBus(QStringLiteral("velmora-portal"));
}

}  // namespace
}  // namespace velmora::linux_backend
