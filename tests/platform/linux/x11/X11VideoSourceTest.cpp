// Frames of a program that draws: none torn, none out of order, none that was never shown.
#include "platform/linux/x11/X11VideoSource.h"

#include "engine/pictures/FitRectangle.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace velmora::linux_backend {
namespace {

using Frames = std::vector<std::pair<std::uint32_t, std::int64_t>>;

std::set<std::uint32_t> numbersOf(const std::vector<engine::SeenPicture>& pictures)
{
    std::set<std::uint32_t> numbers;
    for (const auto& picture : pictures) {
        if (const auto number = picture.reading.number())
            numbers.insert(*number);
    }
    return numbers;
}

void expectFramesAsShown(const std::vector<engine::SeenPicture>& pictures, const Frames& shown)
{
    std::map<std::uint32_t, std::int64_t> shownAt(shown.begin(), shown.end());
    std::uint32_t last = 0;
    for (const auto& picture : pictures) {
        EXPECT_FALSE(picture.reading.isTorn()) << *picture.reading.top << " and " << *picture.reading.bottom;
        ASSERT_TRUE(picture.reading.isReadable()) << "picture " << picture.change.sequence;
        const auto number = *picture.reading.top;
        EXPECT_TRUE(shownAt.contains(number)) << number << " was never shown";
        EXPECT_GE(number, last) << "out of order";
        last = number;
    }
}

class NumberedCapture {
public:
    NumberedCapture(
        const std::vector<std::string>& options, int width, int height, ImageTransport transport = ImageTransport::fileDescriptor)
        : program(options)
        , source(program.window(), engine::pictureSize(width, height), engine::nearestScalers(), {"", transport})
    {
        const auto started = source.start(recorder.callbacks());
        EXPECT_TRUE(started) << started.error().localizedDescription;
    }

    void waitForNumbers(std::size_t count)
    {
        recorder.waitFor("frames", [&] { return numbersOf(recorder.pictures()).size() >= count; });
    }

    /// Leaves the window with a frame that the last picture must end up showing.
    void expectToEndUpToDate()
    {
        const auto answer = program.command("still");
        const auto number = static_cast<std::uint32_t>(std::stoul(answer.substr(6)));
        recorder.waitFor("the last frame", [&] {
            const auto pictures = recorder.pictures();
            return !pictures.empty() && pictures.back().reading.number() == number;
        });
    }

    /// Returns when a frame has been seen at `part`, where the resized window is in the picture.
    void resize(const std::string& size, test::PicturePart part)
    {
        recorder.setPart(part);
        const auto before = recorder.pictures().size();
        EXPECT_EQ(program.command("resize " + size), "ok");
        recorder.waitFor("the resized window", [&] {
            const auto pictures = recorder.pictures();
            return pictures.size() > before && pictures.back().reading.isReadable();
        });
    }

    engine::Recorder recorder;
    NumberedWindowProgram program;
    X11VideoSource source;
};

class EveryTransport : public testing::TestWithParam<ImageTransport> { };

TEST_P(EveryTransport, DeliversTheFramesOfAWindowInOrderAndWhole)
{
    NumberedCapture capture{{"--size", "640x480", "--position", "20,40"}, 640, 480, GetParam()};
    capture.waitForNumbers(90);
    capture.expectToEndUpToDate();
    capture.source.stop();
    expectFramesAsShown(capture.recorder.pictures(), capture.program.finish());
    EXPECT_EQ(capture.recorder.complaints(), "");
    EXPECT_TRUE(capture.recorder.stops().empty());
}

INSTANTIATE_TEST_SUITE_P(
    X11VideoSource, EveryTransport, testing::Values(ImageTransport::fileDescriptor, ImageTransport::systemV, ImageTransport::socket));

TEST(X11VideoSource, AWindowCoveredByAnotherIsCapturedWhole)
{
    TestDesktop desktop;
    NumberedCapture capture{{"--size", "640x480", "--position", "100,100"}, 640, 480};
    const auto cover = desktop.showWindow({.frame = {60, 60, 800, 600}, .title = "cover", .overridesRedirect = true});
    desktop.raise(cover);
    capture.waitForNumbers(60);
    capture.expectToEndUpToDate();
    EXPECT_EQ(desktop.grab(desktop.root(), {200, 200, 1, 1}), (std::vector<std::uint32_t>{0x204060}));
    capture.source.stop();
    expectFramesAsShown(capture.recorder.pictures(), capture.program.finish());
    EXPECT_EQ(capture.recorder.complaints(), "");
}

TEST(NumberedWindowProgram, AWindowNeverHasTheIdentifierOfTheOneThatHasJustGone)
{
    // What a slow window manager still does to that one would happen to it.
    xcb_window_t before = XCB_NONE;
    for (int count = 0; count < 5; ++count) {
        NumberedWindowProgram program{{"--still", "--override"}};
        EXPECT_NE(program.window(), before);
        before = program.window();
    }
}

class BeyondTheScreen : public testing::TestWithParam<std::string> { };

TEST_P(BeyondTheScreen, AWindowIsCapturedWhole)
{
    // Moved while it is captured, to a place where a window manager would not put it.
    NumberedCapture capture{{"--size", "640x480", "--position", "100,100", "--override"}, 640, 480};
    capture.waitForNumbers(5);
    EXPECT_EQ(capture.program.command("move " + GetParam()), "ok");
    const auto before = capture.recorder.pictures().size();
    capture.recorder.waitFor("frames beyond the edge", [&] { return capture.recorder.pictures().size() >= before + 40; });
    capture.expectToEndUpToDate();
    capture.source.stop();
    expectFramesAsShown(capture.recorder.pictures(), capture.program.finish());
    EXPECT_EQ(capture.recorder.complaints(), "");
}

INSTANTIATE_TEST_SUITE_P(X11VideoSource, BeyondTheScreen, testing::Values("-320,100", "1600,100", "100,-240", "100,900", "1700,1000"));

TEST(X11VideoSource, AWindowBeyondTheEdgeAtTheStartIsWholeAsSoonAsItsProgramHasDrawn)
{
    NumberedCapture capture{{"--size", "640x480", "--position", "-300,800"}, 640, 480};
    capture.waitForNumbers(30);
    capture.expectToEndUpToDate();
    capture.source.stop();
    // Until then nobody has the pixels of the part that was never on the screen.
    auto pictures = capture.recorder.pictures();
    const auto first =
        std::find_if(pictures.begin(), pictures.end(), [](const engine::SeenPicture& picture) { return picture.reading.isReadable(); });
    pictures.erase(pictures.begin(), first);
    expectFramesAsShown(pictures, capture.program.finish());
    EXPECT_EQ(capture.recorder.complaints(), "");
}

TEST(X11VideoSource, AnOddSizeIsCapturedPixelByPixel)
{
    TestDesktop desktop;
    NumberedCapture capture{{"--size", "641x479", "--position", "100,100"}, 641, 479};
    capture.waitForNumbers(30);
    capture.expectToEndUpToDate();
    EXPECT_EQ(capture.recorder.lastColours(), desktop.grab(capture.program.window(), {0, 0, 641, 479}));
    capture.source.stop();
    expectFramesAsShown(capture.recorder.pictures(), capture.program.finish());
    EXPECT_EQ(capture.recorder.complaints(), "");
}

TEST(X11VideoSource, AResizedWindowIsFittedInWithBlackBars)
{
    NumberedCapture capture{{"--size", "640x480", "--position", "50,50"}, 640, 480};
    capture.waitForNumbers(5);
    capture.resize("800x300", {0, 120, 640, 240});
    capture.expectToEndUpToDate();

    auto colours = capture.recorder.lastColours();
    ASSERT_EQ(colours.size(), 640U * 480U);
    for (std::size_t y = 0; y < 480; ++y) {
        for (std::size_t x = 0; x < 640; ++x) {
            if (y < 120 || y >= 360) {
                ASSERT_EQ(colours[y * 640 + x], 0U) << x << ' ' << y;
            }
        }
    }
    EXPECT_EQ(colours[120 * 640], 0xffffffU) << "the first block of a strip is white";
    EXPECT_EQ(colours[359 * 640], 0xffffffU);

    // Back at the first size nothing of the bars may be left, whatever picture of the pool is used.
    EXPECT_EQ(capture.program.command("go"), "ok");
    capture.resize("640x480", {0, 0, 640, 480});
    capture.expectToEndUpToDate();
    TestDesktop desktop;
    capture.recorder.waitForColours("the window's pixels", desktop.grab(capture.program.window(), {0, 0, 640, 480}));
    EXPECT_EQ(capture.recorder.complaints(), "");
    EXPECT_TRUE(capture.recorder.stops().empty());
}

TEST_P(EveryTransport, AResizedWindowGoesOnInItsOwnSizeWhenToldTo)
{
    NumberedCapture capture{{"--size", "640x480", "--position", "50,50"}, 640, 480, GetParam()};
    capture.waitForNumbers(5);
    TestDesktop desktop;
    for (const auto& [width, height] : {std::pair{801, 603}, std::pair{320, 240}}) {
        const auto settledBefore = capture.recorder.settled().size();
        ASSERT_EQ(capture.program.command("resize " + std::to_string(width) + "x" + std::to_string(height)), "ok");
        capture.recorder.waitFor("the size", [&] { return capture.recorder.settled().size() > settledBefore; });
        ASSERT_GT(capture.recorder.settled().size(), settledBefore);
        EXPECT_EQ(capture.recorder.settled().back(), std::pair(width, height));
        const auto updated = capture.source.updateSize(width, height);
        ASSERT_TRUE(updated) << updated.error().localizedDescription;
        EXPECT_EQ(capture.recorder.pictures().back().width, width);
        EXPECT_FALSE(capture.source.updateSize(width + 1, height)) << "which the window does not have";
        capture.expectToEndUpToDate();
        capture.recorder.waitForColours("the window's pixels", desktop.grab(capture.program.window(), {0, 0, width, height}));
        EXPECT_EQ(capture.program.command("go"), "ok");
    }
    EXPECT_EQ(capture.recorder.complaints(), "");
    EXPECT_TRUE(capture.recorder.stops().empty());
    capture.source.stop();
}

TEST(X11VideoSource, AWindowOfAnotherSizeThanAskedForIsFittedInFromTheStart)
{
    engine::Recorder recorder;
    recorder.setPart({80, 0, 480, 360});
    NumberedWindowProgram program{{"--size", "640x480", "--position", "50,50"}};
    X11VideoSource source{program.window(), engine::pictureSize(640, 360), engine::nearestScalers()};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitFor("frames", [&] { return numbersOf(recorder.pictures()).size() >= 20; });
    source.stop();
    expectFramesAsShown(recorder.pictures(), program.finish());
    EXPECT_EQ(recorder.complaints(), "");
}

TEST(X11VideoSource, AScalerThatCannotBeMadeEndsTheStream)
{
    engine::Recorder recorder;
    NumberedWindowProgram program{{"--size", "640x480"}};
    X11VideoSource source{program.window(), engine::pictureSize(320, 240),
        []() -> Result<std::unique_ptr<engine::PictureScaler>> { return fail("Test", 7, "No scaler today."); }};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForStop();
    EXPECT_EQ(recorder.stops().front().localizedDescription, "No scaler today.");
    EXPECT_TRUE(recorder.pictures().empty());
}

TEST(X11VideoSource, TimeStampsAreTheMomentsOfTheFrames)
{
    const auto before = MonotonicClock::now();
    NumberedCapture capture{{"--size", "640x480", "--fps", "10"}, 640, 480};
    capture.waitForNumbers(12);
    capture.source.stop();
    const auto after = MonotonicClock::now();
    const auto pictures = capture.recorder.pictures();
    const auto shown = capture.program.finish();
    std::map<std::uint32_t, std::int64_t> shownAt(shown.begin(), shown.end());
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        EXPECT_GT(pictures[index].time, before);
        EXPECT_LT(pictures[index].time, after);
        // A frame that is in the picture was drawn before the next one was shown.
        const auto number = pictures[index].reading.number().value();
        if (const auto next = shownAt.find(number + 1); next != shownAt.end() && index > 0) {
            EXPECT_LE(pictures[index].time, MonotonicTime{std::chrono::nanoseconds{next->second}});
        }
    }
    EXPECT_EQ(capture.recorder.lastSample()->duration, (MediaTime{16'666'667, 1'000'000'000}));
}

TEST(X11VideoSource, NothingIsDeliveredAfterTheStop)
{
    NumberedCapture capture{{"--size", "640x480"}, 640, 480};
    capture.waitForNumbers(10);
    capture.source.stop();
    const auto count = capture.recorder.pictures().size();
    capture.source.stop();
    // The window goes on drawing, then closes: both would be reported if anybody still listened.
    capture.program.finish();
    TestDesktop desktop;
    desktop.waitUntil("the window is gone", [&] { return !desktop.isViewable(capture.program.window()); });
    EXPECT_EQ(capture.recorder.pictures().size(), count);
    EXPECT_TRUE(capture.recorder.stops().empty());
}

TEST(X11VideoSource, ADeliveredPictureNeverChangesWhileItIsHeld)
{
    NumberedCapture capture{{"--size", "640x480", "--motion", "60"}, 640, 480};
    std::vector<std::pair<SampleBufferRef, std::vector<std::byte>>> kept;
    for (std::size_t count = 10; kept.size() < 4; count += 7) {
        capture.recorder.waitForPictures(count);
        const auto sample = capture.recorder.lastSample();
        const auto& picture = *sample->imageBuffer;
        kept.emplace_back(sample, std::vector<std::byte>(picture.baseAddress, picture.baseAddress + picture.bytesPerRow * 480));
    }
    capture.recorder.waitForPictures(capture.recorder.pictures().size() + 60);
    for (const auto& [sample, pixels] : kept)
        EXPECT_EQ(std::memcmp(sample->imageBuffer->baseAddress, pixels.data(), pixels.size()), 0);
    EXPECT_EQ(capture.recorder.complaints(), "");
    // Even when the source is gone.
    capture.source.stop();
    for (const auto& [sample, pixels] : kept)
        EXPECT_EQ(std::memcmp(sample->imageBuffer->baseAddress, pixels.data(), pixels.size()), 0);
}

}  // namespace
}  // namespace velmora::linux_backend
