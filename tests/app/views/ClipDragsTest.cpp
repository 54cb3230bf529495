#include "app/views/ClipDrags.h"

#include "brand/BrandColors.h"
#include "platform/fake/FakeFileDrags.h"
#include "platform/fake/FakeThumbnails.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/brand/QuickTestWindow.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

class ClipDragsTest : public testing::Test {
protected:
    ClipDragsTest() { static_cast<void>(test::application()); }

    [[nodiscard]] SharedServices services() const
    {
        SharedServices parts;
        parts.platform.fileDrags = drags;
        parts.platform.thumbnails = thumbnails;
        parts.mainExecutor = executor;
        return parts;
    }

    std::shared_ptr<fake::FakeFileDrags> drags = std::make_shared<fake::FakeFileDrags>();
    std::shared_ptr<fake::FakeThumbnails> thumbnails = std::make_shared<fake::FakeThumbnails>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
};

bool hasColor(const QImage& picture, const QColor& color)
{
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == color)
                return true;
        }
    }
    return false;
}

TEST_F(ClipDragsTest, ADragBeginsOnTheMainThreadWithThePictureThatIsKeptAndMakesNone)
{
    thumbnails->answersAtOnce = false;
    const auto drag = makeClipDrags(services());
    drag({});
    EXPECT_THAT(thumbnails->found, SizeIs(0)) << "of nothing";
    drag({"/clips/\xE9.mp4", "/clips/b.mp4"});
    EXPECT_THAT(thumbnails->found, ElementsAre("/clips/\xE9.mp4"));
    fake::FakeThumbnails::answerOne(thumbnails->finding, fake::FakeThumbnails::picture());
    EXPECT_THAT(drags->drags, SizeIs(0)) << "the answer may come on any thread";
    executor->runAll();
    ASSERT_THAT(drags->drags, SizeIs(1));
    EXPECT_THAT(drags->drags.front().files, ElementsAre("/clips/\xE9.mp4", "/clips/b.mp4"));
    EXPECT_EQ(drags->drags.front().picture->width, 144);
    EXPECT_EQ(drags->drags.front().picture->height, 81);
    EXPECT_THAT(thumbnails->made, SizeIs(0));
}

TEST_F(ClipDragsTest, WithoutAPictureThereIsTheMark)
{
    makeClipDrags(services())({"/clips/a.mp4"});
    executor->runAll();
    ASSERT_THAT(drags->drags, SizeIs(1));
    ASSERT_TRUE(drags->drags.front().picture);
    EXPECT_TRUE(hasColor(draggedPicture({}, 1, 1), BrandColors::coral));
}

TEST_F(ClipDragsTest, SeveralClipsSayHowManyTheyAre)
{
    QImage grey{256, 144, QImage::Format_RGB32};
    grey.fill(Qt::gray);
    EXPECT_FALSE(hasColor(draggedPicture(grey, 1, 1), BrandColors::coral));
    EXPECT_TRUE(hasColor(draggedPicture(grey, 2, 1), BrandColors::coral));
    EXPECT_NE(draggedPicture(grey, 2, 1), draggedPicture(grey, 10'000, 1));
}

TEST_F(ClipDragsTest, ThePictureKeepsItsShapeAndHasTheScreensPixels)
{
    QImage tall{90, 160, QImage::Format_RGB32};
    tall.fill(Qt::gray);
    EXPECT_EQ(draggedPicture(tall, 1, 1).size(), QSize(81, 144));
    EXPECT_EQ(draggedPicture(tall, 1, 2).size(), QSize(162, 288));
    EXPECT_EQ(draggedPicture(tall, 1, 2).devicePixelRatio(), 2);
    QImage line{4000, 2, QImage::Format_RGB32};
    line.fill(Qt::gray);
    EXPECT_EQ(draggedPicture(line, 1, 1).size(), QSize(144, 24)) << "never too thin to be seen";
}

}  // namespace
}  // namespace velmora
