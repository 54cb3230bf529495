// The icons of listed windows, on the stand-ins of ScreenCaptureKit and AppKit.
#include "platform/WindowIcons.h"
#include "platform/mac/ScreenCapture.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/objc/ScreenCaptureKitStandIn.h"
#include "tests/platform/mac/standins/LogStandIn.h"

#include <future>
#include <gmock/gmock.h>
#include <utility>

namespace velmora::test {
namespace {

using platform::ApplicationIcon;
using testing::ElementsAre;
using testing::IsEmpty;

using Pixel = std::array<std::uint8_t, 4>;

void reset()
{
    standin::resetScreenCapture();
    standin::resetAppKit();
    standin::takeLogLines();
}

class MacWindowIconsTest : public testing::Test {
protected:
    MacWindowIconsTest()
    {
        auto& desktop = standin::screenDesktop();
        desktop.applications = {{501, "org.example.browser", "Browser"}, {502, std::nullopt, std::nullopt}};
        desktop.windows = {
            {7, "a", {}, 0, true, 501}, {8, "b", {}, 0, true, 502}, {9, "c", {}, 0, true, std::nullopt}, {10, "d", {}, 0, true, 501}};
        standin::runningPrograms()[501] = {.icon = Pixel{200, 100, 50, 255}};
        standin::runningPrograms()[502] = {.icon = Pixel{10, 20, 30, 128}};
        std::promise<void> listed;
        capture_->shareableContent->getShareableContent(false, false, [&](const auto&) { listed.set_value(); });
        listed.get_future().get();
        standin::settleScreenCapture();
    }

    struct FoundIcon {
        std::uint32_t windowID;
        ApplicationIcon icon;
    };

    /// What is found until `most` are; all that is looked for is looked for when it returns.
    std::vector<FoundIcon> find(std::vector<std::uint32_t> windows, int side = 16, std::size_t most = 100)
    {
        std::vector<FoundIcon> all;
        auto& icons = *capture_->shareableContent->icons();
        icons.findIcons(std::move(windows), side, [&](std::uint32_t windowID, ApplicationIcon icon) {
            all.push_back({windowID, std::move(icon)});
            return all.size() < most;
        });
        // The provider ends when all that it was asked for is done.
        capture_.reset();
        return all;
    }

    std::vector<std::uint32_t> windowsFound(std::vector<std::uint32_t> windows, std::size_t most = 100)
    {
        std::vector<std::uint32_t> all;
        for (const auto& each : find(std::move(windows), 16, most))
            all.push_back(each.windowID);
        return all;
    }

    const ObjectCount count_{reset};
    std::optional<mac_backend::ScreenCapture> capture_ = mac_backend::makeScreenCapture();
};

TEST_F(MacWindowIconsTest, AreFoundInTheOrderOfTheWindowsEachInItsApplicationsColours)
{
    const auto found = find({10, 8, 7}, 24);
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].windowID, 10U);
    EXPECT_EQ(found[1].windowID, 8U);
    EXPECT_EQ(found[2].windowID, 7U);
    for (const auto& each : found) {
        EXPECT_EQ(each.icon.side, 24);
        ASSERT_EQ(each.icon.rgba.size(), 24U * 24U * 4U);
        const auto& rgba = each.icon.rgba;
        for (const std::size_t pixel : {std::size_t{0}, std::size_t{24 * 24 - 1}}) {
            const auto* const first = rgba.data() + pixel * 4;
            // Half transparent colours lose a little where they are multiplied by their alpha.
            const Pixel expected = each.windowID == 8 ? Pixel{10, 20, 30, 128} : Pixel{200, 100, 50, 255};
            for (std::size_t channel = 0; channel < 4; ++channel)
                EXPECT_NEAR(first[channel], expected[channel], 1) << each.windowID;
        }
    }
}

TEST_F(MacWindowIconsTest, AWindowWithoutAnApplicationOrThatWasNotListedIsPassedOver)
{
    EXPECT_THAT(windowsFound({9, 99, 7}), ElementsAre(7));
}

TEST_F(MacWindowIconsTest, AnApplicationThatHasEndedSinceHasNone)
{
    standin::runningPrograms().erase(501);
    EXPECT_THAT(windowsFound({7, 8, 10}), ElementsAre(8));
}

TEST_F(MacWindowIconsTest, AnApplicationWithoutAnIconAndOneWithAnEmptyOneHaveNone)
{
    standin::runningPrograms()[501].icon.reset();
    standin::runningPrograms()[502].isIconEmpty = true;
    EXPECT_THAT(windowsFound({7, 8, 10}), IsEmpty());
}

TEST_F(MacWindowIconsTest, WhatIsThrownOverOneIconLeavesTheOthers)
{
    standin::runningPrograms()[501].throws = true;
    EXPECT_THAT(windowsFound({7, 8, 10}), ElementsAre(8));
}

TEST_F(MacWindowIconsTest, WhoeverWantsNoMoreGetsNoMore)
{
    EXPECT_THAT(windowsFound({7, 8, 10}, 2), ElementsAre(7, 8));
}

TEST_F(MacWindowIconsTest, ATransparentPixelHasNoColour)
{
    standin::runningPrograms()[501].icon = Pixel{255, 255, 255, 0};
    const auto found = find({7});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_THAT(found[0].icon.rgba, testing::Each(0));
}

TEST_F(MacWindowIconsTest, NoSizeIsNoIcon)
{
    EXPECT_THAT(find({7}, 0), IsEmpty());
}

}  // namespace
}  // namespace velmora::test
