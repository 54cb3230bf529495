// What the tests of the X11 back end share: windows that they draw themselves, programs that they start, and a recorder of pictures.
#pragma once

#include "base/Mutex.h"
#include "platform/linux/VideoSource.h"
#include "platform/linux/ffmpeg/CodecModule.h"
#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/X11VideoSource.h"
#include "tests/support/FrameNumber.h"

#include <chrono>
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

/// However slow the machine is: only a failing test waits that long.
inline constexpr std::chrono::seconds patience{40};

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

/// A second client of the X server, beside the code under test. Used on the test's thread.
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

struct SeenPicture {
    std::int64_t time = 0;
    PictureChange change;
    const std::byte* address = nullptr;
    test::FrameNumberReading reading;
};

/// Records what a source delivers. Of every picture it checks that the dirty rectangles tell the truth: a copy that is brought up to
/// date with them alone must equal the picture.
class Recorder {
public:
    Recorder() = default;

    [[nodiscard]] VideoSource::Callbacks callbacks();

    /// Where the window lies in the pictures, for reading frame numbers; all of them, if not set.
    void setPart(test::PicturePart part);

    /// Keep the samples alive from now on, or let all go.
    void hold(bool isHolding);

    [[nodiscard]] std::vector<SeenPicture> pictures() const;
    [[nodiscard]] std::vector<Error> stops() const;
    [[nodiscard]] SampleBufferRef lastSample() const;

    /// Colours (without alpha) of the last picture.
    [[nodiscard]] std::vector<std::uint32_t> lastColours() const;

    /// What was found wrong with the dirty rectangles, counts or formats. Empty when all is well.
    [[nodiscard]] std::string complaints() const;

    /// Waits until the condition holds for what has been recorded; a test failure when it never does.
    void waitFor(const std::string& what, const std::function<bool()>& condition) const;
    void waitForPictures(std::size_t count) const;
    void waitForColours(const std::string& what, const std::vector<std::uint32_t>& colours) const;
    void waitForStop() const;

private:
    void record(const SampleBufferRef& sample);
    void check(const SampleBuffer& sample) REQUIRES(mutex_);

    mutable Mutex mutex_;
    mutable ConditionVariable changed_;
    std::vector<SeenPicture> pictures_ GUARDED_BY(mutex_);
    std::vector<Error> stops_ GUARDED_BY(mutex_);
    std::vector<std::uint32_t> accumulated_ GUARDED_BY(mutex_);
    std::vector<SampleBufferRef> held_ GUARDED_BY(mutex_);
    bool isHolding_ GUARDED_BY(mutex_) = false;
    std::optional<test::PicturePart> part_ GUARDED_BY(mutex_);
    std::string complaints_ GUARDED_BY(mutex_);
};

/// Takes the nearest pixel: enough to see where a picture was fitted in.
class NearestScaler final : public PictureScaler {
public:
    Result<void> scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow, std::byte* destination,
        PixelRect destinationSize, std::size_t destinationBytesPerRow) override;
};

[[nodiscard]] X11VideoSource::PictureScalerFactory nearestScalers();

[[nodiscard]] platform::StreamConfiguration pictureSize(std::int64_t width, std::int64_t height, bool showsCursor = false);

[[nodiscard]] std::int64_t monotonicNow();

}  // namespace velmora::linux_backend
