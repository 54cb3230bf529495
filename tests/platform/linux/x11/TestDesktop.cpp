#include "tests/platform/linux/x11/TestDesktop.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <xcb/xtest.h>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t colourMask = 0xffffff;
constexpr std::uint32_t iconicState = 3;
constexpr std::chrono::milliseconds lookAgain{20};

xcb_visualid_t visualOfDepth(const xcb_screen_t& screen, std::uint8_t depth)
{
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths)) {
        if (depths.data->depth == depth && xcb_depth_visuals_length(depths.data) > 0)
            return xcb_depth_visuals(depths.data)->visual_id;
    }
    return screen.root_visual;
}

}  // namespace

TestDesktop::TestDesktop(const std::string& displayName)
    : connection_(Connection::open(displayName.empty() ? nullptr : displayName.c_str()).value())
{
    // To be woken by the window manager's changes of its lists.
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb(), root(), XCB_CW_EVENT_MASK, &events);
    // A window manager that has only just started announces itself first and sets its lists when it is ready for windows.
    const auto hasList = [this] {
        const auto list = connection_->reply(
            xcb_get_property_reply, xcb_get_property(xcb(), 0, root(), atom("_NET_CLIENT_LIST"), XCB_GET_PROPERTY_TYPE_ANY, 0, 0));
        return list && list->type != XCB_ATOM_NONE;
    };
    waitUntil("the window manager is ready", [&] { return values(root(), "_NET_SUPPORTING_WM_CHECK").empty() || hasList(); });
}

TestDesktop::~TestDesktop()
{
    movePointer(0, 0);
    // The next client gets the same identifiers: the window manager must have forgotten these windows by then.
    for (const auto window : windows_)
        xcb_destroy_window(xcb(), window);
    if (connection_->isBroken())
        return;
    waitUntil("the window manager has forgotten the windows", [&] {
        const auto list = values(root(), "_NET_CLIENT_LIST");
        return std::none_of(windows_.begin(), windows_.end(),
            [&](xcb_window_t window) { return std::find(list.begin(), list.end(), window) != list.end(); });
    });
}

xcb_atom_t TestDesktop::atom(std::string_view name)
{
    const auto found = atoms_.find(name);
    if (found != atoms_.end())
        return found->second;
    const auto reply =
        connection_->reply(xcb_intern_atom_reply, xcb_intern_atom(xcb(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
    return atoms_[std::string{name}] = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void TestDesktop::setText(xcb_window_t window, std::string_view property, std::string_view type, std::string_view value)
{
    xcb_change_property(
        xcb(), XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 8, static_cast<std::uint32_t>(value.size()), value.data());
}

void TestDesktop::setValues(xcb_window_t window, std::string_view property, std::string_view type, const std::vector<std::uint32_t>& values)
{
    xcb_change_property(
        xcb(), XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 32, static_cast<std::uint32_t>(values.size()), values.data());
}

std::vector<std::uint32_t> TestDesktop::values(xcb_window_t window, std::string_view property)
{
    return values32(
        connection_->reply(xcb_get_property_reply, xcb_get_property(xcb(), 0, window, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024))
            .get());
}

xcb_window_t TestDesktop::makeWindow(const WindowSpec& spec)
{
    const auto& screen = connection_->screen();
    const auto depth = spec.depth == 0 ? screen.root_depth : spec.depth;
    const auto visual = visualOfDepth(screen, depth);
    const auto colours = connection_->newId();
    xcb_create_colormap(xcb(), XCB_COLORMAP_ALLOC_NONE, colours, root(), visual);
    const auto window = connection_->newId();
    const std::uint32_t values[] = {
        spec.background, 0, spec.overridesRedirect, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE, colours};
    xcb_create_window(xcb(), depth, window, root(), static_cast<std::int16_t>(spec.frame.x), static_cast<std::int16_t>(spec.frame.y),
        static_cast<std::uint16_t>(spec.frame.width), static_cast<std::uint16_t>(spec.frame.height), spec.border,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
    depths_[window] = depth;
    windows_.push_back(window);
    setText(window, "_NET_WM_NAME", "UTF8_STRING", spec.title);
    setText(window, "WM_CLASS", "STRING", spec.className + '\0' + spec.className + '\0');
    if (!spec.type.empty())
        setValues(window, "_NET_WM_WINDOW_TYPE", "ATOM", {atom(spec.type)});
    std::vector<std::uint32_t> hints(18);
    hints[0] = 1;  // USPosition
    setValues(window, "WM_NORMAL_HINTS", "WM_SIZE_HINTS", hints);
    return window;
}

xcb_window_t TestDesktop::showWindow(const WindowSpec& spec)
{
    const auto window = makeWindow(spec);
    map(window, !spec.overridesRedirect);
    fill(window, {0, 0, spec.frame.width, spec.frame.height}, spec.background);
    sync();
    return window;
}

void TestDesktop::map(xcb_window_t window, bool isManaged)
{
    xcb_map_window(xcb(), window);
    const bool hasManager = !values(root(), "_NET_SUPPORTING_WM_CHECK").empty();
    waitUntil("the window is shown", [&] {
        const auto list = values(root(), "_NET_CLIENT_LIST_STACKING");
        return isViewable(window) && (!isManaged || !hasManager || std::find(list.begin(), list.end(), window) != list.end());
    });
}

void TestDesktop::destroy(xcb_window_t window)
{
    xcb_destroy_window(xcb(), window);
    sync();
}

xcb_gcontext_t TestDesktop::gc(std::uint8_t depth)
{
    const auto found = contexts_.find(depth);
    if (found != contexts_.end())
        return found->second;
    const auto pixmap = connection_->newId();
    xcb_create_pixmap(xcb(), depth, pixmap, root(), 1, 1);
    const auto context = connection_->newId();
    const std::uint32_t noExposures = 0;
    xcb_create_gc(xcb(), context, pixmap, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    xcb_free_pixmap(xcb(), pixmap);
    return contexts_[depth] = context;
}

void TestDesktop::fill(xcb_drawable_t drawable, PixelRect rectangle, std::uint32_t colour)
{
    const auto known = depths_.find(drawable);
    const auto context = gc(known == depths_.end() ? connection_->screen().root_depth : known->second);
    xcb_change_gc(xcb(), context, XCB_GC_FOREGROUND, &colour);
    const xcb_rectangle_t area{static_cast<std::int16_t>(rectangle.x), static_cast<std::int16_t>(rectangle.y),
        static_cast<std::uint16_t>(rectangle.width), static_cast<std::uint16_t>(rectangle.height)};
    xcb_poly_fill_rectangle(xcb(), drawable, context, 1, &area);
    connection_->flush();
}

void TestDesktop::configure(xcb_window_t window, std::uint16_t mask, const std::vector<std::uint32_t>& values)
{
    xcb_configure_window(xcb(), window, mask, values.data());
    sync();
}

void TestDesktop::message(xcb_window_t window, std::string_view type, const std::vector<std::uint32_t>& data)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(type);
    std::copy(data.begin(), data.end(), event.data.data32);
    xcb_send_event(
        xcb(), 0, root(), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, reinterpret_cast<const char*>(&event));
    connection_->flush();
}

void TestDesktop::minimise(xcb_window_t window)
{
    message(window, "WM_CHANGE_STATE", {iconicState});
    waitUntil("the window is minimised", [&] { return !isViewable(window) && values(window, "WM_STATE").at(0) == iconicState; });
}

void TestDesktop::restore(xcb_window_t window)
{
    xcb_map_window(xcb(), window);
    waitUntil("the window is back", [&] { return isViewable(window); });
}

void TestDesktop::movePointer(int x, int y)
{
    xcb_test_fake_input(
        xcb(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root(), static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    sync();
}

bool TestDesktop::isViewable(xcb_window_t window)
{
    const auto attributes = connection_->reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(xcb(), window));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

PixelRect TestDesktop::rootFrame(xcb_window_t window)
{
    const auto geometry = connection_->reply(xcb_get_geometry_reply, xcb_get_geometry(xcb(), window));
    const auto position = connection_->reply(xcb_translate_coordinates_reply, xcb_translate_coordinates(xcb(), window, root(), 0, 0));
    if (!geometry || !position)
        return {};
    return {position->dst_x, position->dst_y, geometry->width, geometry->height};
}

xcb_window_t TestDesktop::frameOf(xcb_window_t window)
{
    const auto tree = connection_->reply(xcb_query_tree_reply, xcb_query_tree(xcb(), window));
    return tree && tree->parent != tree->root ? tree->parent : window;
}

std::vector<std::uint32_t> TestDesktop::grab(xcb_drawable_t drawable, PixelRect part)
{
    const auto image = connection_->reply(xcb_get_image_reply,
        xcb_get_image(xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y),
            static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height), ~std::uint32_t{0}));
    if (!image)
        return {};
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height));
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()), pixels.size() * 4);
    for (auto& pixel : pixels)
        pixel &= colourMask;
    return pixels;
}

void TestDesktop::sync()
{
    static_cast<void>(connection_->reply(xcb_get_input_focus_reply, xcb_get_input_focus(xcb())));
}

void TestDesktop::waitUntil(const std::string& what, const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + engine::patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "Waited in vain: " << what;
            return;
        }
        bool any = false;
        while (connection_->poll())
            any = true;
        if (any)
            continue;
        connection_->flush();
        pollfd source{connection_->fileDescriptor(), POLLIN, 0};
        poll(&source, 1, static_cast<int>(lookAgain.count()));
    }
}

ChildProgram::ChildProgram(const std::vector<std::string>& arguments)
{
    int toChild[2] = {};
    int fromChild[2] = {};
    if (pipe2(toChild, O_CLOEXEC) != 0 || pipe2(fromChild, O_CLOEXEC) != 0)
        std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toChild[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fromChild[1], STDOUT_FILENO);
    std::vector<char*> pointers;
    for (const auto& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    if (posix_spawnp(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ) != 0)
        pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(toChild[0]);
    close(fromChild[1]);
    input_ = toChild[1];
    output_ = fromChild[0];
}

ChildProgram::~ChildProgram()
{
    kill();
    close(input_);
    close(output_);
}

void ChildProgram::kill()
{
    if (pid_ <= 0)
        return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

std::string ChildProgram::readLine()
{
    const auto end = std::chrono::steady_clock::now() + engine::patience;
    while (std::chrono::steady_clock::now() < end) {
        const auto newline = buffer_.find('\n');
        if (newline != std::string::npos) {
            auto line = buffer_.substr(0, newline);
            buffer_.erase(0, newline + 1);
            return line;
        }
        pollfd source{output_, POLLIN, 0};
        if (poll(&source, 1, 1000) <= 0)
            continue;
        char bytes[512];
        const auto count = read(output_, bytes, sizeof bytes);
        if (count <= 0)
            break;
        buffer_.append(bytes, static_cast<std::size_t>(count));
    }
    ADD_FAILURE() << "The program printed no line.";
    return {};
}

void ChildProgram::write(const std::string& text) const
{
    EXPECT_EQ(::write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

NumberedWindowProgram::NumberedWindowProgram(std::vector<std::string> options)
{
    static int count = 0;
    logPath_ = (std::filesystem::temp_directory_path() / ("numbered-" + std::to_string(getpid()) + '-' + std::to_string(++count))).string();
    std::vector<std::string> arguments{NUMBERED_WINDOW, "--log", logPath_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    program_ = std::make_unique<ChildProgram>(arguments);
    const auto line = program_->readLine();
    EXPECT_TRUE(line.starts_with("ready ")) << line;
    window_ = static_cast<xcb_window_t>(std::strtoul(line.c_str() + std::min<std::size_t>(6, line.size()), nullptr, 10));
}

std::string NumberedWindowProgram::command(const std::string& line)
{
    program_->write(line + '\n');
    return program_->readLine();
}

std::vector<std::pair<std::uint32_t, std::int64_t>> NumberedWindowProgram::finish()
{
    command("quit");
    program_.reset();
    std::vector<std::pair<std::uint32_t, std::int64_t>> frames;
    std::ifstream log(logPath_);
    for (std::pair<std::uint32_t, std::int64_t> frame; log >> frame.first >> frame.second;)
        frames.push_back(frame);
    std::filesystem::remove(logPath_);
    return frames;
}

PrivateServer::PrivateServer(const std::vector<std::string>& options)
    : program_([&options] {
        std::vector<std::string> arguments{"Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-noreset"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    }())
    , displayName_(':' + program_.readLine())
{
}

}  // namespace velmora::linux_backend
