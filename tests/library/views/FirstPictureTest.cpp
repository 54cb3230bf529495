#include "library/views/ClipPreviewModel.h"
#include "tests/library/views/PreviewFixture.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <vector>

namespace velmora {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Until the player has one. Of one colour, half as large as it is shown.
class FirstPictureTest : public testing::Test, protected test::PreviewFixture {
protected:
    FirstPictureTest()
    {
        assetReader->holdsImages = true;
        const auto pixels = std::make_shared<std::vector<std::uint32_t>>(4, colour);
        assetReader->image = std::make_shared<PixelBuffer>(PixelBuffer{.width = 2,
            .height = 2,
            .bytesPerRow = 8,
            .baseAddress = reinterpret_cast<const std::byte*>(pixels->data()),
            .change = {},
            .owner = pixels});
        // No strip of pictures.
        assetReader->durations.clear();
        QObject::connect(model.get(), &ClipPreviewModel::pictureChanged, model.get(), [this] { ++announced; });
        model->setPictureSize({6, 4});
        model->setupPlayer();
        executor->runAll();
    }

    void handOut() const
    {
        assetReader->handOutImages();
        executor->runAll();
    }

    /// What is drawn, row by row; empty when there is nothing to draw.
    [[nodiscard]] std::vector<std::uint32_t> drawn() const
    {
        std::vector<std::uint32_t> pixels(24);
        const bool isDrawn = model->drawPicture({reinterpret_cast<std::byte*>(pixels.data()), 6, 4, 24});
        return isDrawn ? pixels : std::vector<std::uint32_t>{};
    }

    int announced = 0;
    static constexpr std::uint32_t colour = 0xff204060;
    static constexpr std::uint32_t black = 0xff000000;
};

TEST_F(FirstPictureTest, TheClipsFirstPictureIsThereBeforeThePlayerWithItsShapeInTheMiddleOfBlack)
{
    EXPECT_EQ(assetReader->imageTime, MediaTime::zero());
    EXPECT_EQ(assetReader->imageWidth, 6);
    EXPECT_EQ(assetReader->imageHeight, 4);
    EXPECT_THAT(drawn(), IsEmpty());
    players->isPrepared = false;
    announced = 0;
    handOut();
    EXPECT_TRUE(model->isLoading());
    EXPECT_GE(announced, 1);
    const auto pixels = drawn();
    ASSERT_THAT(pixels, SizeIs(24));
    for (auto row = pixels.begin(); row != pixels.end(); row += 6)
        EXPECT_THAT((std::vector<std::uint32_t>{row, row + 6}), ElementsAre(black, colour, colour, colour, colour, black));
}

TEST_F(FirstPictureTest, ThePlayerIsLoadedBehindItAndAlsoWithoutIt)
{
    EXPECT_THAT(players->players, SizeIs(0)) << "both at once would keep each other from the processor";
    assetReader->image = fail("Velmora.Fake", 1, "no picture");
    handOut();
    EXPECT_THAT(players->players, SizeIs(1));
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_F(FirstPictureTest, ItStaysUntilThePlayerHasAPictureAndIsNeverSeenAfterThat)
{
    handOut();
    ASSERT_THAT(players->players, SizeIs(1));
    EXPECT_THAT(drawn(), Contains(colour)) << "the player has nothing yet";
    player().showPicture(std::byte{7});
    EXPECT_THAT(drawn(), Each(0x07070707U));
    player().picture.reset();
    EXPECT_THAT(drawn(), IsEmpty()) << "what the player fails to draw is nothing, not the beginning";
}

TEST_F(FirstPictureTest, WhoHasGoneElsewhereInTheClipDoesNotSeeIt)
{
    players->isPrepared = false;
    handOut();
    announced = 0;
    model->scrub(3);
    EXPECT_EQ(announced, 1);
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_F(FirstPictureTest, OneThatComesAfterThatIsNotShownEither)
{
    model->scrub(3);
    handOut();
    EXPECT_THAT(drawn(), IsEmpty());
    EXPECT_THAT(players->players, SizeIs(1));
}

TEST_F(FirstPictureTest, AClosedWindowMakesNoPlayerWhenItComes)
{
    model->tearDown();
    handOut();
    EXPECT_THAT(players->players, SizeIs(0));
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_F(FirstPictureTest, ItGoesWithTheWindow)
{
    players->isPrepared = false;
    handOut();
    model->tearDown();
    EXPECT_THAT(drawn(), IsEmpty());
}

}  // namespace
}  // namespace velmora
