// What happens to a captured window, on windows that the test draws itself.
#include "base/MonotonicClock.h"
#include "engine/pictures/PictureStream.h"
#include "platform/linux/x11/Errors.h"
#include "platform/linux/x11/TrackedWindow.h"
#include "platform/linux/x11/X11VideoSource.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

namespace velmora::linux_backend {
namespace {

constexpr auto unavailable = static_cast<int>(X11ErrorCode::windowUnavailable);

/// A window with its pixels as they should be, and a capture of it.
class CapturedWindow {
public:
    explicit CapturedWindow(const WindowSpec& spec = {}, bool showsCursor = false)
        : width(spec.frame.width)
        , height(spec.frame.height)
        , window(desktop.showWindow(spec))
        , source(window, engine::pictureSize(width, height, showsCursor), engine::nearestScalers())
        , expected(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), spec.background & 0xffffff)
    {
        const auto started = source.start(recorder.callbacks());
        EXPECT_TRUE(started) << started.error().localizedDescription;
        // As programs do when they are told to.
        desktop.fill(window, {0, 0, width, height}, spec.background);
    }

    void fill(PixelRect rectangle, std::uint32_t colour)
    {
        desktop.fill(window, rectangle, colour);
        expect(rectangle, colour);
    }

    void expect(PixelRect rectangle, std::uint32_t colour)
    {
        const auto inside = rectangle.intersected({0, 0, width, height});
        for (std::int32_t y = inside.y; y < inside.y + inside.height; ++y) {
            for (std::int32_t x = inside.x; x < inside.x + inside.width; ++x)
                expected[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] = colour & 0xffffff;
        }
    }

    void waitUntilRight(const std::string& what = "the right picture") { recorder.waitForColours(what, expected); }

    std::uint32_t lastColourAt(std::int32_t x, std::int32_t y)
    {
        const auto colours = recorder.lastColours();
        return colours.empty() ? 0 : colours[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }

    std::int32_t width;
    std::int32_t height;
    TestDesktop desktop;
    xcb_window_t window;
    engine::Recorder recorder;
    X11VideoSource source;
    std::vector<std::uint32_t> expected;
};

TEST(X11VideoSourceWindow, TheFirstPictureIsTheWindow)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AWindowWhoseProgramPaintsNothingIsShownAsItIs)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({.background = 0x00ff00});
    engine::Recorder recorder;
    X11VideoSource source{window, engine::pictureSize(400, 300), engine::nearestScalers()};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForColours("the window as it was", std::vector<std::uint32_t>(std::size_t{400} * 300, 0x00ff00));
}

/// A connection on which captures may be made: the extensions know nobody who has not said which version he speaks.
std::unique_ptr<Connection> captureConnection()
{
    auto connection = Connection::open(nullptr);
    if (!connection)
        return nullptr;
    xcb_discard_reply((*connection)->xcb(), xcb_composite_query_version((*connection)->xcb(), 0, 4).sequence);
    xcb_discard_reply((*connection)->xcb(), xcb_damage_query_version((*connection)->xcb(), 1, 1).sequence);
    return std::move(*connection);
}

/// What the first picture of a covered window shows whose program takes its time, in parts of which none is the whole. Nothing when the
/// test itself took so long that a window of which nothing more is painted would have been shown.
std::optional<std::vector<std::uint32_t>> firstPictureOfACoveredWindow()
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    const auto place = desktop.rootFrame(window);
    desktop.raise(desktop.showWindow({.frame = place, .background = 0x0000ff, .overridesRedirect = true}));

    engine::Recorder recorder;
    std::promise<std::vector<std::uint32_t>> first;
    auto seen = first.get_future();
    X11VideoSource source{window, engine::pictureSize(place.width, place.height), engine::nearestScalers()};
    auto callbacks = recorder.callbacks();
    callbacks.picture = [&, record = std::move(callbacks.picture), isFirst = true](SampleBufferRef sample) mutable {
        record(std::move(sample));
        if (std::exchange(isFirst, false))
            first.set_value(recorder.lastColours());
    };
    const auto begin = MonotonicClock::now();
    EXPECT_TRUE(source.start(std::move(callbacks)));
    desktop.fill(window, {0, 0, place.width, 200}, 0xff8800);
    desktop.sync();
    seen.wait_for(std::chrono::milliseconds{100});
    desktop.fill(window, {0, 200, place.width, place.height - 200}, 0xff8800);
    desktop.sync();
    if (MonotonicClock::now() - begin >= engine::PictureStream::longestFirstPaint)
        return std::nullopt;
    EXPECT_EQ(seen.wait_for(engine::patience), std::future_status::ready);
    source.stop();
    return seen.get();
}

TEST(X11VideoSourceWindow, TheFirstPictureOfACoveredWindowIsWhatItsProgramPaintsAndNothingOfTheCover)
{
    auto colours = firstPictureOfACoveredWindow();
    while (!colours)
        colours = firstPictureOfACoveredWindow();
    EXPECT_EQ(*colours, std::vector<std::uint32_t>(colours->size(), 0xff8800));
}

TEST(X11VideoSourceWindow, AWindowThatIsCapturedAlreadyIsItsOwnFromTheFirstMoment)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    const auto connection = captureConnection();
    ASSERT_TRUE(connection);
    const auto first = TrackedWindow::create(*connection, window);
    ASSERT_TRUE(first);
    EXPECT_FALSE((*first)->wasRedirected());
    const auto other = captureConnection();
    ASSERT_TRUE(other);
    const auto second = TrackedWindow::create(*other, window);
    ASSERT_TRUE(second);
    EXPECT_TRUE((*second)->wasRedirected());
}

TEST(X11VideoSourceWindow, WhatComesBeforeTheProgramPaintsIsNoPaintingOfIts)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    const auto connection = captureConnection();
    ASSERT_TRUE(connection);
    const auto tracked = TrackedWindow::create(*connection, window);
    ASSERT_TRUE(tracked);
    desktop.fill(window, {10, 20, 30, 40}, 0xff8800);
    desktop.sync();
    // The server has said all that it has to say.
    ASSERT_TRUE(connection->reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection->xcb())));
    while (const Event event = connection->poll())
        (*tracked)->handle(*event);
    std::vector<PixelRect> painted;
    for (const auto& damage : (*tracked)->damage())
        painted.push_back(damage.rectangle);
    EXPECT_EQ(painted, (std::vector<PixelRect>{{10, 20, 30, 40}}));
}

TEST(X11VideoSourceWindow, ASmallChangeIsAllThatIsDirty)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    captured.fill({30, 40, 20, 10}, 0xff8800);
    captured.waitUntilRight();
    bool isFound = false;
    for (const auto& picture : captured.recorder.pictures())
        isFound |= picture.change.dirty == std::vector<PixelRect>{{30, 40, 20, 10}};
    EXPECT_TRUE(isFound);
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, ManyPartialChangesLeaveEveryPictureOfThePoolRight)
{
    CapturedWindow captured;
    std::mt19937 random{11};
    const auto number = [&](int limit) { return static_cast<std::int32_t>(random() % static_cast<unsigned>(limit)); };
    std::vector<SampleBufferRef> held;
    for (int round = 0; round < 40; ++round) {
        for (int count = 1 + number(12); count > 0; --count) {
            const bool isSmall = number(3) != 0;
            const PixelRect area{number(390), number(290), 1 + number(isSmall ? 12 : 390), 1 + number(isSmall ? 12 : 290)};
            captured.fill(area, random() & 0xffffff);
        }
        captured.waitUntilRight("round " + std::to_string(round));
        // Holding some makes the source turn to others, which have missed more.
        if (number(2) == 0)
            held.push_back(captured.recorder.lastSample());
        if (held.size() > 3)
            held.erase(held.begin() + number(4));
    }
    EXPECT_EQ(captured.recorder.complaints(), "");
    EXPECT_EQ(captured.recorder.lastColours(), captured.desktop.grab(captured.window, {0, 0, captured.width, captured.height}));
}

TEST(X11VideoSourceWindow, WhatIsDrawnWhileAPictureIsFetchedIsMissedByNone)
{
    CapturedWindow captured;
    std::mt19937 random{13};
    const auto number = [&](int limit) { return static_cast<std::int32_t>(random() % static_cast<unsigned>(limit)); };
    for (int round = 0; round < 8; ++round) {
        std::vector<SampleBufferRef> held;
        for (int count = 0; count < 1500; ++count) {
            captured.fill({number(390), number(290), 1 + number(10), 1 + number(10)}, random() & 0xffffff);
            if (count % 50 == 0) {
                held.push_back(captured.recorder.lastSample());
                if (held.size() > 4)
                    held.erase(held.begin() + number(5));
            }
        }
        captured.waitUntilRight("all that was drawn");
        // Now every picture of the pool in turn: with the others held, a small change must make it right too.
        held.clear();
        for (int picture = 0; picture < 5; ++picture) {
            held.push_back(captured.recorder.lastSample());
            captured.fill({picture, 0, 1, 1}, random() & 0xffffff);
            captured.waitUntilRight("picture " + std::to_string(picture) + " of round " + std::to_string(round));
        }
    }
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AStillWindowIsRepeatedTwiceASecond)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    // The window manager's last touch of a new window may still be on its way; what is asserted begins after the first repeat.
    captured.recorder.waitFor("the first repeat", [&] { return captured.recorder.pictures().back().change.dirty.empty(); });
    const auto first = captured.recorder.pictures().size();
    captured.recorder.waitForPictures(first + 3);
    const auto pictures = captured.recorder.pictures();
    for (std::size_t index = first; index < pictures.size(); ++index) {
        EXPECT_GE(pictures[index].time - pictures[index - 1].time, std::chrono::milliseconds{400});
        EXPECT_TRUE(pictures[index].change.dirty.empty());
        EXPECT_EQ(pictures[index].address, pictures[index - 1].address);
    }
    EXPECT_EQ(captured.recorder.complaints(), "");
    EXPECT_EQ(captured.recorder.lastColours(), captured.expected);
}

TEST(X11VideoSourceWindow, WhatChildWindowsShowIsInThePicture)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    const auto child = captured.desktop.connection().newId();
    const std::uint32_t colour = 0x00ff00;
    xcb_create_window(captured.desktop.xcb(), XCB_COPY_FROM_PARENT, child, captured.window, 50, 60, 80, 40, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &colour);
    xcb_map_window(captured.desktop.xcb(), child);
    captured.desktop.sync();
    captured.expect({50, 60, 80, 40}, colour);
    captured.waitUntilRight("the child window");
    captured.desktop.fill(child, {10, 10, 20, 20}, 0x0000ff);
    captured.expect({60, 70, 20, 20}, 0x0000ff);
    captured.waitUntilRight("what the child draws");
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AWindowWith32BitsAPixelIsCaptured)
{
    CapturedWindow captured{{.background = 0xff336699, .depth = 32}};
    captured.waitUntilRight();
    captured.fill({10, 10, 50, 50}, 0xffabcdef);
    captured.waitUntilRight();
}

TEST(X11VideoSourceWindow, ABorderIsNotInThePicture)
{
    CapturedWindow captured{{.border = 7, .overridesRedirect = true}};
    captured.waitUntilRight();
    captured.fill({0, 0, 5, 5}, 0xffffff);
    captured.fill({395, 295, 5, 5}, 0xffffff);
    captured.waitUntilRight();
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, ShadowsThatTheProgramDrawsAreNotInThePicture)
{
    TestDesktop desktop;
    const auto window = desktop.makeWindow({.frame = {50, 50, 440, 330}, .background = 0x111111});
    desktop.setValues(window, "_GTK_FRAME_EXTENTS", "CARDINAL", {10, 30, 5, 25});
    desktop.map(window, true);
    desktop.fill(window, {0, 0, 440, 330}, 0x111111);
    desktop.fill(window, {10, 5, 400, 300}, 0xeeeeee);
    desktop.fill(window, {10, 5, 1, 1}, 0xff0000);
    desktop.sync();
    engine::Recorder recorder;
    X11VideoSource source{window, engine::pictureSize(400, 300), engine::nearestScalers()};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    std::vector<std::uint32_t> expected(400 * 300, 0xeeeeee);
    expected[0] = 0xff0000;
    recorder.waitForColours("the inside", expected);
    // Partial changes arrive in the right place, and those of the shadow are not told.
    desktop.fill(window, {409, 304, 10, 10}, 0x00ff00);
    expected[400 * 300 - 1] = 0x00ff00;
    recorder.waitForColours("a change in the corner", expected);
    EXPECT_EQ(recorder.pictures().back().change.dirty, (std::vector<PixelRect>{{399, 299, 1, 1}}));
    EXPECT_EQ(recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, ADestroyedWindowEndsTheStreamOnce)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    captured.desktop.destroy(captured.window);
    captured.recorder.waitForStop();
    captured.source.stop();
    ASSERT_EQ(captured.recorder.stops().size(), 1U);
    EXPECT_EQ(captured.recorder.stops().front().domain, "Velmora.X11");
    EXPECT_EQ(captured.recorder.stops().front().code, unavailable);
    EXPECT_EQ(captured.recorder.stops().front().localizedDescription, "The window was closed.");
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AWindowThatIsResizedAllTheTimeAndThenGoesWhileItsSizeIsUpdatedIsNeverShownWrong)
{
    CapturedWindow captured{{.overridesRedirect = true}};
    captured.waitUntilRight();
    auto& width = captured.width;
    auto& height = captured.height;
    const auto resize = [&](std::int32_t newWidth, std::int32_t newHeight) {
        width = newWidth;
        height = newHeight;
        const std::uint32_t size[] = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
        xcb_configure_window(captured.desktop.xcb(), captured.window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
        xcb_flush(captured.desktop.xcb());
    };
    for (std::int32_t step = 0; step < 60; ++step) {
        resize(200 + step * 131 % 400, 150 + step * 71 % 300);
        // The capture may or may not have heard of the size.
        if (captured.source.updateSize(width, height)) {
            EXPECT_EQ(captured.recorder.pictures().back().width, width);
            EXPECT_EQ(captured.recorder.pictures().back().height, height);
        }
    }
    resize(321, 123);
    captured.recorder.waitFor("an update", [&] { return captured.source.updateSize(width, height).has_value(); });
    EXPECT_FALSE(captured.source.updateSize(width + 1, height)) << "which the window does not have";
    captured.expected.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
    captured.fill({0, 0, width, height}, 0x2080c0);
    captured.waitUntilRight();

    resize(640, 480);
    xcb_destroy_window(captured.desktop.xcb(), captured.window);
    xcb_flush(captured.desktop.xcb());
    static_cast<void>(captured.source.updateSize(width, height));  // there may still have been time
    captured.recorder.waitForStop();
    EXPECT_EQ(captured.recorder.stops().size(), 1U);
    EXPECT_EQ(captured.recorder.stops().front().code, unavailable);
    EXPECT_FALSE(captured.source.updateSize(width, height));
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AWithdrawnWindowEndsTheStream)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    xcb_unmap_window(captured.desktop.xcb(), captured.window);
    captured.desktop.sync();
    captured.recorder.waitForStop();
    EXPECT_EQ(captured.recorder.stops().front().code, unavailable);
}

TEST(X11VideoSourceWindow, AnUnmanagedWindowThatIsUnmappedEndsTheStream)
{
    CapturedWindow captured{{.overridesRedirect = true}};
    captured.waitUntilRight();
    xcb_unmap_window(captured.desktop.xcb(), captured.window);
    captured.desktop.sync();
    captured.recorder.waitForStop();
    EXPECT_EQ(captured.recorder.stops().front().code, unavailable);
}

TEST(X11VideoSourceWindow, AProgramThatIsKilledEndsTheStream)
{
    engine::Recorder recorder;
    auto program = std::make_unique<NumberedWindowProgram>(std::vector<std::string>{"--size", "640x480"});
    X11VideoSource source{program->window(), engine::pictureSize(640, 480), engine::nearestScalers()};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForPictures(5);
    program.reset();
    recorder.waitForStop();
    EXPECT_EQ(recorder.stops().size(), 1U);
}

TEST(X11VideoSourceWindow, AMinimisedWindowIsAStillPictureAndComesBackLive)
{
    CapturedWindow captured;
    captured.fill({5, 5, 30, 30}, 0xffcc00);
    captured.waitUntilRight();
    captured.desktop.minimise(captured.window);
    const auto count = captured.recorder.pictures().size();
    captured.recorder.waitForPictures(count + 3);
    EXPECT_EQ(captured.recorder.lastColours(), captured.expected);
    EXPECT_TRUE(captured.recorder.pictures().back().change.dirty.empty());
    EXPECT_TRUE(captured.recorder.stops().empty());

    captured.desktop.restore(captured.window);
    captured.fill({0, 0, 400, 300}, 0x775533);
    captured.waitUntilRight("the window after it came back");
    captured.fill({100, 100, 9, 9}, 0x111111);
    captured.waitUntilRight("a change after it came back");
    EXPECT_TRUE(captured.recorder.stops().empty());
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AWindowOnAnotherWorkspaceIsAStillPictureAndComesBackLive)
{
    CapturedWindow captured;
    captured.waitUntilRight();
    const auto goTo = [&](std::uint32_t workspace) {
        captured.desktop.message(captured.desktop.root(), "_NET_CURRENT_DESKTOP", {workspace, XCB_CURRENT_TIME});
        captured.desktop.waitUntil("the other workspace", [&] {
            return captured.desktop.values(captured.desktop.root(), "_NET_CURRENT_DESKTOP") == std::vector<std::uint32_t>{workspace}
            && captured.desktop.isViewable(captured.window) == (workspace == 0);
        });
    };
    goTo(1);
    const auto count = captured.recorder.pictures().size();
    captured.recorder.waitForPictures(count + 2);
    EXPECT_EQ(captured.recorder.lastColours(), captured.expected);
    goTo(0);
    captured.fill({0, 0, 400, 300}, 0x123456);
    captured.waitUntilRight("the window after it came back");
    EXPECT_TRUE(captured.recorder.stops().empty());
}

TEST(X11VideoSourceWindow, AWindowThatIsResizedBackAndForthEndsUpRight)
{
    // Not managed, so that its sizes follow at once and none is left out.
    CapturedWindow captured{{.overridesRedirect = true}};
    captured.waitUntilRight();
    constexpr std::uint16_t size = XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT;
    for (std::uint32_t step = 1; step <= 30; ++step)
        captured.desktop.configure(captured.window, size, {400 + step * 9 % 70, 300 - step * 7 % 60});
    captured.desktop.configure(captured.window, size, {400, 300});
    captured.fill({0, 0, 400, 300}, 0x204060);
    captured.fill({380, 280, 20, 20}, 0xffffff);
    captured.waitUntilRight("the window at its first size");
    EXPECT_TRUE(captured.recorder.stops().empty());
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST(X11VideoSourceWindow, AWindowThatVanishedBeforeTheStartIsAnError)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.destroy(window);
    engine::Recorder recorder;
    X11VideoSource source{window, engine::pictureSize(400, 300), engine::nearestScalers()};
    const auto started = source.start(recorder.callbacks());
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().code, unavailable);
    EXPECT_EQ(started.error().localizedDescription, "The window is no longer available.");
    source.stop();
    EXPECT_TRUE(recorder.pictures().empty());
    EXPECT_TRUE(recorder.stops().empty());
}

TEST(X11VideoSourceWindow, AMinimisedWindowCannotBeStarted)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.minimise(window);
    engine::Recorder recorder;
    X11VideoSource source{window, engine::pictureSize(400, 300), engine::nearestScalers()};
    const auto started = source.start(recorder.callbacks());
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().code, static_cast<int>(X11ErrorCode::windowNotOnScreen));
}

TEST(X11VideoSourceWindow, ASizeOutOfRangeCannotBeStarted)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    for (const std::int64_t width : {std::int64_t{0}, std::int64_t{-5}, std::int64_t{32768}, std::int64_t{1} << 40}) {
        engine::Recorder recorder;
        X11VideoSource source{window, engine::pictureSize(width, 300), engine::nearestScalers()};
        const auto started = source.start(recorder.callbacks());
        ASSERT_FALSE(started) << width;
        EXPECT_EQ(started.error().code, static_cast<int>(X11ErrorCode::invalidSize));
    }
}

TEST(X11VideoSourceWindow, StartingACaptureLeavesTheFocusWhereItIs)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    const auto focus = [&] { return desktop.connection().reply(xcb_get_input_focus_reply, xcb_get_input_focus(desktop.xcb()))->focus; };
    xcb_set_input_focus(desktop.xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    desktop.waitUntil("the focus", [&] { return focus() == window; });
    engine::Recorder recorder;
    X11VideoSource source{window, engine::pictureSize(400, 300), engine::nearestScalers()};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForPictures(2);
    desktop.waitUntil("the focus", [&] { return focus() == window; });
    source.stop();
    desktop.waitUntil("the focus", [&] { return focus() == window; });
}

class CursorInPicture : public testing::Test {
protected:
    /// A white cross-hair square of 9 x 9 with its hot spot in the middle.
    void useCursor(CapturedWindow& captured, std::uint32_t alpha)
    {
        auto& desktop = captured.desktop;
        const auto mask = [&](std::uint32_t bit) {
            const auto pixmap = desktop.connection().newId();
            xcb_create_pixmap(desktop.xcb(), 1, pixmap, desktop.root(), 9, 9);
            const auto context = desktop.connection().newId();
            xcb_create_gc(desktop.xcb(), context, pixmap, XCB_GC_FOREGROUND, &bit);
            const xcb_rectangle_t all{0, 0, 9, 9};
            xcb_poly_fill_rectangle(desktop.xcb(), pixmap, context, 1, &all);
            return pixmap;
        };
        const auto cursor = desktop.connection().newId();
        xcb_create_cursor(desktop.xcb(), cursor, mask(1), mask(alpha), 0xffff, 0, 0xffff, 0, 0, 0, 4, 4);
        const std::uint32_t value = cursor;
        xcb_change_window_attributes(desktop.xcb(), captured.window, XCB_CW_CURSOR, &value);
        desktop.sync();
    }

    static constexpr std::uint32_t cursorColour = 0xff00ff;
    static PixelRect cursorAt(int x, int y) { return {x - 4, y - 4, 9, 9}; }
};

TEST_F(CursorInPicture, IsDrawnWhereThePointerIsAndFollowsIt)
{
    CapturedWindow captured{{}, true};
    useCursor(captured, 1);
    const auto place = captured.desktop.rootFrame(captured.window);
    const auto clean = captured.expected;
    for (const auto& [x, y] : {std::pair{100, 100}, {200, 150}, {2, 2}, {399, 299}, {104, 102}}) {
        captured.desktop.movePointer(place.x + x, place.y + y);
        captured.expected = clean;
        captured.expect(cursorAt(x, y), cursorColour);
        captured.waitUntilRight("the cursor at " + std::to_string(x) + ' ' + std::to_string(y));
    }
    captured.desktop.movePointer(place.x - 40, place.y);
    captured.expected = clean;
    captured.waitUntilRight("no cursor when it has left");
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST_F(CursorInPicture, IsNotBurntInWhenTheWindowDrawsUnderIt)
{
    CapturedWindow captured{{}, true};
    useCursor(captured, 1);
    const auto place = captured.desktop.rootFrame(captured.window);
    std::mt19937 random{2};
    for (int step = 0; step < 25; ++step) {
        const int x = 100 + step * 3;
        captured.desktop.movePointer(place.x + x, place.y + 100);
        captured.fill({90 + static_cast<int>(random() % 80), 80, 30, 40}, random() & 0xffffff);
        const auto clean = captured.expected;
        captured.expect(cursorAt(x, 100), cursorColour);
        captured.waitUntilRight("step " + std::to_string(step));
        captured.expected = clean;
    }
    captured.desktop.movePointer(0, 0);
    captured.waitUntilRight("no cursor when it has left");
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST_F(CursorInPicture, IsNotDrawnWhenItIsNotAskedFor)
{
    CapturedWindow captured{{}, false};
    useCursor(captured, 1);
    const auto place = captured.desktop.rootFrame(captured.window);
    captured.desktop.movePointer(place.x + 100, place.y + 100);
    captured.fill({200, 200, 10, 10}, 0x010203);
    captured.waitUntilRight("a picture after the pointer has come");
    EXPECT_EQ(captured.recorder.complaints(), "");
}

TEST_F(CursorInPicture, ACursorWithoutAVisiblePixelIsNotDrawn)
{
    CapturedWindow captured{{}, true};
    useCursor(captured, 0);
    const auto place = captured.desktop.rootFrame(captured.window);
    captured.desktop.movePointer(place.x + 100, place.y + 100);
    captured.fill({200, 200, 10, 10}, 0x010203);
    captured.waitUntilRight("a picture after the pointer has come");
    useCursor(captured, 1);
    const auto clean = captured.expected;
    captured.expect(cursorAt(100, 100), cursorColour);
    captured.waitUntilRight("the cursor that can be seen again");
}

TEST_F(CursorInPicture, IsNotDrawnWhileThePointerIsOverAnotherWindowOnTop)
{
    CapturedWindow captured{{}, true};
    useCursor(captured, 1);
    const auto place = captured.desktop.rootFrame(captured.window);
    captured.desktop.movePointer(place.x + 100, place.y + 100);
    const auto clean = captured.expected;
    captured.expect(cursorAt(100, 100), cursorColour);
    captured.waitUntilRight("the cursor");
    const auto cover = captured.desktop.showWindow({.frame = {place.x + 50, place.y + 50, 100, 100}, .overridesRedirect = true});
    captured.desktop.raise(cover);
    captured.expected = clean;
    captured.waitUntilRight("no cursor below the other window");
}

TEST_F(CursorInPicture, IsDrawnIntoAScaledPictureToo)
{
    CapturedWindow captured{{.frame = {50, 60, 200, 150}}, true};
    captured.source.stop();
    useCursor(captured, 1);
    engine::Recorder recorder;
    X11VideoSource source{captured.window, engine::pictureSize(400, 300, true), engine::nearestScalers()};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    const auto place = captured.desktop.rootFrame(captured.window);
    captured.desktop.movePointer(place.x + 100, place.y + 50);
    recorder.waitFor("the cursor", [&] {
        const auto colours = recorder.lastColours();
        return !colours.empty() && colours[100 * 400 + 200] == cursorColour && colours[80 * 400 + 200] == 0x204060;
    });
    captured.desktop.movePointer(0, 0);
    recorder.waitForColours("no cursor", std::vector<std::uint32_t>(400 * 300, 0x204060));
    EXPECT_EQ(recorder.complaints(), "");
}

TEST(X11VideoSourceServer, ALostConnectionEndsTheStreamAndNotTheProgram)
{
    PrivateServer server{{"-screen", "0", "640x480x24"}};
    TestDesktop desktop{server.displayName()};
    const auto window = desktop.showWindow({.frame = {0, 0, 320, 240}});
    engine::Recorder recorder;
    X11VideoSource source{
        window, engine::pictureSize(320, 240), engine::nearestScalers(), {server.displayName(), ImageTransport::fileDescriptor}};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForPictures(2);
    server.kill();
    recorder.waitForStop();
    EXPECT_EQ(recorder.stops().front().code, static_cast<int>(X11ErrorCode::connectionLost));
    EXPECT_EQ(recorder.stops().size(), 1U);
}

TEST(X11VideoSourceServer, ADisplayThatIsGoneIsToldWhereThatIsWantedAndNoErrorIs)
{
    PrivateServer server{{"-screen", "0", "640x480x24"}};
    TestDesktop desktop{server.displayName()};
    const auto window = desktop.showWindow({.frame = {0, 0, 320, 240}});
    engine::Recorder recorder;
    std::promise<void> gone;
    X11VideoSource source{window, engine::pictureSize(320, 240), engine::nearestScalers(),
        {server.displayName(), ImageTransport::fileDescriptor, [&gone] { gone.set_value(); }}};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForPictures(2);
    server.kill();
    gone.get_future().wait();
    source.stop();
    EXPECT_TRUE(recorder.stops().empty());
}

TEST(X11VideoSourceServer, AServerThatCannotBeReachedIsAnError)
{
    const auto available = X11VideoSource::checkAvailable(":32100");
    ASSERT_FALSE(available);
    EXPECT_EQ(available.error().code, static_cast<int>(X11ErrorCode::displayUnavailable));
}

TEST(X11VideoSourceServer, ThisDesktopOffersWhatIsNeeded)
{
    const auto available = X11VideoSource::checkAvailable();
    EXPECT_TRUE(available) << available.error().localizedDescription;
}

TEST(X11VideoSourceServer, AMissingExtensionIsNamed)
{
    for (const char* name : {"Composite", "DAMAGE", "XFIXES"}) {
        PrivateServer server{{"-extension", name}};
        const auto available = X11VideoSource::checkAvailable(server.displayName());
        ASSERT_FALSE(available) << name;
        EXPECT_EQ(available.error().code, static_cast<int>(X11ErrorCode::extensionMissing));
    }
}

TEST(X11VideoSourceServer, WithoutSharedMemoryPicturesComeOverTheSocket)
{
    PrivateServer server{{"-extension", "MIT-SHM"}};
    TestDesktop desktop{server.displayName()};
    const auto window = desktop.showWindow({.frame = {0, 0, 320, 240}});
    engine::Recorder recorder;
    X11VideoSource source{
        window, engine::pictureSize(320, 240), engine::nearestScalers(), {server.displayName(), ImageTransport::fileDescriptor}};
    ASSERT_TRUE(source.start(recorder.callbacks()));
    recorder.waitForColours("the window", std::vector<std::uint32_t>(320 * 240, 0x204060));
}

TEST(X11VideoSourceServer, AWindowWith16BitsAPixelIsAnError)
{
    PrivateServer server{{"-screen", "0", "640x480x16"}};
    TestDesktop desktop{server.displayName()};
    const auto window = desktop.makeWindow({.frame = {0, 0, 320, 240}});
    desktop.map(window, false);
    engine::Recorder recorder;
    X11VideoSource source{
        window, engine::pictureSize(320, 240), engine::nearestScalers(), {server.displayName(), ImageTransport::fileDescriptor}};
    const auto started = source.start(recorder.callbacks());
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().code, static_cast<int>(X11ErrorCode::unsupportedPixels));
}

}  // namespace
}  // namespace velmora::linux_backend
