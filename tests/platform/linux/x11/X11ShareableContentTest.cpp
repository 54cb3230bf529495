#include "platform/linux/x11/X11ShareableContent.h"

#include "platform/linux/x11/Errors.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <memory>
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

TEST(X11ShareableContent, AMinimisedWindowIsKnownAsSuch)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    EXPECT_FALSE(find(contentOf(), window)->isMinimised);
    desktop.minimise(window);
    EXPECT_TRUE(find(contentOf(), window)->isMinimised);
    EXPECT_EQ(find(contentOf(), window)->otherWorkspace, std::nullopt);
    desktop.restore(window);
    desktop.waitUntil("the window is on screen", [&] { return find(contentOf(true, true), window).has_value(); });
    EXPECT_FALSE(find(contentOf(), window)->isMinimised);
}

TEST(X11ShareableContent, AWindowOnAnotherWorkspaceSaysOnWhichAndIsNotCalledMinimised)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    EXPECT_EQ(find(contentOf(), window)->otherWorkspace, std::nullopt);
    desktop.message(window, "_NET_WM_DESKTOP", {1, 1});
    desktop.waitUntil("the window is elsewhere", [&] { return !find(contentOf(), window)->isOnScreen; });
    const auto listed = find(contentOf(), window);
    ASSERT_TRUE(listed->otherWorkspace);
    EXPECT_EQ(listed->otherWorkspace->number, 2U);
    EXPECT_FALSE(listed->isMinimised);
}

TEST(X11ShareableContent, AMinimisedWindowOnAnotherWorkspaceIsBoth)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.minimise(window);
    desktop.message(window, "_NET_WM_DESKTOP", {1, 1});
    desktop.waitUntil("the window is elsewhere", [&] { return find(contentOf(), window)->otherWorkspace.has_value(); });
    EXPECT_TRUE(find(contentOf(), window)->isMinimised);
}

TEST(X11ShareableContent, ARolledUpWindowIsNotCalledMinimised)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({});
    desktop.message(window, "_NET_WM_STATE", {1, desktop.atom("_NET_WM_STATE_SHADED"), 0, 1});
    desktop.waitUntil("the window is rolled up", [&] { return !find(contentOf(), window)->isOnScreen; });
    EXPECT_FALSE(find(contentOf(), window)->isMinimised);
    EXPECT_EQ(find(contentOf(), window)->otherWorkspace, std::nullopt);
}

/// A server without a window manager, whose part the test plays.
struct BareDesktop {
    PrivateServer server{{"-screen", "0", "800x600x24"}};
    TestDesktop desktop{server.displayName()};
    X11ShareableContent provider{server.displayName()};

    BareDesktop() = default;
    ~BareDesktop() { xcb_delete_property(desktop.xcb(), desktop.root(), desktop.atom("_NET_CLIENT_LIST")); }
    BareDesktop(const BareDesktop&) = delete;
    BareDesktop& operator=(const BareDesktop&) = delete;

    xcb_window_t managedWindow()
    {
        const auto window = desktop.showWindow({});
        desktop.setValues(desktop.root(), "_NET_CLIENT_LIST", "WINDOW", {window});
        return window;
    }

    ShareableWindow listed(xcb_window_t window)
    {
        desktop.sync();
        const auto content = query(provider);
        EXPECT_TRUE(content);
        return content ? find(*content, window).value_or(ShareableWindow{}) : ShareableWindow{};
    }
};

TEST(X11ShareableContent, AnotherWorkspaceHasTheNameThatTheDesktopGivesIt)
{
    BareDesktop bare;
    const auto window = bare.managedWindow();
    auto& desktop = bare.desktop;
    desktop.setValues(desktop.root(), "_NET_CURRENT_DESKTOP", "CARDINAL", {0});
    desktop.setText(desktop.root(), "_NET_DESKTOP_NAMES", "UTF8_STRING", std::string{"Work\0M\xc3\xa4il \xff", 13});
    desktop.setValues(window, "_NET_WM_DESKTOP", "CARDINAL", {1});
    using platform::DesktopWorkspace;
    EXPECT_EQ(bare.listed(window).otherWorkspace, (DesktopWorkspace{2, "M\xc3\xa4il \xef\xbf\xbd"}));
    desktop.setValues(window, "_NET_WM_DESKTOP", "CARDINAL", {2});
    EXPECT_EQ(bare.listed(window).otherWorkspace, (DesktopWorkspace{3, ""})) << "there is no third name";
    desktop.setValues(window, "_NET_WM_DESKTOP", "CARDINAL", {0});
    EXPECT_EQ(bare.listed(window).otherWorkspace, std::nullopt);
    desktop.setValues(window, "_NET_WM_DESKTOP", "CARDINAL", {0xfffffffe});
    EXPECT_EQ(bare.listed(window).otherWorkspace, (DesktopWorkspace{0xffffffff, ""}));
}

TEST(X11ShareableContent, OnlyOneOfSeveralMeaningsOfIconicIsMinimised)
{
    BareDesktop bare;
    const auto window = bare.managedWindow();
    auto& desktop = bare.desktop;
    desktop.setValues(desktop.root(), "_NET_CURRENT_DESKTOP", "CARDINAL", {0});
    desktop.setValues(window, "_NET_WM_DESKTOP", "CARDINAL", {0});
    desktop.setValues(window, "WM_STATE", "WM_STATE", {3, 0});
    EXPECT_TRUE(bare.listed(window).isMinimised);
    desktop.setValues(window, "_NET_WM_DESKTOP", "CARDINAL", {1});
    EXPECT_FALSE(bare.listed(window).isMinimised) << "iconic, because it is elsewhere";
    desktop.setValues(window, "_NET_WM_STATE", "ATOM", {desktop.atom("_NET_WM_STATE_HIDDEN")});
    EXPECT_TRUE(bare.listed(window).isMinimised);
    desktop.setValues(window, "_NET_WM_STATE", "ATOM", {desktop.atom("_NET_WM_STATE_SHADED"), desktop.atom("_NET_WM_STATE_HIDDEN")});
    EXPECT_FALSE(bare.listed(window).isMinimised) << "hidden, because it is rolled up";
}

/// All icons of those windows, by window, once all have been looked for.
std::map<std::uint32_t, platform::ApplicationIcon> iconsOf(X11ShareableContent& provider, const std::vector<std::uint32_t>& windows)
{
    std::map<std::uint32_t, platform::ApplicationIcon> found;
    std::promise<void> over;
    // The search lets go of what it calls when it is over.
    provider.icons()->findIcons(windows, 48, [&found, last = std::shared_ptr<void>(nullptr, [&over](void*) {
        over.set_value();
    })](std::uint32_t id, platform::ApplicationIcon icon) {
        EXPECT_TRUE(found.emplace(id, std::move(icon)).second);
        return true;
    });
    over.get_future().wait();
    return found;
}

std::vector<std::uint32_t> iconItems(std::uint32_t side, std::uint32_t pixel)
{
    std::vector<std::uint32_t> items(2 + std::size_t{side} * side, pixel);
    items[0] = items[1] = side;
    return items;
}

TEST(X11ShareableContent, AWindowsOwnIconIsFoundAndABrokenOneIsPassedOver)
{
    // Without a window manager, which gives an icon to those that have none.
    BareDesktop bare;
    auto& desktop = bare.desktop;
    const auto whole = desktop.showWindow({});
    const auto lying = desktop.showWindow({});
    const auto tiny = desktop.showWindow({});
    const auto empty = desktop.showWindow({});
    const auto text = desktop.showWindow({});
    const auto without = desktop.showWindow({});
    const auto gone = desktop.showWindow({});
    const auto large = desktop.showWindow({});
    desktop.setValues(whole, "_NET_WM_ICON", "CARDINAL", iconItems(64, 0xff0000ff));
    desktop.setValues(lying, "_NET_WM_ICON", "CARDINAL", {16384, 16384, 0xff0000ff});
    desktop.setValues(tiny, "_NET_WM_ICON", "CARDINAL", {1, 1, 0xff0000ff});
    desktop.setValues(empty, "_NET_WM_ICON", "CARDINAL", {});
    desktop.setText(text, "_NET_WM_ICON", "UTF8_STRING", std::string(4 * (2 + 64 * 64), ' '));
    desktop.setValues(large, "_NET_WM_ICON", "CARDINAL", iconItems(512, 0xff00ff00));
    desktop.destroy(gone);
    desktop.sync();
    const auto icons = iconsOf(bare.provider, {lying, tiny, empty, text, without, gone, whole, large});
    ASSERT_EQ(icons.size(), 2U);
    ASSERT_TRUE(icons.contains(whole) && icons.contains(large));
    EXPECT_EQ(icons.at(whole).side, 48);
    EXPECT_EQ(icons.at(whole).rgba.size(), 48U * 48 * 4);
    EXPECT_EQ(icons.at(whole).rgba[2], 255);
    EXPECT_EQ(icons.at(large).rgba[1], 255);
}

TEST(X11ShareableContent, TheIconOfTheDesktopEntryComesBeforeTheWindowsOwn)
{
    const auto folder = fs::temp_directory_path() / ("icons-" + std::to_string(getpid()));
    fs::create_directories(folder / "applications");
    std::ofstream(folder / "applications/player.desktop")
        << "[Desktop Entry]\nType=Application\nName=Player\nIcon=film-player\nStartupWMClass=TestClass\n";
    std::ofstream(folder / "applications/other.desktop")
        << "[Desktop Entry]\nType=Application\nName=Other\nIcon=missing\nStartupWMClass=OtherClass\n";
    TestDesktop desktop;
    const auto installed = desktop.showWindow({});
    const auto missing = desktop.showWindow({.className = "OtherClass"});
    for (const auto window : {installed, missing})
        desktop.setValues(window, "_NET_WM_ICON", "CARDINAL", iconItems(48, 0xff0000ff));
    desktop.sync();
    std::vector<std::string> asked;
    X11ShareableContent provider{
        "", DesktopEntries{{folder}, "C"}, [&asked](const std::string& icon, const std::string&, int side) {
            asked.push_back(icon);
            return icon == "film-player" ? std::optional{platform::ApplicationIcon{side, {1, 2, 3, 4}}} : std::nullopt;
        }};
    ASSERT_TRUE(query(provider));
    const auto icons = iconsOf(provider, {installed, missing});
    fs::remove_all(folder);
    EXPECT_EQ(asked, (std::vector<std::string>{"film-player", "missing"}));
    ASSERT_TRUE(icons.contains(installed) && icons.contains(missing));
    EXPECT_EQ(icons.at(installed).rgba, (std::vector<std::uint8_t>{1, 2, 3, 4}));
    EXPECT_EQ(icons.at(missing).rgba[2], 255) << "what the entry names is not there";
}

TEST(X11ShareableContent, TheThemeIsTheOneThatTheDesktopTellsItsClients)
{
    BareDesktop bare;
    const auto window = bare.managedWindow();
    auto& desktop = bare.desktop;
    const auto folder = fs::temp_directory_path() / ("themes-" + std::to_string(getpid()));
    fs::create_directories(folder / "applications");
    std::ofstream(folder / "applications/TestClass.desktop") << "[Desktop Entry]\nType=Application\nName=Player\nIcon=player\n";
    std::vector<std::string> themes;
    X11ShareableContent provider{
        bare.server.displayName(), DesktopEntries{{folder}, "C"}, [&themes](const std::string&, const std::string& theme, int) {
            themes.push_back(theme);
            return std::optional<platform::ApplicationIcon>{};
        }};
    desktop.sync();
    ASSERT_TRUE(query(provider));
    fs::remove_all(folder);
    iconsOf(provider, {window});
    const auto owner = desktop.makeWindow({});
    xcb_set_selection_owner(desktop.xcb(), owner, desktop.atom("_XSETTINGS_S0"), XCB_CURRENT_TIME);
    using namespace std::string_literals;
    desktop.setText(owner, "_XSETTINGS_SETTINGS", "_XSETTINGS_SETTINGS",
        "\0\0\0\0\1\0\0\0\1\0\0\0\1\0\x11\0Net/IconThemeName\0\0\0\0\0\0\0\7\0\0\0Papirus\0"s);
    desktop.sync();
    iconsOf(provider, {window});
    EXPECT_EQ(themes, (std::vector<std::string>{"", "Papirus"}));
}

TEST(X11ShareableContent, AListComesWhileIconsAreStillBeingDrawn)
{
    const auto folder = fs::temp_directory_path() / ("slow-" + std::to_string(getpid()));
    fs::create_directories(folder / "applications");
    std::ofstream(folder / "applications/TestClass.desktop") << "[Desktop Entry]\nType=Application\nName=Player\nIcon=player\n";
    TestDesktop desktop;
    const auto first = desktop.showWindow({});
    const auto second = desktop.showWindow({});
    std::promise<void> begun;
    std::promise<void> goOn;
    auto mayGoOn = goOn.get_future();
    int drawn = 0;
    X11ShareableContent provider{"", DesktopEntries{{folder}, "C"}, [&](const std::string&, const std::string&, int side) {
                                     if (++drawn == 1) {
                                         begun.set_value();
                                         mayGoOn.wait();
                                     }
                                     return std::optional{platform::ApplicationIcon{side, {}}};
                                 }};
    ASSERT_TRUE(query(provider));
    std::promise<void> over;
    provider.icons()->findIcons({first, second}, 48, [last = std::shared_ptr<void>(nullptr, [&over](void*) {
        over.set_value();
    })](std::uint32_t, platform::ApplicationIcon) { return false; });
    begun.get_future().wait();
    EXPECT_TRUE(query(provider));
    goOn.set_value();
    over.get_future().wait();
    fs::remove_all(folder);
    EXPECT_EQ(drawn, 1) << "no more were wanted after the first";
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
