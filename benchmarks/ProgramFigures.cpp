// How soon the program is there and how much it takes, as a table, beside the smallest program that could do it. Runs in a private desktop.

#include "benchmarks/Figures.h"
#include "platform/linux/x11/Connection.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>
#include <xcb/xtest.h>

namespace {

using namespace velmora::test;
using velmora::benchmarks::Figures;
using velmora::benchmarks::residentMegabytes;
using velmora::linux_backend::Connection;

constexpr int rounds = 7;
constexpr int clipCount = 500;

// Places on the keyboard, by evdev.
constexpr std::uint8_t escapeKey = 9;
constexpr std::uint8_t wKey = 25;
constexpr std::uint8_t superKey = 133;

double milliseconds(std::int64_t since)
{
    return static_cast<double>(monotonicNow() - since) / 1e6;
}

void pause(std::int64_t nanoseconds)
{
    const auto end = monotonicNow() + nanoseconds;
    waitUntil([&] { return monotonicNow() >= end; });
}

/// What happens to the windows of the screen, heard of as it happens.
class Windows {
public:
    Windows() : connection_(std::move(Connection::open().value()))
    {
        const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_->xcb(), connection_->root(), XCB_CW_EVENT_MASK, &events);
        connection_->flush();
    }

    /// What was heard so far does not count.
    void forget()
    {
        connection_->flush();
        static_cast<void>(connection_->reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_->xcb())));
        while (connection_->poll()) { }
    }

    /// Waits until a window that was the screen's has become somebody else's: the icon has its place in the tray. Its identifier.
    xcb_window_t awaitDocking()
    {
        xcb_window_t window = 0;
        await([&](const xcb_generic_event_t& event) {
            const auto& reparented = reinterpret_cast<const xcb_reparent_notify_event_t&>(event);
            if ((event.response_type & 0x7f) != XCB_REPARENT_NOTIFY || reparented.parent == connection_->root())
                return false;
            window = reparented.window;
            return true;
        });
        return window;
    }

    void awaitMenu()
    {
        await([&](const xcb_generic_event_t& event) {
            return (event.response_type & 0x7f) == XCB_MAP_NOTIFY
                && reinterpret_cast<const xcb_map_notify_event_t&>(event).override_redirect != 0;
        });
    }

    /// Presses and releases the left button in the middle of a window.
    void click(xcb_window_t window)
    {
        const auto size = connection_->reply(xcb_get_geometry_reply, xcb_get_geometry(connection_->xcb(), window));
        const auto place = connection_->reply(xcb_translate_coordinates_reply,
            xcb_translate_coordinates(connection_->xcb(), window, connection_->root(), static_cast<std::int16_t>(size->width / 2),
                static_cast<std::int16_t>(size->height / 2)));
        fake(XCB_MOTION_NOTIFY, 0, place->dst_x, place->dst_y);
        fake(XCB_BUTTON_PRESS, 1, 0, 0);
        fake(XCB_BUTTON_RELEASE, 1, 0, 0);
    }

    /// Presses the keys one after another and releases them.
    void press(const std::vector<std::uint8_t>& keys)
    {
        for (const auto key : keys)
            fake(XCB_KEY_PRESS, key, 0, 0);
        for (auto key = keys.rbegin(); key != keys.rend(); ++key)
            fake(XCB_KEY_RELEASE, *key, 0, 0);
    }

    /// Whether the middle of the screen holds light pixels on the picker's dark background: its text is there.
    [[nodiscard]] bool showsThePicker() const
    {
        constexpr std::uint16_t width = 240;
        constexpr std::uint16_t height = 24;
        const auto& screen = connection_->screen();
        const auto picture = connection_->reply(xcb_get_image_reply,
            xcb_get_image(connection_->xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root,
                static_cast<std::int16_t>(screen.width_in_pixels / 2 - 256), static_cast<std::int16_t>(screen.height_in_pixels / 2 - 216),
                width, height, ~0U));
        const auto* pixels = xcb_get_image_data(picture.get());
        const int bytes = xcb_get_image_data_length(picture.get());
        int light = 0;
        int dark = 0;
        for (int i = 0; i + 3 < bytes; i += 4) {
            light += pixels[i] > 200 && pixels[i + 1] > 200 && pixels[i + 2] > 200;
            dark += pixels[i] < 60 && pixels[i + 1] < 40 && pixels[i + 2] < 30;
        }
        return light > 100 && dark > width * height / 2;
    }

private:
    void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y)
    {
        xcb_test_fake_input(connection_->xcb(), type, detail, XCB_CURRENT_TIME, connection_->root(), x, y, 0);
        connection_->flush();
    }

    void await(const std::function<bool(const xcb_generic_event_t&)>& isIt)
    {
        const bool came = waitUntil([&] {
            while (const auto event = connection_->poll()) {
                if (isIt(*event))
                    return true;
            }
            return false;
        });
        if (!came)
            throw std::runtime_error("the window did not come");
    }

    std::unique_ptr<Connection> connection_;
};

struct Start {
    double untilDocked = 0;  ///< milliseconds
    double resident = 0;  ///< megabytes
};

/// Ended before it returns.
Start measureStart(Windows& windows, const std::vector<std::string>& command, const Environment& environment)
{
    windows.forget();
    const auto begin = monotonicNow();
    Program program{command, environment};
    windows.awaitDocking();
    Start start{.untilDocked = milliseconds(begin), .resident = 0};
    // Until it has done all that a start brings.
    double before = -1;
    waitUntil([&] {
        pause(500'000'000);
        return std::exchange(before, residentMegabytes(program.processID())) == before;
    });
    start.resident = before;
    program.signal(SIGTERM);
    program.finish();
    return start;
}

void printStarts(Figures& figures, Windows& windows, const Environment& environment)
{
    std::vector<double> ours;
    std::vector<double> bare;
    Start start;
    Start bareStart;
    for (int i = 0; i < rounds; ++i) {
        start = measureStart(windows, ::velmora::test::velmora({}), environment);
        bareStart = measureStart(windows, {VELMORA_BARE_TRAY_ITEM}, environment);
        // The first of each warms the disk's cache.
        if (i > 0) {
            ours.push_back(start.untilDocked);
            bare.push_back(bareStart.untilDocked);
        }
    }
    figures.compare("Start to item in the tray, median", {{"velmora", median(ours)}, {"bare Qt", median(bare)}}, 0, "ms", true);
    figures.compare("Resident with the item only", {{"velmora", start.resident}, {"bare Qt", bareStart.resident}}, 1, "MB", true);
}

void printWindows(Figures& figures, Windows& windows, const Environment& environment)
{
    windows.forget();
    Program program{::velmora::test::velmora({}), environment};
    const auto icon = windows.awaitDocking();
    if (!waitUntil([&] { return runVelmora({"status"}, environment).status == 0; }))
        throw std::runtime_error("the program does not answer");

    std::vector<double> menus;
    for (int i = 0; i < rounds; ++i) {
        windows.forget();
        const auto begin = monotonicNow();
        windows.click(icon);
        windows.awaitMenu();
        menus.push_back(milliseconds(begin));
        // A menu hears keys only once it has taken the keyboard, and nothing tells us when.
        pause(300'000'000);
        windows.press({escapeKey});
        pause(300'000'000);
    }
    figures.add("Click to menu, 500 clips in the folder, first", menus.front(), 0, "ms");
    figures.add("Click to menu, 500 clips in the folder, median", median(menus), 0, "ms");

    windows.click(icon);
    windows.awaitMenu();
    pause(300'000'000);
    const auto begin = monotonicNow();
    windows.press({superKey, wKey});
    if (!waitUntil([&] { return windows.showsThePicker(); }))
        throw std::runtime_error("the picker did not come");
    figures.add("Key in the menu to the picker's text on the screen, first time", milliseconds(begin), 0, "ms");
    figures.add("Resident with the picker open", residentMegabytes(program.processID()), 1, "MB");
    program.signal(SIGTERM);
    program.finish();
}

}  // namespace

int main(int argc, char** argv)
{
    Figures figures{argc, argv};
    try {
        const TemporaryDirectory home;
        const Environment environment{{"HOME", home.path().string()}, {"XDG_CONFIG_HOME", (home.path() / "config").string()}};
        std::filesystem::create_directories(home.path() / "config" / "velmora");
        std::ofstream{home.path() / "config" / "velmora" / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
        const auto folder = home.path() / "Movies" / "Velmora";
        std::filesystem::create_directories(folder);
        makeClip(home.path() / "clip.mp4", "testsrc=size=320x240:rate=30", "sine", 3);

        const Program tray{{"trayer"}};
        if (!waitUntil([] { return runProgram({"xdotool", "search", "--onlyvisible", "--name", "^panel$"}).status == 0; }))
            throw std::runtime_error("there is no tray");
        Windows windows;
        printStarts(figures, windows, environment);
        for (int i = 0; i < clipCount; ++i)
            std::filesystem::copy_file(home.path() / "clip.mp4", folder / ("clip " + std::to_string(i) + ".mp4"));
        printWindows(figures, windows, environment);
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "program_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
