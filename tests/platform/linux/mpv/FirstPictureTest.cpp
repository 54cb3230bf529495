// The clip's first picture that a preview draws until its player has one, beside the one that the player then draws.

#include "engine/files/AssetReader.h"
#include "library/views/PictureImage.h"
#include "platform/linux/ffmpeg/LibavPictureDecoder.h"
#include "platform/linux/mpv/MpvPlayer.h"
#include "tests/platform/linux/mpv/PumpedMainThread.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/ForeignClip.h"

#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <string>

namespace velmora::linux_backend {
namespace {

using namespace velmora::test;

constexpr QSize shown{680, 382};

struct Case {
    const char* name;
    ForeignClip clip;
};

class FirstPictureTest : public testing::TestWithParam<Case> {
protected:
    FirstPictureTest()
    {
        // Away from the machine's sound, and from whoever runs the tests.
        for (const auto* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME"})
            ::setenv(name, folder_.path().c_str(), 1);
        writeForeignClip(file_, GetParam().clip);
    }

    static platform::PictureTarget target(QImage& canvas)
    {
        return {
            reinterpret_cast<std::byte*>(canvas.bits()), canvas.width(), canvas.height(), static_cast<std::size_t>(canvas.bytesPerLine())};
    }

    [[nodiscard]] QImage ours() const
    {
        engine::AssetReader reader{LibavPictureDecoder::create};
        std::promise<Result<PixelBufferRef>> picture;
        reader.generateImage(file_, MediaTime::zero(), shown.width(), shown.height(),
            [&](Result<PixelBufferRef> one) { picture.set_value(std::move(one)); });
        QImage canvas{shown, QImage::Format_RGB32};
        drawFitted(image(picture.get_future().get().value()), target(canvas));
        return canvas;
    }

    [[nodiscard]] QImage players() const
    {
        const auto mainThread = std::make_shared<PumpedMainThread>();
        const auto player = makeMpvPlayer(
            file_, [](auto completion) { completion({}); }, mainThread)
                                .value();
        QImage canvas{shown, QImage::Format_RGB32};
        bool isDrawn = false;
        player->setPictureObserver([&] { isDrawn = player->drawPicture(target(canvas)); });
        EXPECT_TRUE(mainThread->runUntil([&] { return isDrawn; }));
        return canvas;
    }

    const TemporaryDirectory folder_;
    const std::filesystem::path file_ = folder_.path() / "clip.mp4";
};

/// Of 255, on average over all pixels and colours.
double difference(const QImage& one, const QImage& other)
{
    std::int64_t sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            sum += std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) + std::abs(qBlue(a) - qBlue(b));
        }
    }
    return static_cast<double>(sum) / (3.0 * one.width() * one.height());
}

TEST_P(FirstPictureTest, NothingIsSeenOfTheMomentInWhichThePlayerTakesOver)
{
    const QImage before = ours();
    const QImage after = players();
    const double seen = difference(before, after);
    EXPECT_LT(seen, 4) << "what two scalers make of hard edges";
    EXPECT_GT(difference(before, after.copy(8, 0, shown.width(), shown.height())), 2 * seen) << "it would be noticed here";
}

// Colours by BT.2020 are left out: there the player's differ from the standard's.
INSTANTIATE_TEST_SUITE_P(Clips, FirstPictureTest,
    testing::Values(Case{"Larger", {.width = 1280, .height = 720}}, Case{"Smaller", {}}, Case{"High", {.width = 360, .height = 640}},
        Case{"TurnedRight", {.quarterTurns = 1}}, Case{"UpsideDown", {.quarterTurns = 2}}, Case{"TurnedLeft", {.quarterTurns = 3}},
        Case{"WidePixels", {.width = 640, .height = 720, .pixelShape = 2}},
        Case{"FullRange", {.width = 1280, .height = 720, .fullRange = true}},
        Case{"SmallInHighDefinitionsColours", {.matrix = 1, .cb = 80, .cr = 180}},
        Case{"LargeInStandardDefinitionsColours", {.width = 1280, .height = 720, .matrix = 6, .cb = 80, .cr = 180}}),
    [](const auto& one) { return std::string{one.param.name}; });

}  // namespace
}  // namespace velmora::linux_backend
