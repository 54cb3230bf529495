#include "app/menu/NativeStatusItem.h"

#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

/// What the system is told.
struct Told {
    std::string toolTip;
    BarPicture picture;
    StatusBarItem::MenuDelegate delegate;
    int openings = 0;
};

class Item final : public StatusBarItem {
public:
    explicit Item(Told& told) : told_(told) { }
    void setToolTip(const std::string& text) override { told_.toolTip = text; }
    void setMenuDelegate(MenuDelegate delegate) override { told_.delegate = std::move(delegate); }
    void setPicture(const BarPicture& picture) override { told_.picture = picture; }
    void popUpMenu() override { ++told_.openings; }

private:
    Told& told_;
};

class NativeStatusItemTest : public testing::Test {
protected:
    Told told_;
    const std::unique_ptr<StatusItem> item_ = makeNativeStatusItem(std::make_unique<Item>(told_));
};

/// Red, green, blue and alpha at a place in points from the upper left, of the picture of twice as many pixels.
std::vector<int> pixelAt(const BarPicture& picture, double x, double y)
{
    const auto& icon = picture.representations.at(1);
    const auto at = static_cast<std::size_t>((static_cast<int>(y * 2) * icon.side + static_cast<int>(x * 2)) * 4);
    return {icon.rgba.at(at), icon.rgba.at(at + 1), icon.rgba.at(at + 2), icon.rgba.at(at + 3)};
}

TEST_F(NativeStatusItemTest, TheSystemGetsTheMarkAsATemplateAtBothScales)
{
    CapturedWindowInfo window;
    item_->setImage(BrandAssets::menuBarImage({CaptureState::Capturing{window}}));
    EXPECT_TRUE(told_.picture.isTemplate);
    EXPECT_EQ(told_.picture.side, 18);
    EXPECT_EQ(told_.picture.accessibleDescription, "Velmora");
    ASSERT_THAT(told_.picture.representations, SizeIs(2));
    EXPECT_EQ(told_.picture.representations[0].side, 18);
    EXPECT_THAT(told_.picture.representations[0].rgba, SizeIs(18 * 18 * 4));
    EXPECT_THAT(told_.picture.representations[1].rgba, SizeIs(36 * 36 * 4));
    // The dot is at the lower right; the corner is empty.
    EXPECT_THAT(pixelAt(told_.picture, 14.75, 14.25), ElementsAre(0, 0, 0, 255));
    EXPECT_EQ(pixelAt(told_.picture, 0, 0).at(3), 0);
}

TEST_F(NativeStatusItemTest, ARecordingKeepsItsColour)
{
    CapturedWindowInfo window;
    item_->setImage(BrandAssets::menuBarImage({CaptureState::RecordingClip{window, {}}}));
    EXPECT_FALSE(told_.picture.isTemplate);
    const QColor coral = BrandColors::coral;
    EXPECT_THAT(pixelAt(told_.picture, 14.75, 14.25), ElementsAre(coral.red(), coral.green(), coral.blue(), 255));
}

TEST_F(NativeStatusItemTest, TheMenuIsTheOneThatEveryTrayHas)
{
    std::vector<MenuItem> chosen;
    MenuItem row;
    row.title = "Row";
    item_->setMenuDelegate({.menuNeedsUpdate = [row] { return std::vector{row}; },
        .menuItemTriggered = [&chosen](const MenuItem& item) { chosen.push_back(item); }});
    ASSERT_THAT(told_.delegate.menuNeedsUpdate(), ElementsAre(row));
    told_.delegate.menuItemTriggered(row);
    EXPECT_THAT(chosen, ElementsAre(row));
    item_->setToolTip("Tip");
    item_->popUpMenu();
    EXPECT_EQ(told_.toolTip, "Tip");
    EXPECT_EQ(told_.openings, 1);
}

}  // namespace
}  // namespace velmora::test
