#include "platform/linux/x11/X11VideoSource.h"

#include "base/MonotonicClock.h"
#include "engine/pictures/DamageRegion.h"
#include "engine/pictures/FitRectangle.h"
#include "engine/pictures/FramePacer.h"
#include "engine/pictures/PicturePool.h"
#include "engine/pictures/PictureSamples.h"
#include "engine/pictures/UnpaintedArea.h"
#include "platform/linux/kernel/WakeUp.h"
#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/Cursor.h"
#include "platform/linux/x11/Errors.h"
#include "platform/linux/x11/TrackedWindow.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
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

constexpr std::int64_t repeatInterval = nanosecondsPerSecond / 2;
constexpr std::int64_t longestFirstPaint = nanosecondsPerSecond / 2;
constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t largestSide = 32767;  // a window's size is 16 bits in the protocol, its coordinates are signed

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

/// What runs: everything in it but the wake-up and the flag belongs to the thread once that has begun.
class X11VideoSource::Capture {
public:
    static Result<std::unique_ptr<Capture>> create(std::uint32_t windowID, const platform::StreamConfiguration& configuration,
        const Options& options, engine::PictureScalerFactory makeScaler, Callbacks callbacks);
    ~Capture();

private:
    Capture(const platform::StreamConfiguration& configuration, const Options& options, engine::PictureScalerFactory makeScaler,
        Callbacks callbacks);

    void run();
    std::optional<Error> step();
    void handle(const xcb_generic_event_t& event);
    void readEvents();
    bool readQueuedEvents();
    void noteDamage();
    void account(PixelRect damaged);
    Result<void> takePicture();
    bool fetchChanged(engine::PooledPicture& picture);
    Result<bool> fetchScaled(engine::PooledPicture& picture);
    bool fetchOneMoment(engine::PooledPicture* picture, ServerMemory& memory, PixelRect box);
    bool fetchInto(engine::PooledPicture* picture, ServerMemory& memory, PixelRect box, std::uint32_t& request);
    Result<void> reserveScratch(std::size_t size);
    void placeCursor();
    void deliver(engine::PooledPicture& picture, std::int64_t now, std::vector<PixelRect> dirty);
    void invalidate();
    [[nodiscard]] bool isScaled() const;
    [[nodiscard]] std::int64_t deadline() const;
    void waitUntil(std::int64_t time);

    const std::int32_t width_;
    const std::int32_t height_;
    engine::PictureSamples samples_;
    const bool showsCursor_;
    const Options options_;
    engine::PictureScalerFactory makeScaler_;
    Callbacks callbacks_;

    std::unique_ptr<Connection> connection_;
    std::unique_ptr<TrackedWindow> window_;
    std::unique_ptr<CursorTracker> cursor_;  // null when the cursor is not shown
    std::unique_ptr<ServerMemory> memory_;  // the pool's
    std::unique_ptr<engine::PicturePool> pool_;
    std::unique_ptr<ServerMemory> scratch_;
    std::unique_ptr<engine::PictureScaler> scaler_;

    engine::FramePacer pacer_;
    engine::DamageRegion changed_;  // since the last delivered picture, in that picture's coordinates
    bool subtractPending_ = true;  // damage was reported that the server holds back from now on
    CursorPlacement cursorWanted_;
    CursorPlacement cursorDrawn_;  // in the last delivered picture
    std::int64_t cursorChecked_ = 0;
    std::int64_t retryDue_ = 0;  // no picture was free, none could be fetched, or the first has not been painted
    engine::UnpaintedArea unpainted_;  // before the first picture
    engine::PooledPicture* last_ = nullptr;
    std::int64_t lastTime_ = 0;

    std::atomic<bool> stopping_{false};
    WakeUp wakeUp_;
    std::thread thread_;
};

X11VideoSource::Capture::Capture(const platform::StreamConfiguration& configuration, const Options& options,
    engine::PictureScalerFactory makeScaler, Callbacks callbacks)
    : width_(static_cast<std::int32_t>(configuration.width))
    , height_(static_cast<std::int32_t>(configuration.height))
    , samples_(configuration)
    , showsCursor_(configuration.showsCursor)
    , options_(options)
    , makeScaler_(std::move(makeScaler))
    , callbacks_(std::move(callbacks))
    , pacer_(samples_.interval())
{
}

Result<std::unique_ptr<X11VideoSource::Capture>> X11VideoSource::Capture::create(std::uint32_t windowID,
    const platform::StreamConfiguration& configuration, const Options& options, engine::PictureScalerFactory makeScaler,
    Callbacks callbacks)
{
    if (configuration.width < 1 || configuration.height < 1 || configuration.width > largestSide || configuration.height > largestSide)
        return failX11(X11ErrorCode::invalidSize, "The picture size is out of range.");
    std::unique_ptr<Capture> capture{new Capture(configuration, options, std::move(makeScaler), std::move(callbacks))};
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
    auto memory = ServerMemory::allocate(
        *capture->connection_, engine::PicturePool::requiredBytes(capture->width_, capture->height_), options.transport);
    if (!memory)
        return fail(std::move(memory.error()));
    capture->memory_ = std::move(*memory);
    capture->pool_ = std::make_unique<engine::PicturePool>(capture->memory_->block(), capture->width_, capture->height_);
    if (capture->showsCursor_)
        capture->cursor_ = CursorTracker::create(*capture->connection_);
    capture->invalidate();
    // A window that becomes redirected begins with what was on the screen in its place, other windows included, and its program is told
    // to paint it anew. One that does not paint all of it shows what there is.
    capture->retryDue_ = monotonicNow() + longestFirstPaint;
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
    while (!stopping_.load(std::memory_order_acquire)) {
        if (const auto error = step()) {
            if (options_.displayIsGone && connection_->isBroken() && !connect(options_.displayName))
                options_.displayIsGone();
            else
                callbacks_.stopped(*error);
            return;
        }
        waitUntil(deadline());
    }
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

    auto now = monotonicNow();
    // Without an event as well now and then: a window may have come between, a program may have moved the pointer.
    if (cursor_ && now >= cursorChecked_ + (cursor_->mayHaveChanged() ? samples_.interval() : repeatInterval))
        placeCursor();
    const bool isChanged = !changed_.isEmpty() || cursorWanted_ != cursorDrawn_;
    if (isChanged && now >= std::max(pacer_.due(), retryDue_)) {
        if (auto taken = takePicture(); !taken)
            return std::move(taken.error());
    }
    now = monotonicNow();
    if (last_ && now >= lastTime_ + repeatInterval)
        deliver(*last_, now, {});
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
        account(damage.rectangle);
        subtractPending_ = true;
        if (!last_) {
            unpainted_.paint(damage.rectangle);
            if (unpainted_.isEmpty())
                retryDue_ = 0;
        }
    }
    window_->damage().clear();
}

/// A part of the content has changed: every picture lacks it. A scaled picture is made anew as a whole.
void X11VideoSource::Capture::account(PixelRect damaged)
{
    const auto rectangle = isScaled() ? PixelRect{0, 0, width_, height_} : damaged;
    pool_->addDamage(rectangle);
    changed_.add(rectangle);
}

void X11VideoSource::Capture::invalidate()
{
    pool_->invalidate();
    changed_.clear();
    changed_.add({0, 0, width_, height_});
    subtractPending_ = true;
    const auto& content = window_->content();
    unpainted_ = engine::UnpaintedArea{{0, 0, content.width, content.height}};
    if (cursor_)
        placeCursor();
}

bool X11VideoSource::Capture::isScaled() const
{
    return window_->content().width != width_ || window_->content().height != height_;
}

void X11VideoSource::Capture::placeCursor()
{
    cursorChecked_ = monotonicNow();
    const auto& content = window_->content();
    cursorWanted_ = cursor_->locate(
        window_->window(), window_->topLevel(), window_->contentX(), window_->contentY(), {0, 0, content.width, content.height});
}

Result<void> X11VideoSource::Capture::takePicture()
{
    retryDue_ = monotonicNow() + samples_.interval();
    auto* picture = pool_->leastOutdated();
    if (!picture)
        return {};
    const auto now = monotonicNow();
    if (isScaled()) {
        auto fetched = fetchScaled(*picture);
        if (!fetched)
            return fail(std::move(fetched.error()));
        if (!*fetched)
            return {};
        changed_.clear();
        changed_.add({0, 0, width_, height_});
    } else if (!fetchChanged(*picture)) {
        return {};
    }
    retryDue_ = 0;
    picture->missed.clear();
    auto dirty = std::exchange(changed_, {}).rectangles();
    cursorDrawn_ = cursorWanted_;
    pacer_.taken(now);
    last_ = picture;
    deliver(*picture, now, std::move(dirty));
    noteDamage();
    return {};
}

/// Brings a picture of the content's own size up to date. False when that did not work out: the content has changed its size, say.
bool X11VideoSource::Capture::fetchChanged(engine::PooledPicture& picture)
{
    restorePixels(picture.underCursor, picture.pixels, width_);
    picture.fitted = {};
    if (!picture.missed.isEmpty() && !fetchOneMoment(&picture, *memory_, picture.missed.bound()))
        return false;
    if (cursorWanted_ != cursorDrawn_) {
        const PixelRect whole{0, 0, width_, height_};
        if (cursorDrawn_.isVisible)
            changed_.add(cursorDrawn_.rectangle.intersected(whole));
        if (cursorWanted_.isVisible)
            changed_.add(cursorWanted_.rectangle.intersected(whole));
    }
    if (cursor_)
        drawCursor(cursor_->image(), cursorWanted_, picture.pixels, width_, height_, &picture.underCursor);
    return true;
}

/// Fetches the whole content beside the pool and scales it into the picture. False when it could not be fetched now.
Result<bool> X11VideoSource::Capture::fetchScaled(engine::PooledPicture& picture)
{
    const auto content = window_->content();
    const auto rowBytes = static_cast<std::size_t>(content.width) * 4;
    if (auto reserved = reserveScratch(rowBytes * static_cast<std::size_t>(content.height)); !reserved)
        return fail(std::move(reserved.error()));
    if (!scaler_) {
        auto made = makeScaler_();
        if (!made)
            return fail(std::move(made.error()));
        scaler_ = std::move(*made);
    }
    if (!fetchOneMoment(nullptr, *scratch_, {0, 0, content.width, content.height}))
        return false;
    std::byte* source = scratch_->block()->data();
    if (cursor_)
        drawCursor(cursor_->image(), cursorWanted_, source, content.width, content.height, nullptr);

    const auto fitted = engine::fitRectangle(content.width, content.height, width_, height_);
    if (picture.fitted != fitted) {
        std::memset(picture.pixels, 0, pool_->bytesPerRow() * static_cast<std::size_t>(height_));
        picture.fitted = fitted;
    }
    picture.underCursor.rectangle = {};
    std::byte* target = picture.pixels + static_cast<std::size_t>(fitted.y) * pool_->bytesPerRow() + static_cast<std::size_t>(fitted.x) * 4;
    if (auto scaled = scaler_->scale(
            source, {0, 0, content.width, content.height}, rowBytes, target, {0, 0, fitted.width, fitted.height}, pool_->bytesPerRow());
        !scaled)
        return fail(std::move(scaled.error()));
    return true;
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
/// server may not report those parts again when they are drawn once more after the fetch.
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
                    account(damage.rectangle);
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
    const bool isNarrow = picture && box.width * 2 < width_;
    if (isNarrow) {
        const auto rowBytes = static_cast<std::size_t>(box.width) * 4;
        if (!reserveScratch(rowBytes * static_cast<std::size_t>(box.height)))
            return false;
        const auto fetched = scratch_->fetch(window_->pixmap(), engine::translated(box, content.x, content.y), 0);
        if (!fetched)
            return false;
        for (std::int32_t y = 0; y < box.height; ++y) {
            std::memcpy(picture->pixels + static_cast<std::size_t>(box.y + y) * pool_->bytesPerRow() + static_cast<std::size_t>(box.x) * 4,
                scratch_->block()->data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
        }
        request = *fetched;
        return true;
    }
    const PixelRect rows{0, box.y, content.width, box.height};
    const auto rowOffset = picture ? static_cast<std::size_t>(box.y) * pool_->bytesPerRow() : 0;
    const auto fetched =
        memory.fetch(window_->pixmap(), engine::translated(rows, content.x, content.y), (picture ? picture->offset : 0) + rowOffset);
    if (!fetched)
        return false;
    request = *fetched;
    return true;
}

void X11VideoSource::Capture::deliver(engine::PooledPicture& picture, std::int64_t now, std::vector<PixelRect> dirty)
{
    lastTime_ = now;
    callbacks_.picture(samples_.make(*pool_, picture, now, std::move(dirty)));
}

std::int64_t X11VideoSource::Capture::deadline() const
{
    auto time = last_ ? lastTime_ + repeatInterval : never;
    if (!changed_.isEmpty() || cursorWanted_ != cursorDrawn_)
        time = std::min(time, std::max(pacer_.due(), retryDue_));
    if (cursor_ && cursor_->mayHaveChanged())
        time = std::min(time, cursorChecked_ + samples_.interval());
    return time;
}

void X11VideoSource::Capture::waitUntil(std::int64_t time)
{
    if (readQueuedEvents())
        return;
    connection_->flush();
    const auto left = time == never ? repeatInterval : std::max<std::int64_t>(0, time - monotonicNow());
    const timespec timeout{static_cast<time_t>(left / nanosecondsPerSecond), static_cast<long>(left % nanosecondsPerSecond)};
    pollfd descriptors[] = {{connection_->fileDescriptor(), POLLIN, 0}, {wakeUp_.descriptor(), POLLIN, 0}};
    ppoll(descriptors, 2, &timeout, nullptr);
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

void X11VideoSource::stop()
{
    capture_.reset();
}

}  // namespace velmora::linux_backend
