#include "platform/linux/x11/X11VideoSource.h"

#include "base/MonotonicClock.h"
#include "engine/pictures/PictureStream.h"
#include "engine/pictures/SizeRequest.h"
#include "platform/linux/kernel/WakeUp.h"
#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/Cursor.h"
#include "platform/linux/x11/Errors.h"
#include "platform/linux/x11/TrackedWindow.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <thread>
#include <utility>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

namespace velmora::linux_backend {

namespace {

/// The extensions in the versions that captures use. Their version requests are part of their protocols' handshake.
Result<void> requireExtensions(const Connection& connection)
{
    const auto missing = [](const char* name) {
        return failX11(X11ErrorCode::extensionMissing, std::string("The X server does not offer the ") + name + " extension.");
    };
    for (auto* extension : {&xcb_composite_id, &xcb_damage_id, &xcb_xfixes_id})
        xcb_prefetch_extension_data(connection.xcb(), extension);
    if (!connection.has(xcb_composite_id))
        return missing("Composite");
    if (!connection.has(xcb_damage_id))
        return missing("DAMAGE");
    if (!connection.has(xcb_xfixes_id))
        return missing("XFIXES");
    const auto askedComposite = xcb_composite_query_version(connection.xcb(), 0, 4);
    const auto askedDamage = xcb_damage_query_version(connection.xcb(), 1, 1);
    const auto askedFixes = xcb_xfixes_query_version(connection.xcb(), 4, 0);
    const auto composite = connection.reply(xcb_composite_query_version_reply, askedComposite);
    const auto damage = connection.reply(xcb_damage_query_version_reply, askedDamage);
    const auto fixes = connection.reply(xcb_xfixes_query_version_reply, askedFixes);
    // Named pixmaps came with Composite 0.2.
    if (!composite || (composite->major_version == 0 && composite->minor_version < 2))
        return missing("Composite 0.2");
    if (!damage)
        return missing("DAMAGE");
    if (!fixes)
        return missing("XFIXES");
    return {};
}

Result<std::unique_ptr<Connection>> connect(const std::string& displayName)
{
    auto connection = Connection::open(displayName.empty() ? nullptr : displayName.c_str());
    if (!connection)
        return connection;
    if (auto offered = requireExtensions(**connection); !offered)
        return fail(std::move(offered.error()));
    return connection;
}

}  // namespace

/// A running capture: everything in it but the wake-up and the flags belongs to the thread once that has begun.
class X11VideoSource::Capture final : public engine::PictureContent {
public:
    static Result<std::unique_ptr<Capture>> create(std::uint32_t windowID, const platform::StreamConfiguration& configuration,
        const Options& options, engine::PictureScalerFactory makeScaler, Callbacks callbacks);
    ~Capture() override;

    Result<void> askForSize(std::int32_t width, std::int32_t height)
    {
        return sizeRequest_.ask(width, height, [this] { wakeUp_.signal(); });
    }

    void wantPicture()
    {
        isPictureWanted_.store(true, std::memory_order_release);
        wakeUp_.signal();
    }

private:
    Capture(const Options& options, Callbacks callbacks) : options_(options), callbacks_(std::move(callbacks)) { }

    void run();
    std::optional<Error> loop();
    std::optional<Error> step();
    Result<void> updateSize(std::int32_t width, std::int32_t height);
    void handle(const xcb_generic_event_t& event);
    void readEvents();
    bool readQueuedEvents();
    void noteDamage();
    Result<bool> fetch(engine::PooledPicture& picture) override;
    Result<std::optional<engine::ContentPixels>> fetchAll() override;
    bool fetchOneMoment(engine::PooledPicture* picture, ServerMemory& memory, PixelRect box);
    bool fetchInto(engine::PooledPicture* picture, ServerMemory& memory, PixelRect box, std::uint32_t& request);
    Result<void> reserveScratch(std::size_t size);
    void placeCursor();
    void invalidate();
    [[nodiscard]] MonotonicTime deadline() const;
    void waitUntil(MonotonicTime time);

    const Options options_;
    Callbacks callbacks_;

    std::unique_ptr<Connection> connection_;
    std::unique_ptr<TrackedWindow> window_;
    std::unique_ptr<CursorTracker> cursor_;  // null when the cursor is not shown
    std::unique_ptr<ServerMemory> memory_;  // the stream's
    std::optional<engine::PictureStream> stream_;
    std::unique_ptr<ServerMemory> scratch_;

    bool subtractPending_ = true;  // damage was reported that the server holds back from now on
    CursorPlacement cursorWanted_;
    CursorPlacement cursorDrawn_;  // in the last delivered picture
    MonotonicTime cursorChecked_;

    std::atomic<bool> stopping_{false};
    std::atomic<bool> isPictureWanted_{false};
    engine::SizeRequest sizeRequest_;
    WakeUp wakeUp_;
    std::thread thread_;
};

Result<std::unique_ptr<X11VideoSource::Capture>> X11VideoSource::Capture::create(std::uint32_t windowID,
    const platform::StreamConfiguration& configuration, const Options& options, engine::PictureScalerFactory makeScaler,
    Callbacks callbacks)
{
    if (!engine::PictureStream::isPossible(configuration))
        return failX11(X11ErrorCode::invalidSize, "The picture size is out of range.");
    std::unique_ptr<Capture> capture{new Capture(options, std::move(callbacks))};
    if (!capture->wakeUp_.isValid())
        return fail(posixError(errno, "Capture"));
    auto connection = connect(options.displayName);
    if (!connection)
        return fail(std::move(connection.error()));
    capture->connection_ = std::move(*connection);
    auto window = TrackedWindow::create(*capture->connection_, windowID);
    if (!window)
        return fail(std::move(window.error()));
    capture->window_ = std::move(*window);
    auto memory = ServerMemory::allocate(*capture->connection_, engine::PictureStream::requiredBytes(configuration), options.transport);
    if (!memory)
        return fail(std::move(memory.error()));
    capture->memory_ = std::move(*memory);
    capture->stream_.emplace(configuration, capture->memory_->block(), *capture, std::move(makeScaler),
        [running = capture.get()](SampleBufferRef picture) { running->callbacks_.picture(std::move(picture)); });
    capture->stream_->observeSize([running = capture.get()](std::int32_t width, std::int32_t height) {
        if (running->callbacks_.settled)
            running->callbacks_.settled(width, height);
    });
    if (configuration.showsCursor)
        capture->cursor_ = CursorTracker::create(*capture->connection_);
    capture->invalidate();
    if (!capture->window_->wasRedirected())
        capture->stream_->awaitFirstPaint();
    capture->thread_ = std::thread([running = capture.get()] { running->run(); });
    return capture;
}

X11VideoSource::Capture::~Capture()
{
    stopping_.store(true, std::memory_order_release);
    wakeUp_.signal();
    if (thread_.joinable())
        thread_.join();
}

void X11VideoSource::Capture::run()
{
    pthread_setname_np(pthread_self(), "x11Capture");
    const auto error = loop();
    sizeRequest_.end();
    if (!error)
        return;
    if (options_.displayIsGone && connection_->isBroken() && !connect(options_.displayName))
        options_.displayIsGone();
    else
        callbacks_.stopped(*error);
}

std::optional<Error> X11VideoSource::Capture::loop()
{
    while (!stopping_.load(std::memory_order_acquire)) {
        if (auto error = step())
            return error;
        waitUntil(deadline());
    }
    return std::nullopt;
}

Result<void> X11VideoSource::Capture::updateSize(std::int32_t width, std::int32_t height)
{
    auto memory = ServerMemory::allocate(*connection_, engine::PictureStream::requiredBytes(width, height), options_.transport);
    if (!memory)
        return stream_->updateSize(width, height, fail(std::move(memory.error())));
    std::swap(memory_, *memory);
    auto updated = stream_->updateSize(width, height, memory_->block());
    if (!updated)
        std::swap(memory_, *memory);
    return updated;
}

/// One turn of the loop: takes note of what happened, takes or repeats a picture if it is time. An error ends the stream.
std::optional<Error> X11VideoSource::Capture::step()
{
    const auto ended = [](X11ErrorCode code, const char* description) { return failX11(code, description).value(); };
    readEvents();
    if (window_->needsRefresh() && window_->refresh())
        invalidate();
    if (connection_->isBroken())
        return ended(X11ErrorCode::connectionLost, "The connection to the X display was lost.");
    if (window_->isGone())
        return ended(X11ErrorCode::windowUnavailable, "The window was closed.");
    noteDamage();
    sizeRequest_.answer([this](std::int32_t width, std::int32_t height) { return updateSize(width, height); });

    const auto now = MonotonicClock::now();
    // Now and then without an event too: a window may have come between, a program may have moved the pointer.
    if (cursor_ && now >= cursorChecked_ + (cursor_->mayHaveChanged() ? stream_->interval() : engine::PictureStream::repeatInterval))
        placeCursor();
    if (isPictureWanted_.exchange(false, std::memory_order_acquire))
        stream_->wantPicture();
    if (auto worked = stream_->work(); !worked)
        return std::move(worked.error());
    noteDamage();
    return std::nullopt;
}

void X11VideoSource::Capture::handle(const xcb_generic_event_t& event)
{
    window_->handle(event);
    if (cursor_)
        cursor_->handle(event);
}

void X11VideoSource::Capture::readEvents()
{
    while (const Event event = connection_->poll())
        handle(*event);
}

/// Events that came in while a reply was waited for. True when there were any.
bool X11VideoSource::Capture::readQueuedEvents()
{
    bool any = false;
    while (const Event event = connection_->pollQueued()) {
        handle(*event);
        any = true;
    }
    return any;
}

/// Moves the window's damage to where it is accounted for.
void X11VideoSource::Capture::noteDamage()
{
    for (const auto& damage : window_->damage()) {
        stream_->damage(damage.rectangle);
        subtractPending_ = true;
    }
    window_->damage().clear();
}

void X11VideoSource::Capture::invalidate()
{
    const auto& content = window_->content();
    stream_->contentReplaced(content.width, content.height);
    subtractPending_ = true;
    if (cursor_)
        placeCursor();
}

void X11VideoSource::Capture::placeCursor()
{
    cursorChecked_ = MonotonicClock::now();
    const auto& content = window_->content();
    cursorWanted_ = cursor_->locate(
        window_->window(), window_->topLevel(), window_->contentX(), window_->contentY(), {0, 0, content.width, content.height});
    stream_->setOverlayIsOutdated(cursorWanted_ != cursorDrawn_);
}

/// False when that did not work: the content has changed its size, say.
Result<bool> X11VideoSource::Capture::fetch(engine::PooledPicture& picture)
{
    restorePixels(picture.underCursor, picture.pixels, stream_->width());
    if (!picture.missed.isEmpty() && !fetchOneMoment(&picture, *memory_, picture.missed.bound()))
        return false;
    if (cursorWanted_ != cursorDrawn_) {
        if (cursorDrawn_.isVisible)
            stream_->overlayChanged(cursorDrawn_.rectangle);
        if (cursorWanted_.isVisible)
            stream_->overlayChanged(cursorWanted_.rectangle);
    }
    if (cursor_)
        drawCursor(cursor_->image(), cursorWanted_, picture.pixels, stream_->width(), stream_->height(), &picture.underCursor);
    cursorDrawn_ = cursorWanted_;
    return true;
}

Result<std::optional<engine::ContentPixels>> X11VideoSource::Capture::fetchAll()
{
    const auto content = window_->content();
    const auto rowBytes = static_cast<std::size_t>(content.width) * 4;
    if (auto reserved = reserveScratch(rowBytes * static_cast<std::size_t>(content.height)); !reserved)
        return fail(std::move(reserved.error()));
    if (!fetchOneMoment(nullptr, *scratch_, {0, 0, content.width, content.height}))
        return std::nullopt;
    std::byte* source = scratch_->block()->data();
    if (cursor_)
        drawCursor(cursor_->image(), cursorWanted_, source, content.width, content.height, nullptr);
    cursorDrawn_ = cursorWanted_;
    return engine::ContentPixels{source, rowBytes};
}

Result<void> X11VideoSource::Capture::reserveScratch(std::size_t size)
{
    if (scratch_ && scratch_->block()->size() >= size)
        return {};
    scratch_.reset();
    auto memory = ServerMemory::allocate(*connection_, size, options_.transport);
    if (!memory)
        return fail(std::move(memory.error()));
    scratch_ = std::move(*memory);
    return {};
}

/// Fetches `box` of the content so that what was fetched and what was there before make one moment of the window: when something was
/// drawn outside of `box` before the fetch, all is fetched instead. What was drawn before the fetch is accounted for here: it is in
/// this picture, and the others lack it. What was drawn after the subtraction stays in the window's damage as well, because the
/// server may not report those parts again when they are drawn again after the fetch.
bool X11VideoSource::Capture::fetchOneMoment(engine::PooledPicture* picture, ServerMemory& memory, PixelRect box)
{
    const PixelRect whole{0, 0, window_->content().width, window_->content().height};
    auto& meanwhile = window_->damage();
    for (;;) {
        std::optional<std::uint32_t> subtraction;
        if (std::exchange(subtractPending_, false))
            subtraction = window_->subtractDamage();
        std::uint32_t request = 0;
        if (!fetchInto(picture, memory, box, request)) {
            invalidate();
            return false;
        }
        readQueuedEvents();
        const auto isTorn = [&](const TrackedWindow::Damage& damage) {
            return isBefore(damage.sequence, request) && !engine::contains(box, damage.rectangle);
        };
        if (box == whole || std::none_of(meanwhile.begin(), meanwhile.end(), isTorn)) {
            for (const auto& damage : meanwhile) {
                if (isBefore(damage.sequence, request))
                    stream_->damage(damage.rectangle);
            }
            if (subtraction)
                std::erase_if(meanwhile, [&](const TrackedWindow::Damage& damage) { return isBefore(damage.sequence, *subtraction); });
            return true;
        }
        box = whole;
        subtractPending_ = true;
    }
}

bool X11VideoSource::Capture::fetchInto(engine::PooledPicture* picture, ServerMemory& memory, PixelRect box, std::uint32_t& request)
{
    const auto& content = window_->content();
    // Rows arrive packed. Whole rows are in place as they arrive; a narrow part goes through the scratch memory.
    const bool isNarrow = picture && box.width * 2 < stream_->width();
    if (isNarrow) {
        const auto rowBytes = static_cast<std::size_t>(box.width) * 4;
        if (!reserveScratch(rowBytes * static_cast<std::size_t>(box.height)))
            return false;
        const auto fetched = scratch_->fetch(window_->pixmap(), engine::translated(box, content.x, content.y), 0);
        if (!fetched)
            return false;
        for (std::int32_t y = 0; y < box.height; ++y) {
            std::memcpy(
                picture->pixels + static_cast<std::size_t>(box.y + y) * stream_->bytesPerRow() + static_cast<std::size_t>(box.x) * 4,
                scratch_->block()->data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
        }
        request = *fetched;
        return true;
    }
    const PixelRect rows{0, box.y, content.width, box.height};
    const auto rowOffset = picture ? static_cast<std::size_t>(box.y) * stream_->bytesPerRow() : 0;
    const auto fetched =
        memory.fetch(window_->pixmap(), engine::translated(rows, content.x, content.y), (picture ? picture->offset : 0) + rowOffset);
    if (!fetched)
        return false;
    request = *fetched;
    return true;
}

MonotonicTime X11VideoSource::Capture::deadline() const
{
    const auto time = stream_->deadline();
    return cursor_ && cursor_->mayHaveChanged() ? std::min(time, cursorChecked_ + stream_->interval()) : time;
}

void X11VideoSource::Capture::waitUntil(MonotonicTime time)
{
    if (readQueuedEvents())
        return;
    connection_->flush();
    const std::chrono::nanoseconds left = time == engine::PictureStream::never
        ? engine::PictureStream::repeatInterval
        : std::max(std::chrono::nanoseconds{0}, time - MonotonicClock::now());
    const auto timeout = toTimespec(left);
    pollfd descriptors[] = {{connection_->fileDescriptor(), POLLIN, 0}, {wakeUp_.descriptor(), POLLIN, 0}};
    ppoll(descriptors, 2, &timeout, nullptr);
    wakeUp_.clear();
}

X11VideoSource::X11VideoSource(
    std::uint32_t windowID, const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler, Options options)
    : windowID_(windowID)
    , configuration_(configuration)
    , makeScaler_(std::move(makeScaler))
    , options_(std::move(options))
{
}

X11VideoSource::~X11VideoSource()
{
    stop();
}

Result<void> X11VideoSource::checkAvailable(const std::string& displayName)
{
    auto connection = connect(displayName);
    if (!connection)
        return fail(std::move(connection.error()));
    return {};
}

Result<void> X11VideoSource::start(Callbacks callbacks)
{
    assert(!capture_ && makeScaler_);
    auto capture = Capture::create(windowID_, configuration_, options_, std::move(makeScaler_), std::move(callbacks));
    if (!capture)
        return fail(std::move(capture.error()));
    capture_ = std::move(*capture);
    return {};
}

Result<void> X11VideoSource::updateSize(std::int32_t width, std::int32_t height)
{
    assert(capture_);
    return capture_->askForSize(width, height);
}

void X11VideoSource::wantPicture()
{
    assert(capture_);
    capture_->wantPicture();
}

void X11VideoSource::stop()
{
    capture_.reset();
}

}  // namespace velmora::linux_backend
