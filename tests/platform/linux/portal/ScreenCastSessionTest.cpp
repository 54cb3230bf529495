// A window shared through the real portal: the desktop behind it is the test's.
#include "platform/linux/portal/ScreenCastSession.h"

#include "platform/linux/portal/CastStream.h"
#include "tests/engine/pictures/PictureRecorder.h"
#include "tests/platform/linux/portal/TestCast.h"
#include "tests/platform/linux/portal/TestPortal.h"

#include <atomic>
#include <gmock/gmock.h>

namespace velmora::linux_backend {
namespace {

using test::PrivateBus;

class ScreenCastSessionTest : public testing::Test {
protected:
    ~ScreenCastSessionTest() override { session.reset(); }

    void startPortal(uint sourceTypes = 3) { portal = std::make_unique<TestPortal>(bus, sourceTypes); }

    void open(const std::string& token = {})
    {
        answer.reset();
        session = std::make_unique<ScreenCastSession>(
            bus.address(), token, [this](auto window) { answer = std::move(window); }, [this] { ++closings; });
    }

    bool isAnswered()
    {
        return PrivateBus::runUntil([this] { return answer.has_value(); });
    }

    /// That of a window that the user has just chosen.
    std::string chosenToken()
    {
        portal->node = cast.nodeID();
        open();
        EXPECT_TRUE(isAnswered());
        EXPECT_TRUE(*answer && **answer);
        return *answer && **answer ? (**answer)->restoreToken : std::string{};
    }

    PrivateBus bus;
    TestCast cast;
    std::unique_ptr<TestPortal> portal;
    std::unique_ptr<ScreenCastSession> session;
    std::optional<Result<std::optional<SharedWindow>>> answer;
    int closings = 0;
};

TEST_F(ScreenCastSessionTest, TheDesktopIsAskedForOneWindowWithItsCursorUntilTheUserRevokesIt)
{
    startPortal();
    portal->node = cast.nodeID();
    open();
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(*answer) << answer->error().localizedDescription;
    ASSERT_TRUE(**answer);
    EXPECT_EQ((**answer)->nodeID, cast.nodeID());
    EXPECT_TRUE((**answer)->remote);
    EXPECT_FALSE((**answer)->restoreToken.empty());
    EXPECT_EQ(portal->dialogs, 1);
    EXPECT_EQ(portal->sources.value(QStringLiteral("types")).toUInt(), 2U);
    EXPECT_EQ(portal->sources.value(QStringLiteral("cursor_mode")).toUInt(), 2U);
    EXPECT_EQ(portal->sources.value(QStringLiteral("persist_mode")).toUInt(), 2U);
    EXPECT_FALSE(portal->sources.value(QStringLiteral("multiple")).toBool());
    EXPECT_EQ(closings, 0);
}

TEST_F(ScreenCastSessionTest, WhatItHandsOutShowsTheWindow)
{
    startPortal();
    portal->node = cast.nodeID();
    open();
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(*answer && **answer);
    engine::Recorder recorder;
    std::atomic<std::int32_t> width{0};
    auto stream = CastStream::create(std::move((**answer)->remote), (**answer)->nodeID,
        {.firstPicture = [&](std::int32_t w, std::int32_t, const std::string&) { width = w; }, .stopped = [](const Error&) {}});
    ASSERT_TRUE(stream) << stream.error().localizedDescription;
    cast.show(5);
    ASSERT_TRUE(PrivateBus::runUntil([&] { return width == 640; }));
    ASSERT_TRUE((*stream)->attach(engine::pictureSize(640, 480), engine::nearestScalers(), recorder.callbacks()));
    recorder.waitForPictures(1);
    EXPECT_EQ(recorder.pictures().front().reading.number(), 5U);
}

TEST_F(ScreenCastSessionTest, ATokenBringsTheWindowBackWithoutAQuestionAndANewTokenWithIt)
{
    startPortal();
    auto token = chosenToken();
    for (int round = 1; round <= 2; ++round) {
        session.reset();
        portal->node = 0;
        open(token);
        ASSERT_TRUE(isAnswered());
        ASSERT_TRUE(*answer && **answer);
        EXPECT_EQ((**answer)->nodeID, cast.nodeID());
        EXPECT_FALSE((**answer)->restoreToken.empty());
        EXPECT_EQ(portal->restored, round);
        token = (**answer)->restoreToken;
    }
    EXPECT_EQ(portal->dialogs, 1);
}

TEST_F(ScreenCastSessionTest, ATokenThatIsNotKnownBringsTheDialog)
{
    startPortal();
    portal->node = cast.nodeID();
    open("6a1c0b52-0000-4000-8000-000000000000");
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(*answer && **answer);
    EXPECT_EQ(portal->dialogs, 1);
    EXPECT_EQ(portal->restored, 0);
}

TEST_F(ScreenCastSessionTest, ADesktopThatRemembersNothingGivesNoToken)
{
    startPortal();
    portal->remembers = false;
    EXPECT_EQ(chosenToken(), "");
}

TEST_F(ScreenCastSessionTest, ACancelledChooserIsNoError)
{
    startPortal();
    portal->user = TestPortal::User::cancels;
    open();
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(answer->has_value());
    EXPECT_FALSE((*answer)->has_value());
}

TEST_F(ScreenCastSessionTest, AChooserThatFailsIsAnError)
{
    startPortal();
    portal->user = TestPortal::User::fails;
    open();
    ASSERT_TRUE(isAnswered());
    EXPECT_FALSE(answer->has_value());
}

TEST_F(ScreenCastSessionTest, TheUserMayTakeHisTime)
{
    startPortal();
    portal->user = TestPortal::User::thinks;
    portal->node = cast.nodeID();
    open();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return portal->dialogs == 1; }));
    EXPECT_FALSE(answer);
    portal->choose();
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(*answer && **answer);
}

TEST_F(ScreenCastSessionTest, LettingGoOfItClosesTheChooserAndNobodyIsTold)
{
    startPortal();
    portal->user = TestPortal::User::thinks;
    open();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return portal->dialogs == 1; }));
    session.reset();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return portal->dialogsClosed == 1 || portal->sessionsClosed == 1; }));
    EXPECT_FALSE(answer);
}

TEST_F(ScreenCastSessionTest, LettingGoOfItEndsTheSharing)
{
    startPortal();
    static_cast<void>(chosenToken());
    session.reset();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return portal->sessionsClosed == 1; }));
    EXPECT_EQ(closings, 0);
}

TEST_F(ScreenCastSessionTest, TheDesktopMayEndTheSharing)
{
    startPortal();
    static_cast<void>(chosenToken());
    portal->closeSession();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return closings == 1; }));
}

TEST_F(ScreenCastSessionTest, ADesktopThatSharesOnlyMonitorsIsAnError)
{
    startPortal(1);
    open();
    ASSERT_TRUE(isAnswered());
    ASSERT_FALSE(answer->has_value());
    EXPECT_THAT(answer->error().localizedDescription, testing::HasSubstr("cannot share single windows"));
    EXPECT_EQ(portal->dialogs, 0);
    std::optional<Result<void>> available;
    askWhetherWindowsCanBeShared(bus.address(), [&](Result<void> found) { available = std::move(found); });
    EXPECT_FALSE(available) << "it never answers at once";
    ASSERT_TRUE(PrivateBus::runUntil([&] { return available.has_value(); }));
    EXPECT_FALSE(*available);
}

TEST_F(ScreenCastSessionTest, WithoutABusThereIsAnError)
{
    session = std::make_unique<ScreenCastSession>(
        "unix:path=/nonexistent/bus", "", [this](auto window) { answer = std::move(window); }, [this] { ++closings; });
    ASSERT_TRUE(isAnswered());
    EXPECT_FALSE(answer->has_value());
}

TEST_F(ScreenCastSessionTest, NobodyIsToldAnythingOfOneThatIsGoneAtOnce)
{
    startPortal();
    portal->node = cast.nodeID();
    open();
    session.reset();
    const auto first = portal->dialogs;
    session = std::make_unique<ScreenCastSession>(
        bus.address(), "", [this](auto) { ++closings; }, [] {});
    ASSERT_TRUE(PrivateBus::runUntil([&] { return closings == 1; }));
    EXPECT_FALSE(answer);
    EXPECT_EQ(portal->dialogs, first + 1);
}

}  // namespace
}  // namespace velmora::linux_backend
