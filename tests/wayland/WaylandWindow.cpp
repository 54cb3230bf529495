// A window of a Wayland desktop that draws numbered frames at a steady rate, as numbered_window does on X11.
//
//   wayland_window [--title TEXT] [--app-id ID] [--size WxH] [--shadow N] [--fps N]
//
// The shadow is a border of N pixels, half transparent magenta, that is drawn around the window and is not part of it. Prints "ready" when
// the desktop has placed the window and its first frame is committed. Commands on standard input, one per line: "resize WxH", "still",
// "go", "minimise", "quit". Each is answered with "ok" when the compositor has heard of it; "still 17" for "still", with the number of the
// frame that stays. End of input ends the program, and so does the desktop that closes the window.

#include "base/MonotonicClock.h"
#include "tests/support/FrameNumber.h"
#include "tests/wayland/Handles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <memory>
#include <optional>
#include <poll.h>
#include <span>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace velmora::test {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::size_t bytesPerPixel = 4;
constexpr std::uint32_t opaque = 0xff000000U;
constexpr std::uint32_t shadowColour = 0x80800080U;  // premultiplied

std::int64_t monotonicNow()
{
    return MonotonicClock::now().time_since_epoch().count();
}

struct Options {
    std::string title = "Numbered window";
    std::string appID = "com.velmora.test.window";
    int width = 640;
    int height = 480;
    int shadow = 0;
    double framesPerSecond = 30;
};

bool parseSize(const char* text, int& width, int& height)
{
    return std::sscanf(text, "%dx%d", &width, &height) == 2 && width >= FrameNumberStrip::smallestWidth
        && height >= FrameNumberStrip::smallestHeight && width <= 4096 && height <= 4096;
}

std::optional<Options> parseOptions(std::span<char*> arguments)
{
    Options options;
    if (arguments.size() % 2 != 0)
        return std::nullopt;
    for (std::size_t index = 0; index < arguments.size(); index += 2) {
        const std::string_view name = arguments[index];
        const char* value = arguments[index + 1];
        if (name == "--title")
            options.title = value;
        else if (name == "--app-id")
            options.appID = value;
        else if (name == "--shadow")
            options.shadow = std::clamp(std::atoi(value), 0, 200);
        else if (name == "--fps")
            options.framesPerSecond = std::atof(value);
        else if (name != "--size" || !parseSize(value, options.width, options.height))
            return std::nullopt;
    }
    return options.framesPerSecond > 0 ? std::optional{options} : std::nullopt;
}

/// Pixels that the compositor reads: not to be drawn to until it has given them back.
class Canvas {
public:
    static std::unique_ptr<Canvas> create(wl_shm* memory, int width, int height)
    {
        auto canvas = std::unique_ptr<Canvas>(new Canvas(width, height));
        return canvas->allocate(memory) ? std::move(canvas) : nullptr;
    }

    ~Canvas()
    {
        if (pixels_)
            munmap(pixels_, bytes_);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    [[nodiscard]] bool isFree() const { return isFree_; }
    [[nodiscard]] bool hasSize(int width, int height) const { return width == width_ && height == height_; }

    void fill(int x, int y, int width, int height, std::uint32_t colour)
    {
        for (int row = y; row < std::min(y + height, height_); ++row)
            std::fill_n(at(x, row), std::max(0, std::min(width, width_ - x)), colour);
    }

    [[nodiscard]] std::uint32_t* at(int x, int y)
    {
        return pixels_ + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
    }

    void show(wl_surface* surface)
    {
        isFree_ = false;
        wl_surface_attach(surface, buffer_.get(), 0, 0);
        wl_surface_damage_buffer(surface, 0, 0, width_, height_);
        wl_surface_commit(surface);
    }

private:
    Canvas(int width, int height)
        : width_(width)
        , height_(height)
        , bytes_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * bytesPerPixel)
    {
    }

    bool allocate(wl_shm* memory)
    {
        const int file = memfd_create("wayland_window", MFD_CLOEXEC);
        if (file < 0)
            return false;
        void* mapping = ftruncate(file, static_cast<off_t>(bytes_)) == 0
            ? mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
            : MAP_FAILED;
        if (mapping != MAP_FAILED) {
            pixels_ = static_cast<std::uint32_t*>(mapping);
            const WaylandPool pool{wl_shm_create_pool(memory, file, static_cast<std::int32_t>(bytes_))};
            buffer_.reset(wl_shm_pool_create_buffer(
                pool.get(), 0, width_, height_, width_ * static_cast<int>(bytesPerPixel), WL_SHM_FORMAT_ARGB8888));
            static constexpr wl_buffer_listener listener{
                .release = [](void* canvas, wl_buffer*) { static_cast<Canvas*>(canvas)->isFree_ = true; }};
            wl_buffer_add_listener(buffer_.get(), &listener, this);
        }
        close(file);
        return pixels_ != nullptr;
    }

    const int width_;
    const int height_;
    const std::size_t bytes_;
    std::uint32_t* pixels_ = nullptr;
    WaylandBuffer buffer_;
    bool isFree_ = true;
};

class WaylandWindow {
public:
    explicit WaylandWindow(Options options) : options_(std::move(options)) { }

    int run();

private:
    bool open();
    void resize(int width, int height);
    bool showFrame();
    void draw(Canvas& canvas) const;
    bool readCommands();
    void execute(const std::string& line);
    bool processEvents(std::int64_t until);

    Options options_;
    WaylandDisplay display_;
    WaylandRegistry registry_;
    WaylandCompositor compositor_;
    WaylandMemory memory_;
    WaylandShell shell_;
    WaylandSurface surface_;
    WaylandShellSurface shellSurface_;
    WaylandToplevel toplevel_;
    std::array<std::unique_ptr<Canvas>, 4> canvases_;
    std::uint32_t number_ = 0;
    bool isPlaced_ = false;
    bool isStill_ = false;
    bool isEnding_ = false;
    std::string input_;
};

bool WaylandWindow::open()
{
    display_.reset(wl_display_connect(nullptr));
    if (!display_)
        return false;
    registry_.reset(wl_display_get_registry(display_.get()));
    static constexpr wl_registry_listener registryListener{
        .global =
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                auto* self = static_cast<WaylandWindow*>(data);
                const std::string_view kind = interface;
                if (kind == wl_compositor_interface.name)
                    self->compositor_.reset(static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 4)));
                else if (kind == wl_shm_interface.name)
                    self->memory_.reset(static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1)));
                else if (kind == xdg_wm_base_interface.name)
                    self->shell_.reset(static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1)));
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
    wl_registry_add_listener(registry_.get(), &registryListener, this);
    wl_display_roundtrip(display_.get());
    if (!compositor_ || !memory_ || !shell_)
        return false;

    static constexpr xdg_wm_base_listener shellListener{
        .ping = [](void*, xdg_wm_base* shell, std::uint32_t serial) { xdg_wm_base_pong(shell, serial); }};
    xdg_wm_base_add_listener(shell_.get(), &shellListener, this);
    surface_.reset(wl_compositor_create_surface(compositor_.get()));
    shellSurface_.reset(xdg_wm_base_get_xdg_surface(shell_.get(), surface_.get()));
    static constexpr xdg_surface_listener surfaceListener{.configure = [](void* data, xdg_surface* surface, std::uint32_t serial) {
        xdg_surface_ack_configure(surface, serial);
        static_cast<WaylandWindow*>(data)->isPlaced_ = true;
    }};
    xdg_surface_add_listener(shellSurface_.get(), &surfaceListener, this);
    toplevel_.reset(xdg_surface_get_toplevel(shellSurface_.get()));
    // Sizes that the desktop proposes are not taken: tests say which size the window has.
    static constexpr xdg_toplevel_listener toplevelListener{.configure = [](void*, xdg_toplevel*, std::int32_t, std::int32_t, wl_array*) {},
        .close = [](void* data, xdg_toplevel*) { static_cast<WaylandWindow*>(data)->isEnding_ = true; },
        .configure_bounds = [](void*, xdg_toplevel*, std::int32_t, std::int32_t) {},
        .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {}};
    xdg_toplevel_add_listener(toplevel_.get(), &toplevelListener, this);
    xdg_toplevel_set_title(toplevel_.get(), options_.title.c_str());
    xdg_toplevel_set_app_id(toplevel_.get(), options_.appID.c_str());
    resize(options_.width, options_.height);
    wl_surface_commit(surface_.get());
    while (!isPlaced_) {
        if (wl_display_dispatch(display_.get()) < 0)
            return false;
    }
    return true;
}

void WaylandWindow::resize(int width, int height)
{
    options_.width = width;
    options_.height = height;
    xdg_surface_set_window_geometry(shellSurface_.get(), options_.shadow, options_.shadow, width, height);
}

void WaylandWindow::draw(Canvas& canvas) const
{
    const int left = options_.shadow;
    const int width = options_.width;
    const int height = options_.height;
    canvas.fill(0, 0, width + 2 * left, height + 2 * left, shadowColour);
    // A pattern that shows shifts and scaling: each cell has a colour of its own.
    constexpr int cell = 32;
    for (int y = 0; y < height; y += cell) {
        for (int x = 0; x < width; x += cell) {
            const auto colour = static_cast<std::uint32_t>((x * 5 & 0xff) << 16 | (y * 7 & 0xff) << 8 | ((x + y) & 0xff));
            canvas.fill(left + x, left + y, std::min(cell, width - x), std::min(cell, height - y), opaque | colour);
        }
    }
    // A bar that moves.
    const int strip = FrameNumberStrip::height(height);
    const int middle = height - 2 * strip;
    const int bar = middle / 8;
    const int place = static_cast<int>(number_ * 5 % static_cast<std::uint32_t>(middle - bar));
    canvas.fill(left, left + strip + place, width, bar, opaque | 0xf0c020U);
    for (int index = 0; index < FrameNumberStrip::blockCount; ++index) {
        const int start = FrameNumberStrip::blockStart(index, width);
        const int end = FrameNumberStrip::blockStart(index + 1, width);
        const std::uint32_t colour = FrameNumberStrip::isWhite(index, number_ & 0xffffU) ? 0xffffffffU : opaque;
        for (const int y : {0, height - strip})
            canvas.fill(left + start, left + y, end - start, strip, colour);
    }
}

/// Not shown, and not counted, while the compositor holds all buffers.
bool WaylandWindow::showFrame()
{
    const int width = options_.width + 2 * options_.shadow;
    const int height = options_.height + 2 * options_.shadow;
    for (auto& canvas : canvases_) {
        if (canvas && !canvas->isFree())
            continue;
        if (!canvas || !canvas->hasSize(width, height))
            canvas = Canvas::create(memory_.get(), width, height);
        if (!canvas)
            return false;
        draw(*canvas);
        canvas->show(surface_.get());
        ++number_;
        break;
    }
    return true;
}

bool WaylandWindow::readCommands()
{
    std::array<char, 512> buffer{};
    const auto count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0)
        return false;
    input_.append(buffer.data(), static_cast<std::size_t>(count));
    for (auto end = input_.find('\n'); end != std::string::npos; end = input_.find('\n')) {
        execute(input_.substr(0, end));
        input_.erase(0, end + 1);
    }
    return true;
}

void WaylandWindow::execute(const std::string& line)
{
    int width = 0;
    int height = 0;
    std::string answer = "ok";
    if (line == "still") {
        isStill_ = true;
        answer = "still " + std::to_string((number_ - 1) & 0xffffU);
    } else if (line == "go") {
        isStill_ = false;
    } else if (line == "minimise") {
        xdg_toplevel_set_minimized(toplevel_.get());
    } else if (line == "quit") {
        isEnding_ = true;
    } else if (line.starts_with("resize ") && parseSize(line.c_str() + 7, width, height)) {
        resize(width, height);
        showFrame();
    } else {
        answer = "what?";
    }
    wl_display_roundtrip(display_.get());
    std::cout << answer << std::endl;
}

/// Events and commands until that time.
bool WaylandWindow::processEvents(std::int64_t until)
{
    while (!isEnding_) {
        while (wl_display_prepare_read(display_.get()) != 0)
            wl_display_dispatch_pending(display_.get());
        wl_display_flush(display_.get());
        const auto left = std::max<std::int64_t>(0, until - monotonicNow());
        std::array<pollfd, 2> files{pollfd{wl_display_get_fd(display_.get()), POLLIN, 0}, pollfd{STDIN_FILENO, POLLIN, 0}};
        const timespec patience{static_cast<time_t>(left / nanosecondsPerSecond), static_cast<long>(left % nanosecondsPerSecond)};
        const int count = ppoll(files.data(), files.size(), &patience, nullptr);
        if (count > 0 && files[0].revents != 0)
            wl_display_read_events(display_.get());
        else
            wl_display_cancel_read(display_.get());
        if ((count < 0 && errno != EINTR) || wl_display_dispatch_pending(display_.get()) < 0)
            return false;
        if (count > 0 && files[1].revents != 0 && !readCommands())
            return false;
        if (count == 0)
            break;
    }
    return !isEnding_;
}

int WaylandWindow::run()
{
    if (!open() || !showFrame()) {
        std::cerr << "wayland_window: no window\n";
        return 1;
    }
    wl_display_roundtrip(display_.get());
    std::cout << "ready" << std::endl;
    const auto interval = static_cast<std::int64_t>(static_cast<double>(nanosecondsPerSecond) / options_.framesPerSecond);
    auto next = monotonicNow() + interval;
    while (processEvents(next)) {
        if (!isStill_ && !showFrame())
            return 1;
        next = std::max(next + interval, monotonicNow());
    }
    return 0;
}

}  // namespace
}  // namespace velmora::test

int main(int argc, char** argv)
{
    const auto options = velmora::test::parseOptions(std::span{argv, static_cast<std::size_t>(argc)}.subspan(1));
    if (!options) {
        std::cerr << "wayland_window: bad arguments\n";
        return 2;
    }
    return velmora::test::WaylandWindow{*options}.run();
}
