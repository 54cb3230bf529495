// What the adapters do where the system throws in the middle of a call that should have gone well.
#include "platform/fake/ManualExecutor.h"
#include "platform/mac/MacFileDrags.h"
#include "platform/mac/MacFolderChooser.h"
#include "platform/mac/MacPlayers.h"
#include "platform/mac/MacSharingServices.h"
#include "platform/mac/MacUserNotificationCenter.h"
#include "platform/mac/MacWorkspace.h"
#include "platform/mac/ScreenCapture.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/objc/ScreenCaptureKitStandIn.h"
#include "tests/platform/mac/objc/UserNotificationsStandIn.h"
#include "tests/platform/mac/standins/LogStandIn.h"

#include <future>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using platform::CaptureStream;
using platform::ShareableContent;
using testing::ElementsAre;
using testing::IsEmpty;

/// "The system has thrown ..." in the log, once for each.
std::vector<std::string> logged()
{
    std::vector<std::string> all;
    for (const auto& each : standin::takeLogLines())
        all.push_back(each.message);
    return all;
}
constexpr const char* saidInTheLog = "The system has thrown NSInternalInconsistencyException";

class MacExceptionsTest : public testing::Test {
protected:
    MacExceptionsTest() { standin::notifications() = {}; }
    ~MacExceptionsTest() override { standin::takeLogLines(); }
    MacExceptionsTest(const MacExceptionsTest&) = delete;
    MacExceptionsTest& operator=(const MacExceptionsTest&) = delete;

private:
    const ObjectCount count_{standin::resetAppKit};
};

TEST_F(MacExceptionsTest, WhatTheUserOpensOrRevealsIsLeftUnopened)
{
    const auto workspace = mac_backend::makeWorkspace();
    standin::throwFrom("openURL:");
    standin::throwFrom("activateFileViewerSelectingURLs:");
    workspace->open("/a.mp4");
    workspace->openURL("https://velmora.invalid/");
    workspace->activateFileViewerSelecting({"/a.mp4"});
    EXPECT_EQ(standin::thrownCount(), 3);
    EXPECT_THAT(logged(), ElementsAre(saidInTheLog, saidInTheLog, saidInTheLog));
    standin::throwFromNothing();
    workspace->open("/b.mp4");
    EXPECT_THAT(standin::appKit().opened, ElementsAre("/b.mp4"));
}

TEST_F(MacExceptionsTest, WhatIsSharedOrDraggedStaysWhereItIs)
{
    const auto sharing = mac_backend::makeSharingServices();
    const auto drags = mac_backend::makeFileDrags();
    standin::makeView();
    for (const auto* selector : {"performWithItems:", "writeObjects:", "beginDraggingSessionWithItems:"})
        standin::throwFrom(selector);
    sharing->perform("send-by-e-mail", "/a.mp4");
    sharing->perform(platform::copyFileService, "/a.mp4");
    drags->begin({"/a.mp4"}, nullptr);
    EXPECT_EQ(standin::thrownCount(), 3);
    standin::throwFromNothing();
    sharing->perform("send-by-e-mail", "/a.mp4");
    drags->begin({"/a.mp4"}, nullptr);
    EXPECT_THAT(standin::appKit().shared, testing::SizeIs(1));
    EXPECT_THAT(standin::appKit().drags, testing::SizeIs(1));
}

TEST_F(MacExceptionsTest, ADialogThatCannotBeOpenedIsAnsweredWithTheReasonOnce)
{
    const auto chooser = mac_backend::makeFolderChooser();
    standin::throwFrom("beginWithCompletionHandler:");
    std::vector<std::string> answers;
    const auto answer = [&answers](const Result<std::optional<std::filesystem::path>>& folder) {
        answers.push_back(folder ? "a folder" : folder.error().domain + ", " + folder.error().localizedDescription);
    };
    chooser->chooseFolder({"Title", "Choose", "/"}, answer);
    EXPECT_THAT(answers, ElementsAre("NSInternalInconsistencyException, beginWithCompletionHandler:"));
    standin::throwFromNothing();
    chooser->chooseFolder({"Title", "Choose", "/"}, answer);
    standin::chooseInDialog("/clips");
    EXPECT_THAT(answers, testing::SizeIs(2));
}

TEST_F(MacExceptionsTest, ANotificationThatThrowsIsAnsweredWithTheReasonOnce)
{
    const auto centres = mac_backend::makeUserNotificationCenters();
    standin::throwFrom("addNotificationRequest:");
    int answers = 0;
    centres.ordinary->add({}, [&answers](const Result<void>& result) {
        ++answers;
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().domain, standin::inconsistency);
    });
    EXPECT_EQ(answers, 1);
    standin::finishAnswers();
    EXPECT_EQ(answers, 1);
}

TEST_F(MacExceptionsTest, ACentreThatThrowsIsNoCentreUntilItDoesNot)
{
    const auto centres = mac_backend::makeUserNotificationCenters();
    standin::throwFrom("currentNotificationCenter");
    std::vector<platform::AuthorizationStatus> statuses;
    centres.ordinary->setNotificationCategories({});
    centres.ordinary->getAuthorizationStatus([&statuses](platform::AuthorizationStatus status) { statuses.push_back(status); });
    EXPECT_THAT(statuses, ElementsAre(platform::AuthorizationStatus::denied));
    EXPECT_FALSE(standin::hasNotificationDelegate());
    standin::throwFromNothing();
    centres.ordinary->setDelegate({});
    EXPECT_TRUE(standin::hasNotificationDelegate());
}

TEST_F(MacExceptionsTest, AClipThatThrowsCannotBePlayed)
{
    const auto players = mac_backend::makePlayers(std::make_shared<fake::ManualExecutor>());
    standin::throwFrom("playerItemWithURL:");
    const auto refused = players->makePlayer("/a.mp4");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().domain, standin::inconsistency);
    standin::throwFromNothing();
    const auto nameless = players->makePlayer("");
    ASSERT_FALSE(nameless);
    EXPECT_EQ(nameless.error().domain, standin::invalidArgument);
    EXPECT_TRUE(players->makePlayer("/a.mp4"));
}

class MacCaptureExceptionsTest : public testing::Test {
protected:
    MacCaptureExceptionsTest()
    {
        auto& desktop = standin::screenDesktop();
        desktop.windows = {{7, "Window", {{0, 0}, {64, 48}}, 0, true, 501}};
        desktop.frontToBack = {7};
        desktop.applications = {{501, "org.example.browser", "Browser"}};
    }
    ~MacCaptureExceptionsTest() override
    {
        // Its threads read what the next test sets.
        standin::settleScreenCapture();
        standin::throwFromNothing();
        standin::takeLogLines();
    }
    MacCaptureExceptionsTest(const MacCaptureExceptionsTest&) = delete;
    MacCaptureExceptionsTest& operator=(const MacCaptureExceptionsTest&) = delete;

    static Result<ShareableContent> list(const mac_backend::ScreenCapture& capture)
    {
        std::promise<Result<ShareableContent>> listed;
        capture.shareableContent->getShareableContent(
            false, false, [&](Result<ShareableContent> content) { listed.set_value(std::move(content)); });
        return listed.get_future().get();
    }

    static std::shared_ptr<CaptureStream> makeStream(const mac_backend::ScreenCapture& capture)
    {
        platform::ShareableWindow window;
        window.windowID = 7;
        platform::StreamConfiguration configuration;
        configuration.width = 64;
        configuration.height = 48;
        return capture.captureStreams->makeStream(platform::ContentFilter::desktopIndependentWindow(window), configuration, {});
    }

    using Ask = void (CaptureStream::*)(CaptureStream::Completion);
    static std::string answer(CaptureStream& stream, Ask ask)
    {
        std::promise<std::string> answered;
        (stream.*ask)([&](const Result<void>& result) { answered.set_value(result ? "done" : result.error().domain); });
        return answered.get_future().get();
    }

private:
    const ObjectCount count_{standin::resetScreenCapture};
};

TEST_F(MacCaptureExceptionsTest, AListThatThrowsIsAnError)
{
    const auto capture = mac_backend::makeScreenCapture();
    standin::throwFrom("getShareableContentExcludingDesktopWindows:");
    const auto content = list(capture);
    ASSERT_FALSE(content);
    EXPECT_EQ(content.error().domain, standin::inconsistency);
    standin::throwFromNothing();
    EXPECT_TRUE(list(capture));
}

TEST_F(MacCaptureExceptionsTest, AStartThatThrowsIsAnErrorAndLeavesNothingToStop)
{
    const auto capture = mac_backend::makeScreenCapture();
    ASSERT_TRUE(list(capture));
    auto stream = makeStream(capture);
    standin::throwFrom("startCaptureWithCompletionHandler:");
    EXPECT_EQ(answer(*stream, &CaptureStream::startCapture), standin::inconsistency);
    stream.reset();
    standin::settleScreenCapture();
    EXPECT_EQ(standin::streamRecord().stops, 0);
}

TEST_F(MacCaptureExceptionsTest, AStopThatThrowsIsAnswered)
{
    const auto capture = mac_backend::makeScreenCapture();
    ASSERT_TRUE(list(capture));
    const auto stream = makeStream(capture);
    EXPECT_EQ(answer(*stream, &CaptureStream::startCapture), "done");
    standin::throwFrom("stopCaptureWithCompletionHandler:");
    EXPECT_EQ(answer(*stream, &CaptureStream::stopCapture), standin::inconsistency);
}

TEST_F(MacCaptureExceptionsTest, AnOutputThatThrowsIsRefused)
{
    class Deaf final : public platform::StreamOutput {
        void streamDidOutputSampleBuffer(const CaptureStream&, const SampleBufferRef&, platform::StreamOutputType) override { }
    };
    const auto capture = mac_backend::makeScreenCapture();
    ASSERT_TRUE(list(capture));
    const auto stream = makeStream(capture);
    const auto output = std::make_shared<Deaf>();
    standin::throwFrom("addStreamOutput:");
    const auto added =
        stream->addStreamOutput(output, platform::StreamOutputType::screen, std::make_shared<SerialQueue>("com.velmora.tests.pictures"));
    ASSERT_FALSE(added);
    EXPECT_EQ(added.error().domain, standin::inconsistency);
}

}  // namespace
}  // namespace velmora::test
