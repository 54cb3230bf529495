// A window that draws numbered frames at a steady rate, for tests of everything that captures it.
//
//   numbered_window [--title TEXT] [--class NAME] [--pid-less] [--size WxH] [--position X,Y] [--override] [--fps N] [--frames N]
//                   [--motion PERCENT] [--scene NAME] [--still] [--log FILE]
//
// Noise moves in a part of the window, by default a quarter; a scene (Scene.h) in all of it by default.
// Prints "ready WINDOWID" (decimal) when the window is mapped and shows its first frame. Each frame is composed in a pixmap, and what
// changed is shown by one CopyArea. The log gets a line "NUMBER NANOSECONDS" a frame: the CLOCK_MONOTONIC time by which it was shown.
// Commands on standard input, one a line: "resize WxH", "move X,Y", "title TEXT", "still", "go", "quit". Each is answered with "ok"
// when the server has carried it out; "still 17" for "still", with the number of the frame that stays. End of input ends the program.

#include "base/MonotonicClock.h"
#include "tests/support/FrameNumber.h"
#include "tests/support/Scene.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <poll.h>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>
#include <xcb/xcb.h>

namespace velmora::test {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

std::int64_t monotonicNow()
{
    return MonotonicClock::now().time_since_epoch().count();
}

struct Options {
    std::string title = "Numbered window";
    std::string className = "numbered_window";
    bool announcesPid = true;
    int width = 640;
    int height = 480;
    std::optional<std::pair<int, int>> position;
    bool overridesRedirect = false;
    double framesPerSecond = 60;
    std::int64_t frames = -1;  // shown before the last one stays; negative: no end
    std::optional<int> motionPercent;
    const Scene* scene = nullptr;
    bool isStill = false;
    std::string log;
};

bool parsePair(const char* text, char separator, int& first, int& second)
{
    char found = 0;
    return std::sscanf(text, "%d%c%d", &first, &found, &second) == 3 && found == separator;
}

std::optional<Options> parseOptions(int argc, char** argv)
{
    Options options;
    for (int index = 1; index < argc; ++index) {
        const std::string_view name = argv[index];
        if (name == "--pid-less") {
            options.announcesPid = false;
            continue;
        }
        if (name == "--override") {
            options.overridesRedirect = true;
            continue;
        }
        if (name == "--still") {
            options.isStill = true;
            continue;
        }
        if (index + 1 == argc)
            return std::nullopt;
        const char* value = argv[++index];
        if (name == "--title") {
            options.title = value;
        } else if (name == "--class") {
            options.className = value;
        } else if (name == "--size") {
            if (!parsePair(value, 'x', options.width, options.height))
                return std::nullopt;
        } else if (name == "--position") {
            int x = 0;
            int y = 0;
            if (!parsePair(value, ',', x, y))
                return std::nullopt;
            options.position = {x, y};
        } else if (name == "--fps") {
            options.framesPerSecond = std::atof(value);
        } else if (name == "--frames") {
            options.frames = std::atoll(value);
        } else if (name == "--motion") {
            options.motionPercent = std::clamp(std::atoi(value), 0, 100);
        } else if (name == "--scene") {
            options.scene = Scene::named(value);
            if (!options.scene)
                return std::nullopt;
        } else if (name == "--log") {
            options.log = value;
        } else {
            return std::nullopt;
        }
    }
    if (options.width < FrameNumberStrip::smallestWidth || options.height < FrameNumberStrip::smallestHeight
        || options.framesPerSecond <= 0)
        return std::nullopt;
    return options;
}

/// The server gives a client the identifiers of one that has just gone. A window manager that hears late of that one's end unmaps a window
/// by its identifier, and that must not be ours. xcb counts from the other end.
xcb_window_t identifierOfItsOwn(const xcb_setup_t& setup)
{
    const auto upperHalf = setup.resource_id_mask >> 1;
    return setup.resource_id_base | (setup.resource_id_mask & ~upperHalf) | (static_cast<std::uint32_t>(getpid()) & upperHalf);
}

class NumberedWindow {
public:
    explicit NumberedWindow(Options options) : options_(std::move(options)) { }
    ~NumberedWindow() { xcb_disconnect(connection_); }
    NumberedWindow(const NumberedWindow&) = delete;
    NumberedWindow& operator=(const NumberedWindow&) = delete;

    int run();

private:
    static constexpr int noiseSide = 256;

    bool open();
    void setText(xcb_atom_t property, xcb_atom_t type, const std::string& value);
    xcb_atom_t atom(std::string_view name);
    void makeNoise();
    void makeBackground();
    void makeScene();
    void fill(xcb_drawable_t target, std::uint32_t colour, xcb_rectangle_t rectangle);
    void drawFrame();
    void drawMotion(xcb_rectangle_t area);
    void showFrame();
    void roundTrip();
    void handle(const xcb_generic_event_t& event);
    bool readCommands();
    void execute(const std::string& line);

    Options options_;
    xcb_connection_t* connection_ = nullptr;
    const xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = XCB_NONE;
    xcb_pixmap_t backing_ = XCB_NONE;
    xcb_pixmap_t noise_ = XCB_NONE;
    std::vector<xcb_pixmap_t> scene_;
    xcb_gcontext_t gc_ = XCB_NONE;
    xcb_gcontext_t changes_ = XCB_NONE;  ///< clipped to what a frame changes
    bool showsAll_ = true;
    int width_ = 0;
    int height_ = 0;
    bool isMapped_ = false;
    std::uint32_t number_ = 0;
    std::ofstream log_;
    std::string input_;
    bool isEnding_ = false;
};

xcb_atom_t NumberedWindow::atom(std::string_view name)
{
    const auto cookie = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply{
        xcb_intern_atom_reply(connection_, cookie, nullptr), &std::free};
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void NumberedWindow::setText(xcb_atom_t property, xcb_atom_t type, const std::string& value)
{
    xcb_change_property(
        connection_, XCB_PROP_MODE_REPLACE, window_, property, type, 8, static_cast<std::uint32_t>(value.size()), value.data());
}

bool NumberedWindow::open()
{
    connection_ = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection_))
        return false;
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = identifierOfItsOwn(*xcb_get_setup(connection_));
    width_ = options_.width;
    height_ = options_.height;
    const auto [x, y] = options_.position.value_or(std::pair{0, 0});
    const std::uint32_t values[] = {options_.overridesRedirect, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen_->root, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
        static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, options_.title);
    setText(atom("_NET_WM_NAME"), atom("UTF8_STRING"), options_.title);
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, options_.className + '\0' + options_.className + '\0');
    if (options_.announcesPid) {
        char host[256] = {};
        gethostname(host, sizeof host - 1);
        setText(XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host);
        const auto pid = static_cast<std::uint32_t>(getpid());
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
    }
    if (options_.position) {
        // WM_SIZE_HINTS with USPosition: the window manager keeps its hands off (ICCCM 4.1.2.3).
        std::uint32_t hints[18] = {1};
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
    }
    gc_ = xcb_generate_id(connection_);
    const std::uint32_t noExposures = 0;
    xcb_create_gc(connection_, gc_, window_, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    changes_ = xcb_generate_id(connection_);
    xcb_create_gc(connection_, changes_, window_, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    makeNoise();
    makeBackground();
    if (options_.scene)
        makeScene();
    if (!options_.log.empty())
        log_.open(options_.log);
    xcb_map_window(connection_, window_);
    return xcb_flush(connection_) > 0;
}

/// A tile that no encoder can predict, made on the server once.
void NumberedWindow::makeNoise()
{
    std::mt19937 random{1};
    std::vector<std::uint32_t> pixels(noiseSide * noiseSide);
    std::generate(pixels.begin(), pixels.end(), [&] { return random() & 0xffffffU; });
    noise_ = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, screen_->root_depth, noise_, window_, noiseSide, noiseSide);
    constexpr int rows = 32;  // small enough for the smallest request limit
    for (int y = 0; y < noiseSide; y += rows) {
        xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, noise_, gc_, noiseSide, rows, 0, static_cast<std::int16_t>(y), 0,
            screen_->root_depth, rows * noiseSide * 4, reinterpret_cast<const std::uint8_t*>(pixels.data() + y * noiseSide));
    }
}

/// All of it on the server, so that showing a frame costs this program next to nothing.
void NumberedWindow::makeScene()
{
    for (std::uint32_t index = 0; index < options_.scene->count; ++index) {
        const auto greys = options_.scene->picture(index, width_, height_);
        scene_.push_back(xcb_generate_id(connection_));
        xcb_create_pixmap(connection_, screen_->root_depth, scene_.back(), window_, static_cast<std::uint16_t>(width_),
            static_cast<std::uint16_t>(height_));
        std::vector<std::uint32_t> row(static_cast<std::size_t>(width_));
        for (int y = 0; y < height_; ++y) {
            const auto* grey = greys.data() + static_cast<std::size_t>(y) * row.size();
            std::transform(grey, grey + width_, row.begin(), [](std::uint8_t one) { return one * 0x010101U; });
            xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, scene_.back(), gc_, static_cast<std::uint16_t>(width_), 1, 0,
                static_cast<std::int16_t>(y), 0, screen_->root_depth, static_cast<std::uint32_t>(width_) * 4,
                reinterpret_cast<const std::uint8_t*>(row.data()));
        }
    }
}

void NumberedWindow::makeBackground()
{
    if (backing_ != XCB_NONE)
        xcb_free_pixmap(connection_, backing_);
    backing_ = xcb_generate_id(connection_);
    xcb_create_pixmap(
        connection_, screen_->root_depth, backing_, window_, static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_));
    showsAll_ = true;
    // A pattern that reveals shifts and scaling: each cell has a colour of its own.
    constexpr int cell = 32;
    for (int y = 0; y < height_; y += cell) {
        for (int x = 0; x < width_; x += cell) {
            const auto colour = static_cast<std::uint32_t>((x * 5 & 0xff) << 16 | (y * 7 & 0xff) << 8 | ((x + y) & 0xff));
            fill(backing_, colour, {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), cell, cell});
        }
    }
}

void NumberedWindow::fill(xcb_drawable_t target, std::uint32_t colour, xcb_rectangle_t rectangle)
{
    xcb_change_gc(connection_, gc_, XCB_GC_FOREGROUND, &colour);
    xcb_poly_fill_rectangle(connection_, target, gc_, 1, &rectangle);
}

void NumberedWindow::drawFrame()
{
    const int strip = FrameNumberStrip::height(height_);
    std::vector<xcb_rectangle_t> blocks[2];
    for (int index = 0; index < FrameNumberStrip::blockCount; ++index) {
        const int start = FrameNumberStrip::blockStart(index, width_);
        const auto width = static_cast<std::uint16_t>(FrameNumberStrip::blockStart(index + 1, width_) - start);
        for (const int y : {0, height_ - strip}) {
            blocks[FrameNumberStrip::isWhite(index, number_ & 0xffffU)].push_back(
                {static_cast<std::int16_t>(start), static_cast<std::int16_t>(y), width, static_cast<std::uint16_t>(strip)});
        }
    }
    for (const std::uint32_t isWhite : {0U, 1U}) {
        const std::uint32_t colour = isWhite ? 0xffffffU : 0U;
        xcb_change_gc(connection_, gc_, XCB_GC_FOREGROUND, &colour);
        xcb_poly_fill_rectangle(connection_, backing_, gc_, static_cast<std::uint32_t>(blocks[isWhite].size()), blocks[isWhite].data());
    }

    const auto moving = FrameNumberStrip::movingPart(width_, height_, options_.motionPercent.value_or(options_.scene ? 100 : 25));
    const auto width = static_cast<std::uint16_t>(width_);
    const xcb_rectangle_t areas[] = {{0, 0, width, static_cast<std::uint16_t>(strip)},
        {0, static_cast<std::int16_t>(height_ - strip), width, static_cast<std::uint16_t>(strip)},
        {0, static_cast<std::int16_t>(moving.y), width, static_cast<std::uint16_t>(moving.height)}};
    if (moving.height > 0)
        drawMotion(areas[2]);
    xcb_set_clip_rectangles(connection_, XCB_CLIP_ORDERING_UNSORTED, changes_, 0, 0, moving.height > 0 ? 3 : 2, areas);
}

void NumberedWindow::drawMotion(xcb_rectangle_t area)
{
    if (!scene_.empty()) {
        xcb_copy_area(
            connection_, scene_[options_.scene->indexOf(number_)], backing_, gc_, area.x, area.y, area.x, area.y, area.width, area.height);
        return;
    }
    // Noise that moves, as a tiled fill.
    const std::uint32_t values[] = {XCB_FILL_STYLE_TILED, noise_, (number_ * 7) % noiseSide, (number_ * 13) % noiseSide};
    xcb_change_gc(connection_, gc_, XCB_GC_FILL_STYLE | XCB_GC_TILE | XCB_GC_TILE_STIPPLE_ORIGIN_X | XCB_GC_TILE_STIPPLE_ORIGIN_Y, values);
    xcb_poly_fill_rectangle(connection_, backing_, gc_, 1, &area);
    const std::uint32_t solid = XCB_FILL_STYLE_SOLID;
    xcb_change_gc(connection_, gc_, XCB_GC_FILL_STYLE, &solid);
}

void NumberedWindow::showFrame()
{
    xcb_copy_area(connection_, backing_, window_, std::exchange(showsAll_, false) ? gc_ : changes_, 0, 0, 0, 0,
        static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_));
    roundTrip();
    if (log_.is_open())
        log_ << number_ << ' ' << monotonicNow() << std::endl;
}

void NumberedWindow::roundTrip()
{
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void NumberedWindow::handle(const xcb_generic_event_t& event)
{
    switch (event.response_type & 0x7f) {
    case XCB_MAP_NOTIFY:
        isMapped_ = true;
        break;
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        if (configured.width != width_ || configured.height != height_) {
            width_ = configured.width;
            height_ = configured.height;
            makeBackground();
            drawFrame();
        }
        break;
    }
    case XCB_EXPOSE:
        xcb_copy_area(
            connection_, backing_, window_, gc_, 0, 0, 0, 0, static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_));
        break;
    default:
        break;
    }
}

bool NumberedWindow::readCommands()
{
    char buffer[512];
    const auto count = read(STDIN_FILENO, buffer, sizeof buffer);
    if (count <= 0)
        return false;
    input_.append(buffer, static_cast<std::size_t>(count));
    for (auto end = input_.find('\n'); end != std::string::npos; end = input_.find('\n')) {
        execute(input_.substr(0, end));
        input_.erase(0, end + 1);
    }
    return true;
}

void NumberedWindow::execute(const std::string& line)
{
    int first = 0;
    int second = 0;
    std::string answer = "ok";
    if (line.starts_with("resize ") && parsePair(line.c_str() + 7, 'x', first, second)) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(second)};
        xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    } else if (line.starts_with("move ") && parsePair(line.c_str() + 5, ',', first, second)) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(second)};
        xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
    } else if (line.starts_with("title ")) {
        setText(atom("_NET_WM_NAME"), atom("UTF8_STRING"), line.substr(6));
    } else if (line == "still") {
        options_.isStill = true;
        answer = "still " + std::to_string(number_);
    } else if (line == "go") {
        options_.isStill = false;
    } else if (line == "quit") {
        isEnding_ = true;
    } else {
        answer = "unknown command: " + line;
    }
    roundTrip();
    std::cout << answer << std::endl;
}

int NumberedWindow::run()
{
    if (!open()) {
        std::cerr << "numbered_window: no display\n";
        return 1;
    }
    const auto interval = static_cast<std::int64_t>(double(nanosecondsPerSecond) / options_.framesPerSecond);
    std::int64_t due = 0;
    bool isReady = false;
    while (!isEnding_ && !xcb_connection_has_error(connection_)) {
        for (;;) {
            const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event{xcb_poll_for_event(connection_), &std::free};
            if (!event)
                break;
            handle(*event);
        }
        const bool isMoving = !options_.isStill && (options_.frames < 0 || number_ + 1 < options_.frames);
        const auto now = monotonicNow();
        if (isMapped_ && (!isReady || (isMoving && now >= due))) {
            number_ += isReady ? 1U : 0U;
            drawFrame();
            showFrame();
            due = isReady && now - due < interval ? due + interval : now + interval;
            if (!isReady)
                std::cout << "ready " << window_ << std::endl;
            isReady = true;
            continue;
        }
        xcb_flush(connection_);
        pollfd sources[] = {{xcb_get_file_descriptor(connection_), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        timespec wait{1, 0};
        if (isReady && isMoving)
            wait = {0, std::clamp<std::int64_t>(due - now, 0, nanosecondsPerSecond - 1)};
        if (ppoll(sources, 2, &wait, nullptr) > 0 && sources[1].revents != 0 && !readCommands())
            break;
    }
    return 0;
}

}  // namespace
}  // namespace velmora::test

int main(int argc, char** argv)
{
    auto options = velmora::test::parseOptions(argc, argv);
    if (!options) {
        std::cerr << "numbered_window: wrong arguments (the smallest size is 320x240)\n";
        return 2;
    }
    return velmora::test::NumberedWindow(std::move(*options)).run();
}
