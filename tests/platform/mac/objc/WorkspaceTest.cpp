// The adapter of the workspace on its stand-ins.
#include "platform/mac/MacWorkspace.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/FolderStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/standins/PowerStandIn.h"

#include <gmock/gmock.h>
#include <utility>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MacWorkspaceTest : public testing::Test {
protected:
    MacWorkspaceTest() { standin::power() = {}; }
    ~MacWorkspaceTest() override
    {
        workspace_.reset();
        EXPECT_EQ(standin::foundationObserverCount(), 0U);
        EXPECT_EQ(standin::power().connections, 0);
    }
    MacWorkspaceTest(const MacWorkspaceTest&) = delete;
    MacWorkspaceTest& operator=(const MacWorkspaceTest&) = delete;

private:
    const ObjectCount count_{standin::resetAppKit};

protected:
    std::shared_ptr<platform::Workspace> workspace_ = mac_backend::makeWorkspace();
};

TEST_F(MacWorkspaceTest, OpensFilesOfAnyNameAndLinks)
{
    workspace_->open("/clips/größe \xFF.mp4");
    workspace_->openURL("x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture");
    EXPECT_THAT(standin::appKit().opened,
        ElementsAre("/clips/größe \xFF.mp4", "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture"));
}

TEST_F(MacWorkspaceTest, WhatIsNoLinkAndNoFileIsLeftUnopened)
{
    workspace_->openURL("no link");
    workspace_->openURL("");
    workspace_->open("");
    workspace_->activateFileViewerSelecting({});
    workspace_->activateFileViewerSelecting({""});
    EXPECT_THAT(standin::appKit().opened, IsEmpty());
    EXPECT_THAT(standin::appKit().revealed, IsEmpty());
}

TEST_F(MacWorkspaceTest, RevealsAllFilesAtOnce)
{
    workspace_->activateFileViewerSelecting({"/a.mp4", "", "/b.mp4"});
    EXPECT_THAT(standin::appKit().revealed, ElementsAre(ElementsAre("/a.mp4", "/b.mp4")));
}

TEST_F(MacWorkspaceTest, SaysWhatTheUserWantsOfEverythingOnDisplay)
{
    EXPECT_EQ(workspace_->accessibilityDisplayOptions(), platform::DisplayOptions{});
    standin::appKit().reducesMotion = true;
    EXPECT_EQ(workspace_->accessibilityDisplayOptions(), (platform::DisplayOptions{.reducesMotion = true}));
    standin::appKit() = {};
    standin::appKit().increasesContrast = true;
    EXPECT_EQ(workspace_->accessibilityDisplayOptions(), (platform::DisplayOptions{.increasesContrast = true}));
    EXPECT_EQ(workspace_->fileBrowserName(), "Finder");
    EXPECT_EQ(workspace_->keySettings(), std::nullopt);
}

TEST_F(MacWorkspaceTest, ObservesNothingBeforeThereIsAnObserver)
{
    EXPECT_EQ(standin::foundationObserverCount(), 0U);
    EXPECT_EQ(standin::power().registrations, 0);
}

TEST_F(MacWorkspaceTest, TellsEveryObserverOfEachThingOnce)
{
    std::vector<std::string> told;
    const auto observer = [&told](const std::string& name) {
        return platform::WorkspaceObserver{.willSleep = {},
            .didWake = [&told, name] { told.push_back(name + " wake"); },
            .screenParametersDidChange = [&told, name] { told.push_back(name + " screens"); },
            .accessibilityDisplayOptionsDidChange = [&told, name] { told.push_back(name + " options"); }};
    };
    workspace_->addObserver(observer("1"));
    workspace_->addObserver(observer("2"));
    workspace_->addObserver({});
    standin::changeScreens();
    standin::changeAccessibilityOptions();
    standin::hasPoweredOn();
    EXPECT_THAT(told, ElementsAre("1 screens", "2 screens", "1 options", "2 options", "1 wake", "2 wake"));
}

TEST_F(MacWorkspaceTest, AnObserverMayAddAnother)
{
    int told = 0;
    workspace_->addObserver({.willSleep = {},
        .didWake = {},
        .screenParametersDidChange =
            [&] {
                for (int count = 0; count < 50; ++count)
                    workspace_->addObserver({});
                ++told;
            },
        .accessibilityDisplayOptionsDidChange = {}});
    standin::changeScreens();
    EXPECT_EQ(told, 1);
}

TEST_F(MacWorkspaceTest, TheMachineSleepsWhenThoseWhoWereAskedAreReady)
{
    std::vector<UniqueFunction<void()>> ready;
    const auto observer = [&ready] {
        return platform::WorkspaceObserver{.willSleep = [&ready](UniqueFunction<void()> isReady) { ready.push_back(std::move(isReady)); },
            .didWake = {},
            .screenParametersDidChange = {},
            .accessibilityDisplayOptionsDidChange = {}};
    };
    workspace_->addObserver(observer());
    workspace_->addObserver({});
    workspace_->addObserver(observer());
    standin::willSleep(5);
    ASSERT_EQ(ready.size(), 2U);
    ready[0]();
    EXPECT_THAT(standin::power().allowed, IsEmpty());
    ready.pop_back();
    EXPECT_THAT(standin::power().allowed, ElementsAre(5));
}

TEST_F(MacWorkspaceTest, WithoutNewsOfSleepTheRestIsObserved)
{
    standin::power().isThere = false;
    int told = 0;
    workspace_->addObserver(
        {.willSleep = {}, .didWake = {}, .screenParametersDidChange = [&] { ++told; }, .accessibilityDisplayOptionsDidChange = {}});
    standin::changeScreens();
    EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace velmora::test
