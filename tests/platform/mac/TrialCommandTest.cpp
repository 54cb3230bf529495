#include "app/mac/TrialCommand.h"

#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCaptureStream.h"
#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeScreens.h"
#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <utility>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

TEST(TrialRequest, IsOneOfFive)
{
    EXPECT_EQ(trial::parse({"doctor"})->kind, trial::Request::Kind::doctor);
    EXPECT_EQ(trial::parse({"shell"})->kind, trial::Request::Kind::shell);
    EXPECT_EQ(trial::parse({"permission"})->kind, trial::Request::Kind::permission);
    EXPECT_EQ(trial::parse({"windows"})->kind, trial::Request::Kind::windows);
    const auto record = trial::parse({"record", "7", "60", "/clips/größe \xFF.mp4"});
    ASSERT_TRUE(record);
    EXPECT_EQ(record->kind, trial::Request::Kind::record);
    EXPECT_EQ(record->windowID, 7U);
    EXPECT_EQ(record->duration, std::chrono::seconds{60});
    EXPECT_EQ(record->output, "/clips/größe \xFF.mp4");
}

TEST(TrialRequest, IsNoneForAnythingElse)
{
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{}, {"other"}, {"windows", "x"}, {"doctor", "x"},
             {"shell", ""}, {"record"}, {"record", "7", "60"}, {"record", "7", "60", ""}, {"record", "x", "60", "f"},
             {"record", "7", "0", "f"}, {"record", "7", "-1", "f"}, {"record", "7", "6x", "f"}, {"record", "99999999999", "6", "f"}})
        EXPECT_FALSE(trial::parse(arguments)) << testing::PrintToString(arguments);
}

class TrialCommandTest : public testing::Test {
protected:
    TrialCommandTest()
    {
        services_.screenCaptureAccess = access_;
        services_.shareableContent = content_;
        services_.captureStreams = std::make_shared<fake::FakeCaptureStreams>();
        services_.compressionSessions = std::make_shared<fake::FakeCompressionSessions>();
        services_.assetWriters = std::make_shared<fake::FakeAssetWriters>();
        services_.fileManager = std::make_shared<fake::FakeFileManager>();
        services_.screens = std::make_shared<fake::FakeScreens>();
        content_->content.displays = {{1, {0, 0, 1920, 1080}}};
        content_->content.windows = {{.windowID = 7,
                                         .title = "Größe",
                                         .frame = {0, 0, 640, 480},
                                         .windowLayer = 0,
                                         .isOnScreen = true,
                                         .owningApplication = platform::RunningApplication{"org.example.browser", "Browser", 501}},
            {.windowID = 8, .title = std::nullopt, .frame = {0, 0, 20, 10}, .windowLayer = 0, .isOnScreen = true, .owningApplication = {}},
            {.windowID = 9, .title = "Menu", .frame = {0, 0, 20, 10}, .windowLayer = 25, .isOnScreen = true, .owningApplication = {}}};
    }

    void start(const trial::Request& request)
    {
        trial_ = startTrial(request, services_,
            {.mainExecutor = executor_,
                .later =
                    [this](std::chrono::milliseconds delay, UniqueFunction<void()> work) {
                        delays_.push_back(delay);
                        later_.push_back(std::move(work));
                    },
                .print = [this](const std::string& line) { lines_.push_back(line); },
                .end = [this](int status) { ends_.push_back(status); },
                .inspect = [this] { return facts_; },
                .makeStatusBarItem = [this](const BarPicture&) { return std::make_unique<Item>(*this); },
                .makePanel = [this] { return std::make_unique<Panel>(panelSteps_); }});
    }

    /// What the system would show.
    class Item final : public StatusBarItem {
    public:
        explicit Item(TrialCommandTest& test) : test_(test) { }
        void setToolTip(const std::string&) override { }
        void setMenuDelegate(MenuDelegate delegate) override { test_.menu_ = std::move(delegate); }
        void setPicture(const BarPicture& picture) override { test_.picture_ = picture; }
        void popUpMenu() override { }

    private:
        TrialCommandTest& test_;
    };
    class Panel final : public FloatingPanel {
    public:
        explicit Panel(std::vector<std::string>& steps) : steps_(steps) { }
        void setContentView(std::uint64_t) override { }
        void place() override { steps_.emplace_back("place"); }
        void orderFrontAndFadeIn() override { steps_.emplace_back("in"); }
        void fadeOutAndOrderOut(std::chrono::milliseconds) override { steps_.emplace_back("out"); }

    private:
        std::vector<std::string>& steps_;
    };

    void choose(MenuAction action)
    {
        for (const auto& each : menu_.menuNeedsUpdate()) {
            if (each.action == action)
                return menu_.menuItemTriggered(each);
        }
        ADD_FAILURE() << "no such row";
    }

    void runMain() const
    {
        while (executor_->runOne()) { }
    }

    /// The time has come for what was asked for last.
    void passTime()
    {
        auto due = std::exchange(later_, {});
        for (auto& each : due)
            each();
        runMain();
    }

    const std::shared_ptr<fake::ManualExecutor> executor_ = std::make_shared<fake::ManualExecutor>();
    const std::shared_ptr<fake::FakeScreenCaptureAccess> access_ = std::make_shared<fake::FakeScreenCaptureAccess>();
    const std::shared_ptr<fake::FakeShareableContent> content_ = std::make_shared<fake::FakeShareableContent>();
    platform::DesktopFacts facts_;
    platform::PlatformServices services_;
    std::vector<std::chrono::milliseconds> delays_;
    std::vector<UniqueFunction<void()>> later_;
    std::vector<std::string> lines_;
    std::vector<int> ends_;
    StatusBarItem::MenuDelegate menu_;
    BarPicture picture_;
    std::vector<std::string> panelSteps_;
    std::unique_ptr<TrialCommand> trial_;
};

TEST_F(TrialCommandTest, NothingHappensBeforeTheMainLoopRuns)
{
    start({});
    EXPECT_THAT(lines_, IsEmpty());
    EXPECT_THAT(ends_, IsEmpty());
}

TEST_F(TrialCommandTest, PermissionIsAskedForOnlyWhereThereIsNone)
{
    start({});
    runMain();
    EXPECT_THAT(ends_, ElementsAre(0));
    EXPECT_EQ(access_->requestCount, 0);

    ends_.clear();
    access_->isGranted = false;
    access_->answer = false;
    access_->reason = "It has to be started again.";
    start({});
    runMain();
    EXPECT_THAT(ends_, ElementsAre(1));
    EXPECT_EQ(access_->requestCount, 1);
    EXPECT_EQ(lines_.back(), "It has to be started again.");
}

TEST_F(TrialCommandTest, ListsOrdinaryWindows)
{
    start({.kind = trial::Request::Kind::windows, .output = {}});
    runMain();
    EXPECT_THAT(lines_, ElementsAre("7  640 x 480  Browser: Größe", "8  20 x 10  "));
    EXPECT_THAT(ends_, ElementsAre(0));
}

TEST_F(TrialCommandTest, AWindowThatIsNotThereIsAFailureInWords)
{
    start({.kind = trial::Request::Kind::record, .windowID = 77, .duration = std::chrono::seconds{3}, .output = "/clips/a.mp4"});
    runMain();
    ASSERT_FALSE(lines_.empty());
    EXPECT_THAT(lines_.back(), StartsWith("Failed: "));
    EXPECT_THAT(ends_, ElementsAre(1));
}

TEST_F(TrialCommandTest, ARecordingBeginsWhenTheEncoderHasBegunAndIsSavedOnceItsTimeIsOver)
{
    const TemporaryDirectory folder;
    start({.kind = trial::Request::Kind::record, .windowID = 7, .duration = std::chrono::seconds{3}, .output = folder.path() / "a.mp4"});
    runMain();
    EXPECT_THAT(lines_, ElementsAre("Capturing."));
    passTime();
    EXPECT_THAT(lines_, ElementsAre("Capturing.", "Recording."));
    EXPECT_THAT(delays_, ElementsAre(std::chrono::milliseconds{500}, std::chrono::milliseconds{3000}));
    EXPECT_THAT(ends_, IsEmpty());
    passTime();
    executor_->runUntil([this] { return !ends_.empty(); });
    EXPECT_THAT(ends_, ElementsAre(0));
    EXPECT_EQ(lines_.back(), "Saved " + (folder.path() / "a.mp4").native());
}

TEST_F(TrialCommandTest, TheDoctorSaysWhatStandsInTheWay)
{
    facts_.encoders.tried = {{"VideoToolbox", platform::DesktopFacts::Encoder::Outcome::works, {}, false}};
    facts_.disk.freeBytes = 100'000'000'000;
    start({.kind = trial::Request::Kind::doctor, .output = {}});
    runMain();
    EXPECT_EQ(lines_.size(), 6U);
    EXPECT_EQ(lines_.back(), "Nothing stands in the way of a recording.");
    EXPECT_THAT(ends_, ElementsAre(0));

    facts_.display.failure = "the screen may not be captured";
    ends_.clear();
    start({.kind = trial::Request::Kind::doctor, .output = {}});
    runMain();
    EXPECT_EQ(lines_.back(), "Nothing can be recorded until the faults above are mended.");
    EXPECT_THAT(ends_, ElementsAre(1));
}

TEST_F(TrialCommandTest, TheShellHasAnItemWithAMenuThatShowsThePanelAndQuits)
{
    start({.kind = trial::Request::Kind::shell, .output = {}});
    runMain();
    EXPECT_TRUE(picture_.isTemplate);
    ASSERT_EQ(picture_.representations.size(), 2U);
    EXPECT_EQ(picture_.representations[1].side, 36);
    EXPECT_EQ(picture_.representations[1].rgba.size(), 36U * 36 * 4);
    choose(MenuAction::toggleRecording);
    choose(MenuAction::toggleRecording);
    EXPECT_THAT(panelSteps_, ElementsAre("place", "in", "out"));
    EXPECT_THAT(ends_, IsEmpty());
    choose(MenuAction::quit);
    EXPECT_THAT(ends_, ElementsAre(0));
}

TEST_F(TrialCommandTest, WhatComesAfterItsEndIsNotHeard)
{
    start({.kind = trial::Request::Kind::windows, .output = {}});
    trial_.reset();
    runMain();
    EXPECT_THAT(lines_, IsEmpty());
    EXPECT_THAT(ends_, IsEmpty());
}

}  // namespace
}  // namespace velmora::test
