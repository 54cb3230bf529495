#include "platform/linux/x11/X11ShareableContent.h"

#include "platform/linux/x11/Errors.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;
using platform::ShareableContent;
using platform::ShareableWindow;

Result<ShareableContent> query(X11ShareableContent& provider, bool excludingDesktopWindows = true, bool onScreenWindowsOnly = false)
{
    std::promise<Result<ShareableContent>> promise;
    auto future = promise.get_future();
    provider.getShareableContent(excludingDesktopWindows, onScreenWindowsOnly,
        [&promise](Result<ShareableContent> content) { promise.set_value(std::move(content)); });
    return future.get();
}

ShareableContent contentOf(bool excludingDesktopWindows = true, bool onScreenWindowsOnly = false)
{
    X11ShareableContent provider;
    auto content = query(provider, excludingDesktopWindows, onScreenWindowsOnly);
    EXPECT_TRUE(content) << content.error().localizedDescription;
    return content.value_or(ShareableContent{});
}

std::optional<ShareableWindow> find(const ShareableContent& content, xcb_window_t window)
{
    for (const auto& candidate : content.windows) {
        if (candidate.windowID == window)
            return candidate;
    }
    return std::nullopt;
}

std::ptrdiff_t place(const ShareableContent& content, xcb_window_t window)
{
    const auto found = std::find_if(content.windows.begin(), content.windows.end(),
        [window](const ShareableWindow& candidate) { return candidate.windowID == window; });
    EXPECT_NE(found, content.windows.end());
    return found - content.windows.begin();
}

std::string hostName()
{
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    return name;
}

TEST(X11ShareableContent, AWindowIsListedWithAllThatIsKnownOfIt)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({.frame = {120, 140, 400, 300}, .title = "Gr\xc3\xbc\xc3\x9f dich \xf0\x9f\x8e\xac"});
    desktop.setValues(window, "_NET_WM_PID", "CARDINAL", {4242});
    desktop.setText(window, "WM_CLIENT_MACHINE", "STRING", hostName());
    desktop.sync();
    const auto content = contentOf();
    const auto listed = find(content, window);
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->title, "Gr\xc3\xbc\xc3\x9f dich \xf0\x9f\x8e\xac");
    const auto place = desktop.rootFrame(window);
    EXPECT_EQ(listed->frame, (Rect{double(place.x), double(place.y), 400, 300}));
    EXPECT_GT(desktop.frameOf(window), 0U);
    EXPECT_NE(desktop.frameOf(window), window) << "the window manager is expected to put a frame around the window";
    EXPECT_EQ(listed->windowLayer, 0);
    EXPECT_TRUE(listed->isOnScreen);
    ASSERT_TRUE(listed->owningApplication);
    EXPECT_EQ(listed->owningApplication->bundleIdentifier, "TestClass");
    EXPECT_EQ(listed->owningApplication->applicationName, "TestClass");
    EXPECT_EQ(listed->owningApplication->processID, 4242);
    EXPECT_EQ(std::count(content.applications.begin(), content.applications.end(), *listed->owningApplication), 1);
}

TEST(X11ShareableContent, WindowsAreOrderedTopmostFirst)
{
    TestDesktop desktop;
    const auto first = desktop.showWindow({.title = "first"});
    const auto second = desktop.showWindow({.title = "second"});
    const auto third = desktop.showWindow({.title = "third"});
    desktop.message(first, "_NET_RESTACK_WINDOW", {2, 0, XCB_STACK_MODE_ABOVE});
    desktop.waitUntil(
        "the first window is on top", [&] { return desktop.values(desktop.root(), "_NET_CLIENT_LIST_STACKING").back() == first; });
    const auto content = contentOf();
    EXPECT_EQ(place(content, first), 0);
    EXPECT_LT(place(content, third), place(content, second));
}

TEST(X11ShareableContent, AMinimisedWindowIsListedAsNotOnScreen)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.minimise(window);
    ASSERT_TRUE(find(contentOf(), window));
    EXPECT_FALSE(find(contentOf(), window)->isOnScreen);
    EXPECT_FALSE(find(contentOf(true, true), window)) << "only windows on screen were asked for";
    desktop.restore(window);
    desktop.waitUntil("the window is on screen", [&] { return find(contentOf(true, true), window).has_value(); });
}

TEST(X11ShareableContent, AWindowOnAnotherWorkspaceIsListedAsNotOnScreen)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.message(window, "_NET_WM_DESKTOP", {1, 1});
    desktop.waitUntil("the window is elsewhere", [&] { return !find(contentOf(), window)->isOnScreen; });
    // On all workspaces it is on this one too.
    desktop.message(window, "_NET_WM_DESKTOP", {0xffffffff, 1});
    desktop.waitUntil("the window is everywhere", [&] { return find(contentOf(), window)->isOnScreen; });
}

TEST(X11ShareableContent, OnlyOrdinaryWindowsAreOnLayer0)
{
    TestDesktop desktop;
    for (const char* type : {"NORMAL", "DIALOG", "UTILITY"}) {
        const auto window = desktop.showWindow({.type = std::string("_NET_WM_WINDOW_TYPE_") + type});
        EXPECT_EQ(find(contentOf(), window)->windowLayer, 0) << type;
        desktop.destroy(window);
    }
    for (const char* type : {"DOCK", "SPLASH", "TOOLBAR", "MENU"}) {
        const auto window = desktop.showWindow({.type = std::string("_NET_WM_WINDOW_TYPE_") + type});
        EXPECT_NE(find(contentOf(), window)->windowLayer, 0) << type;
        desktop.destroy(window);
    }
}

TEST(X11ShareableContent, DesktopWindowsAreLeftOutWhenAsked)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({.type = "_NET_WM_WINDOW_TYPE_DESKTOP"});
    EXPECT_FALSE(find(contentOf(true), window));
    const auto listed = find(contentOf(false), window);
    ASSERT_TRUE(listed);
    EXPECT_NE(listed->windowLayer, 0);
}

TEST(X11ShareableContent, AWindowWithoutPidBelongsToTheProcessThatIsConnected)
{
    TestDesktop desktop;
    NumberedWindowProgram program{{"--pid-less", "--size", "320x240", "--still"}};
    const auto listed = find(contentOf(), program.window());
    ASSERT_TRUE(listed && listed->owningApplication);
    EXPECT_EQ(listed->owningApplication->processID, program.pid());
}

TEST(X11ShareableContent, AWindowOfAnotherMachineBelongsToNoProcess)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.setValues(window, "_NET_WM_PID", "CARDINAL", {4242});
    desktop.setText(window, "WM_CLIENT_MACHINE", "STRING", "elsewhere.example");
    desktop.sync();
    const auto listed = find(contentOf(), window);
    ASSERT_TRUE(listed && listed->owningApplication);
    EXPECT_EQ(listed->owningApplication->processID, 0);
}

TEST(X11ShareableContent, WithoutAClassTheExecutableNamesTheApplication)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    xcb_delete_property(desktop.xcb(), window, XCB_ATOM_WM_CLASS);
    desktop.setValues(window, "_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(getpid())});
    desktop.sync();
    const auto listed = find(contentOf(), window);
    ASSERT_TRUE(listed && listed->owningApplication);
    EXPECT_EQ(listed->owningApplication->bundleIdentifier, "x11_desktop_tests");
}

TEST(X11ShareableContent, TheDesktopEntryNamesTheApplication)
{
    const auto folder = fs::temp_directory_path() / ("entries-" + std::to_string(getpid()));
    fs::create_directories(folder / "applications");
    std::ofstream(folder / "applications/org.example.Player.desktop")
        << "[Desktop Entry]\nType=Application\nName=Film Player\nName[de]=Filmspieler\nStartupWMClass=TestClass\n";
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    X11ShareableContent provider{"", DesktopEntries{{folder}, "de_DE.UTF-8"}};
    const auto content = query(provider);
    fs::remove_all(folder);
    ASSERT_TRUE(content);
    EXPECT_EQ(find(*content, window)->owningApplication->applicationName, "Filmspieler");
    EXPECT_EQ(find(*content, window)->owningApplication->bundleIdentifier, "TestClass");
}

TEST(X11ShareableContent, TitlesAreReadInEveryEncoding)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    const auto title = [&] {
        desktop.sync();
        return find(contentOf(), window)->title;
    };
    desktop.setText(window, "_NET_WM_NAME", "UTF8_STRING", "broken \xff end");
    EXPECT_EQ(title(), "broken \xef\xbf\xbd end");
    xcb_delete_property(desktop.xcb(), window, desktop.atom("_NET_WM_NAME"));
    desktop.setText(window, "WM_NAME", "STRING", "caf\xe9");
    EXPECT_EQ(title(), "caf\xc3\xa9");
    desktop.setText(window, "WM_NAME", "COMPOUND_TEXT", "a\x1b%G\xe2\x82\xac\x1b%@");
    EXPECT_EQ(title(), "a\xe2\x82\xac");
    desktop.setText(window, "WM_NAME", "UTF8_STRING", "\xe2\x82\xac");
    EXPECT_EQ(title(), "\xe2\x82\xac");
    xcb_delete_property(desktop.xcb(), window, XCB_ATOM_WM_NAME);
    EXPECT_EQ(title(), std::nullopt);
}

TEST(X11ShareableContent, TheFrameLeavesOutShadowsThatTheProgramDraws)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({.frame = {100, 100, 440, 330}});
    desktop.setValues(window, "_GTK_FRAME_EXTENTS", "CARDINAL", {10, 30, 5, 25});
    desktop.sync();
    const auto place = desktop.rootFrame(window);
    EXPECT_EQ(find(contentOf(), window)->frame, (Rect{place.x + 10.0, place.y + 5.0, 400, 300}));
}

TEST(X11ShareableContent, ThereIsADisplayWithTheScreensSize)
{
    TestDesktop desktop;
    const auto& screen = desktop.connection().screen();
    const auto displays = contentOf().displays;
    ASSERT_EQ(displays.size(), 1U);
    EXPECT_EQ(displays[0].frame, (Rect{0, 0, double(screen.width_in_pixels), double(screen.height_in_pixels)}));
    EXPECT_EQ(contentOf().displays, displays);
}

TEST(X11ShareableContent, WindowsThatComeAndGoMeanwhileDoNoHarm)
{
    TestDesktop desktop;
    X11ShareableContent provider;
    std::vector<xcb_window_t> windows;
    for (int round = 0; round < 15; ++round) {
        windows.clear();
        for (int count = 0; count < 4; ++count)
            windows.push_back(desktop.showWindow({.frame = {count * 30, count * 30, 120, 100}}));
        std::promise<Result<ShareableContent>> promise;
        auto future = promise.get_future();
        provider.getShareableContent(true, false, [&](Result<ShareableContent> content) { promise.set_value(std::move(content)); });
        for (const auto window : windows)
            xcb_destroy_window(desktop.xcb(), window);
        desktop.connection().flush();
        const auto content = future.get();
        ASSERT_TRUE(content);
        for (const auto& window : content->windows)
            EXPECT_TRUE(window.owningApplication && window.frame.width > 0);
    }
    desktop.waitUntil("all are gone", [&] {
        const auto content = contentOf();
        return std::none_of(windows.begin(), windows.end(), [&](xcb_window_t window) { return find(content, window).has_value(); });
    });
}

TEST(X11ShareableContent, WithoutAWindowManagerTheMappedWindowsAreListed)
{
    PrivateServer server{{"-screen", "0", "800x600x24"}};
    TestDesktop desktop{server.displayName()};
    const auto below = desktop.showWindow({.title = "below"});
    const auto above = desktop.showWindow({.title = "above"});
    const auto hidden = desktop.makeWindow({.title = "never mapped"});
    const auto popup = desktop.showWindow({.title = "popup", .overridesRedirect = true});
    desktop.sync();
    X11ShareableContent provider{server.displayName()};
    const auto content = query(provider);
    ASSERT_TRUE(content);
    ASSERT_EQ(content->windows.size(), 2U);
    EXPECT_EQ(content->windows[0].windowID, above);
    EXPECT_EQ(content->windows[1].windowID, below);
    EXPECT_FALSE(find(*content, hidden) || find(*content, popup));
    EXPECT_TRUE(content->windows[0].isOnScreen);
}

TEST(X11ShareableContent, AWindowManagerWithoutListsIsReadFromItsWindows)
{
    PrivateServer server{{"-screen", "0", "800x600x24"}};
    TestDesktop desktop{server.displayName()};
    // A frame with a client in it, as a window manager that knows only ICCCM makes it.
    const auto frame = desktop.showWindow({.frame = {100, 100, 420, 340}, .title = "frame"});
    const auto client = desktop.makeWindow({.frame = {0, 0, 400, 300}, .title = "client"});
    xcb_reparent_window(desktop.xcb(), client, frame, 10, 30);
    xcb_map_window(desktop.xcb(), client);
    desktop.setValues(client, "WM_STATE", "WM_STATE", {1, 0});
    desktop.sync();
    X11ShareableContent provider{server.displayName()};
    const auto content = query(provider);
    ASSERT_TRUE(content);
    ASSERT_EQ(content->windows.size(), 1U);
    EXPECT_EQ(content->windows[0].windowID, client);
    EXPECT_EQ(content->windows[0].frame, (Rect{110, 130, 400, 300}));
}

TEST(X11ShareableContent, AServerThatCannotBeReachedIsAnError)
{
    X11ShareableContent provider{":32100"};
    const auto content = query(provider);
    ASSERT_FALSE(content);
    EXPECT_EQ(content.error().code, static_cast<int>(X11ErrorCode::displayUnavailable));
}

TEST(X11ShareableContent, QueriesFromSeveralThreadsAreAllAnswered)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    X11ShareableContent provider;
    std::vector<std::future<bool>> answers;
    for (int thread = 0; thread < 4; ++thread) {
        answers.push_back(std::async(std::launch::async, [&] {
            for (int count = 0; count < 5; ++count) {
                const auto content = query(provider);
                if (!content || !find(*content, window))
                    return false;
            }
            return true;
        }));
    }
    for (auto& answer : answers)
        EXPECT_TRUE(answer.get());
}

}  // namespace
}  // namespace velmora::linux_backend
