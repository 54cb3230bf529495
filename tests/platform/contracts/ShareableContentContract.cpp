#include "tests/platform/contracts/ShareableContentContract.h"

#include <future>
#include <gmock/gmock.h>
#include <utility>

namespace velmora::test {

using platform::RunningApplication;
using platform::ShareableContent;
using platform::ShareableWindow;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Result<ShareableContent> ShareableContentContract::list(bool excludingDesktopWindows, bool onScreenWindowsOnly)
{
    auto promise = std::make_shared<std::promise<Result<ShareableContent>>>();
    // A second answer would throw, and so end the test program.
    provider_->getShareableContent(excludingDesktopWindows, onScreenWindowsOnly,
        [promise](Result<ShareableContent> result) { promise->set_value(std::move(result)); });
    return promise->get_future().get();
}

namespace {

const RunningApplication browser{"org.example.browser", "Browser", 501};

ShareableWindow window(std::uint32_t windowID, bool isOnScreen = true)
{
    ShareableWindow made;
    made.windowID = windowID;
    made.title = "Window " + std::to_string(windowID);
    made.frame = {10, 20, 300, 200};
    made.isOnScreen = isOnScreen;
    made.owningApplication = browser;
    return made;
}

std::vector<std::uint32_t> numbersOf(const std::vector<ShareableWindow>& windows)
{
    std::vector<std::uint32_t> numbers;
    for (const auto& each : windows)
        numbers.push_back(each.windowID);
    return numbers;
}

TEST_P(ShareableContentContract, AnEmptyDesktopHasNothing)
{
    desktop_->layOut({});
    const auto content = list();
    ASSERT_TRUE(content);
    EXPECT_THAT(content->windows, IsEmpty());
    EXPECT_THAT(content->displays, IsEmpty());
    EXPECT_THAT(content->applications, IsEmpty());
}

TEST_P(ShareableContentContract, WindowsSayAllThatTheDesktopKnowsOfThem)
{
    auto one = window(7);
    one.title = "größe ✓";
    one.frame = {-1200.5, 33.25, 640.5, 480};
    one.windowLayer = 25;
    const ShareableContent laidOut{{one, window(8, false)}, {{3, {-1280, 0, 1280, 800}}}, {browser}};
    desktop_->layOut(laidOut);
    const auto content = list();
    ASSERT_TRUE(content);
    EXPECT_EQ(content->windows, laidOut.windows);
    EXPECT_EQ(content->displays, laidOut.displays);
    EXPECT_EQ(content->applications, laidOut.applications);
}

TEST_P(ShareableContentContract, TheTopmostWindowIsTheFirst)
{
    desktop_->layOut({{window(30), window(10), window(20), window(5)}, {}, {browser}});
    const auto content = list();
    ASSERT_TRUE(content);
    EXPECT_THAT(numbersOf(content->windows), ElementsAre(30, 10, 20, 5));
}

TEST_P(ShareableContentContract, AWindowMayLackATitleAndAnApplication)
{
    auto one = window(7);
    one.title.reset();
    one.owningApplication.reset();
    auto other = window(8);
    other.title = "";
    other.owningApplication = RunningApplication{"", "", 77};
    desktop_->layOut({{one, other}, {}, {{"", "", 77}}});
    const auto content = list();
    ASSERT_TRUE(content);
    ASSERT_THAT(content->windows, SizeIs(2));
    EXPECT_EQ(content->windows[0].owningApplication, std::nullopt);
    EXPECT_EQ(content->windows[0].title.value_or(""), "");
    EXPECT_EQ(content->windows[1].title.value_or("?"), "");
    EXPECT_EQ(content->windows[1].owningApplication, (RunningApplication{"", "", 77}));
}

TEST_P(ShareableContentContract, OnlyWindowsOnTheScreenAreListedIfThatIsWanted)
{
    desktop_->layOut({{window(1), window(2, false), window(3)}, {}, {browser}});
    const auto all = list();
    ASSERT_TRUE(all);
    EXPECT_THAT(all->windows, SizeIs(3));
    const auto some = list(false, true);
    ASSERT_TRUE(some);
    EXPECT_THAT(numbersOf(some->windows), ElementsAre(1, 3));
}

TEST_P(ShareableContentContract, EachQuestionIsAnsweredAfresh)
{
    desktop_->layOut({{window(1)}, {}, {browser}});
    ASSERT_TRUE(list());
    desktop_->layOut({{window(2)}, {}, {browser}});
    const auto content = list();
    ASSERT_TRUE(content);
    EXPECT_THAT(numbersOf(content->windows), ElementsAre(2));
}

TEST_P(ShareableContentContract, AFailureIsItsErrorWithAReason)
{
    desktop_->refuse(-3801);
    const auto content = list();
    ASSERT_FALSE(content);
    EXPECT_EQ(content.error().code, -3801);
    EXPECT_NE(content.error().localizedDescription, "");
}

}  // namespace
}  // namespace velmora::test
