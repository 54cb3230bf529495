// What the tests of the X11 back end share: windows that they draw themselves, and programs that they start.
#pragma once

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/X11VideoSource.h"
#include "tests/engine/pictures/PictureRecorder.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

struct WindowSpec {
    PixelRect frame{50, 60, 400, 300};
    std::string title = "test window";
    std::string className = "TestClass";
    std::uint32_t background = 0x204060;
    std::uint8_t depth = 0;  ///< 0: the root's
    std::uint16_t border = 0;
    bool overridesRedirect = false;
    std::string type = {};  ///< "_NET_WM_WINDOW_TYPE_…"
};

/// A second client of the X server, besides the code under test. Used on the test's thread.
class TestDesktop {
public:
    explicit TestDesktop(const std::string& displayName = "");
    ~TestDesktop();
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    [[nodiscard]] const Connection& connection() const { return *connection_; }
    [[nodiscard]] xcb_connection_t* xcb() const { return connection_->xcb(); }
    [[nodiscard]] xcb_window_t root() const { return connection_->root(); }

    xcb_atom_t atom(std::string_view name);
    void setText(xcb_window_t window, std::string_view property, std::string_view type, std::string_view value);
    void setValues(xcb_window_t window, std::string_view property, std::string_view type, const std::vector<std::uint32_t>& values);
    std::vector<std::uint32_t> values(xcb_window_t window, std::string_view property);

    /// Created, not mapped.
    xcb_window_t makeWindow(const WindowSpec& spec);

    /// Mapped; managed too, unless it overrides the redirect or there is no window manager; filled with its background.
    xcb_window_t showWindow(const WindowSpec& spec);
    void map(xcb_window_t window, bool isManaged);
    void destroy(xcb_window_t window);

    void fill(xcb_drawable_t drawable, PixelRect rectangle, std::uint32_t colour);
    void configure(xcb_window_t window, std::uint16_t mask, const std::vector<std::uint32_t>& values);
    void raise(xcb_window_t window) { configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_ABOVE}); }

    /// A client message to the root, as pagers and clients send to the window manager.
    void message(xcb_window_t window, std::string_view type, const std::vector<std::uint32_t>& data);
    void minimise(xcb_window_t window);
    void restore(xcb_window_t window);

    /// Moves the pointer as a mouse would, to a point of the root.
    void movePointer(int x, int y);

    bool isViewable(xcb_window_t window);
    PixelRect rootFrame(xcb_window_t window);
    xcb_window_t frameOf(xcb_window_t window);

    /// The colours of a drawable (without alpha), as the server has them.
    std::vector<std::uint32_t> grab(xcb_drawable_t drawable, PixelRect part);

    void sync();

    /// Waits for the condition, looking again after each event of the server and now and then. A test failure when it never comes.
    void waitUntil(const std::string& what, const std::function<bool()>& condition);

private:
    std::unique_ptr<Connection> connection_;
    xcb_gcontext_t gc(std::uint8_t depth);

    std::map<std::uint8_t, xcb_gcontext_t> contexts_;
    std::map<std::string, xcb_atom_t, std::less<>> atoms_;
    std::map<xcb_drawable_t, std::uint8_t> depths_;
    std::vector<xcb_window_t> windows_;
};

/// A program with pipes to its standard streams, ended with this object.
class ChildProgram {
public:
    explicit ChildProgram(const std::vector<std::string>& arguments);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    [[nodiscard]] std::string readLine();
    void write(const std::string& text) const;
    void kill();

private:
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string buffer_;
};

/// tests/support/NumberedWindow.cpp, running.
class NumberedWindowProgram {
public:
    explicit NumberedWindowProgram(std::vector<std::string> options);

    [[nodiscard]] xcb_window_t window() const { return window_; }
    [[nodiscard]] pid_t pid() const { return program_->pid(); }

    /// Returns the answer: the command has been carried out.
    std::string command(const std::string& line);

    /// Ends the program and gives the numbers of its frames with the times at which they were shown.
    std::vector<std::pair<std::uint32_t, std::int64_t>> finish();

private:
    std::string logPath_;
    std::unique_ptr<ChildProgram> program_;
    xcb_window_t window_ = XCB_NONE;
};

/// An X server of the test's own, without a window manager.
class PrivateServer {
public:
    explicit PrivateServer(const std::vector<std::string>& options);

    [[nodiscard]] const std::string& displayName() const { return displayName_; }
    void kill() { program_.kill(); }

private:
    ChildProgram program_;
    std::string displayName_;
};

}  // namespace velmora::linux_backend
