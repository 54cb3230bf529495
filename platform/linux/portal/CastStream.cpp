#include "platform/linux/portal/CastStream.h"

#include "base/MonotonicClock.h"
#include "platform/linux/pipewire/PipeWireHandles.h"
#include "platform/linux/portal/CastBuffer.h"
#include "platform/linux/portal/CastFormats.h"
#include "platform/linux/portal/CastShadow.h"
#include "platform/linux/portal/Errors.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t framesPerSecond = 60;
constexpr auto reconnectAfter = 400ms;
// For a first picture, the first time; then twice as long each time, for machines that are slow to draw one.
constexpr std::chrono::seconds firstPicturePatience{1};

// A window that has not changed for so long stands still, and is looked at once more; no more often than this, however it goes on.
constexpr auto lookAfter = 300ms;
constexpr auto lookInterval = 2s;

/// KWin names the stream of a window like this, followed by the name of the application's desktop entry. None from any other desktop.
std::optional<std::string> applicationOf(const spa_dict* properties)
{
    constexpr std::string_view prefix = "kwin-screencast-";
    for (const char* key : {PW_KEY_MEDIA_NAME, PW_KEY_NODE_NAME}) {
        const char* name = properties ? spa_dict_lookup(properties, key) : nullptr;
        if (name && std::string_view{name}.starts_with(prefix))
            return name + prefix.size();
    }
    return std::nullopt;
}

bool haveSamePixels(const CastPicture& one, const CastPicture& other)
{
    if (one.content != other.content)
        return false;
    const auto rowOf = [](const CastPicture& picture, std::int32_t y) {
        return picture.pixels + static_cast<std::size_t>(y) * picture.bytesPerRow
            + static_cast<std::size_t>(picture.content.x) * bytesPerPixel;
    };
    const auto bytes = static_cast<std::size_t>(one.content.width) * bytesPerPixel;
    for (auto y = one.content.y; y < one.content.y + one.content.height; ++y) {
        if (std::memcmp(rowOf(one, y), rowOf(other, y), bytes) != 0)
            return false;
    }
    return true;
}

}  // namespace

/// Its objects belong to the loop's thread; others touch them under the loop's lock.
class CastStream::Session {
public:
    Session(std::uint32_t nodeID, Callbacks callbacks) : nodeID_(nodeID), callbacks_(std::move(callbacks)) { }
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Result<void> start(FileDescriptor remote);
    Result<Attachment> attach(const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler,
        engine::VideoSource::Callbacks callbacks);
    Result<void> updateSize(Attachment attachment, std::int32_t width, std::int32_t height);
    void wantPicture(Attachment attachment);
    void detach(Attachment attachment);
    void end(const Error& error);

private:
    Result<void> connectStream();
    void disconnectStream();
    void reconnect();
    void look();
    void watchNode(const char* type);
    void armWatchdog(std::chrono::nanoseconds patience)
    {
        auto once = toTimespec(patience);
        pw_loop_update_timer(loop(), watchdog_.get(), &once, nullptr, false);
    }
    void onWatchdog() { isSeen_ ? look() : reconnect(); }
    void onState(pw_stream_state state, const char* error);
    void onFormat(const spa_pod* parameter);
    void onAddBuffer(pw_buffer* buffer);
    void onRemoveBuffer(pw_buffer* buffer);
    void onProcess();
    void examine(pw_buffer* buffer);
    [[nodiscard]] bool isAsNewest(const CastPicture& picture, const CastBuffer& buffer) const;
    [[nodiscard]] PixelRect windowIn(const CastPicture& picture, const CastBuffer& buffer);
    template <typename Use>
    Result<void> useNewest(Use use);
    void work();
    void deliverWanted();
    void armTimer();
    void stop(PortalErrorCode code, const std::string& description) { stop(failPortal(code, description).value()); }
    void stop(const Error& error);
    [[nodiscard]] pw_loop* loop() const { return pw_thread_loop_get_loop(loop_.get()); }

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;
    static const pw_node_events nodeEvents;
    static const pw_stream_events streamEvents;

    const std::uint32_t nodeID_;
    Callbacks callbacks_;
    std::optional<Error> ended_;
    bool hadPicture_ = false;
    std::chrono::seconds firstPicturePatience_ = firstPicturePatience;
    std::string application_;

    std::optional<CastFormat> format_;
    std::map<pw_buffer*, std::unique_ptr<CastBuffer>> buffers_;
    pw_buffer* newest_ = nullptr;  // ours until a newer one comes
    CastPicture newestPicture_;
    std::optional<MonotonicTime> newestTime_;
    std::optional<MonotonicTime> lastTime_;  // of any buffer in this format
    std::optional<PixelRect> crop_;  // in which the window is at window_
    PixelRect window_;
    bool missedSome_ = false;  // a buffer was skipped, and nothing says what its damage was
    bool isReconnecting_ = false;
    bool isSeen_ = false;  // a picture has come in this format
    bool sharesEveryChange_ = false;  // the desktop does, also the last ones
    bool isPausing_ = false;  // for a look
    bool isLooking_ = false;  // it goes on, and no buffer has come yet
    MonotonicTime nextLook_;

    std::unique_ptr<CastPictures> pictures_;
    Attachment attachment_ = 0;
    std::atomic<Attachment> wantedFor_ = 0;  // any thread

    // In this order: what is declared last is destroyed first.
    ThreadLoopHandle loop_;
    ContextHandle context_;
    LoopSource timer_;
    LoopSource watchdog_;
    LoopSource wish_;
    CoreHandle core_;
    ListenerHook coreListener_;
    ProxyHandle registry_;
    ListenerHook registryListener_;
    ProxyHandle node_;
    ListenerHook nodeListener_;
    StreamHandle stream_;
    std::optional<ListenerHook> streamListener_;
};

const pw_core_events CastStream::Session::coreEvents = [] {
    pw_core_events table{};
    table.version = PW_VERSION_CORE_EVENTS;
    table.error = [](void* data, std::uint32_t id, int, int result, const char*) {
        if (id == PW_ID_CORE && result == -EPIPE)
            static_cast<Session*>(data)->stop(PortalErrorCode::connectionLost, "The connection to the PipeWire server was lost.");
    };
    return table;
}();

const pw_registry_events CastStream::Session::registryEvents = [] {
    pw_registry_events table{};
    table.version = PW_VERSION_REGISTRY_EVENTS;
    table.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict*) {
        auto* self = static_cast<Session*>(data);
        if (id == self->nodeID_)
            self->watchNode(type);
    };
    table.global_remove = [](void* data, std::uint32_t id) {
        auto* self = static_cast<Session*>(data);
        if (id == self->nodeID_)
            self->stop(PortalErrorCode::windowUnavailable, "The desktop no longer shares the window.");
    };
    return table;
}();

const pw_node_events CastStream::Session::nodeEvents = [] {
    pw_node_events table{};
    table.version = PW_VERSION_NODE_EVENTS;
    table.info = [](void* data, const pw_node_info* info) {
        auto* self = static_cast<Session*>(data);
        auto told = applicationOf(info->props);
        self->sharesEveryChange_ = self->sharesEveryChange_ || told.has_value();
        if (told && !told->empty())
            self->application_ = std::move(*told);
    };
    return table;
}();

const pw_stream_events CastStream::Session::streamEvents = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<Session*>(data)->onState(state, error);
    };
    table.param_changed = [](void* data, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format)
            static_cast<Session*>(data)->onFormat(parameter);
    };
    table.add_buffer = [](void* data, pw_buffer* buffer) { static_cast<Session*>(data)->onAddBuffer(buffer); };
    table.remove_buffer = [](void* data, pw_buffer* buffer) { static_cast<Session*>(data)->onRemoveBuffer(buffer); };
    table.process = [](void* data) { static_cast<Session*>(data)->onProcess(); };
    return table;
}();

CastStream::Session::~Session()
{
    if (!loop_)
        return;
    {
        // Before its thread ends: pw_loop_invoke(), by which PipeWire's data thread says that there is a picture, runs that at once, in the
        // data thread, where no thread is in the loop.
        ThreadLoopLock lock{loop_.get()};
        timer_.reset();
        watchdog_.reset();
        wish_.reset();
        disconnectStream();
    }
    pw_thread_loop_stop(loop_.get());
}

Result<void> CastStream::Session::start(FileDescriptor remote)
{
    auto made = makeThreadLoop("velmora-cast");
    if (!made)
        return fail(std::move(made.error()));
    loop_ = std::move(*made);
    context_.reset(pw_context_new(loop(), nullptr, 0));
    if (!context_)
        return fail(posixError(errno, "PipeWire gave no context"));
    timer_ = LoopSource{loop(),
        pw_loop_add_timer(
            loop(), [](void* self, std::uint64_t) { static_cast<Session*>(self)->work(); }, this)};
    watchdog_ = LoopSource{loop(),
        pw_loop_add_timer(
            loop(), [](void* self, std::uint64_t) { static_cast<Session*>(self)->onWatchdog(); }, this)};
    wish_ = LoopSource{loop(),
        pw_loop_add_event(
            loop(), [](void* self, std::uint64_t) { static_cast<Session*>(self)->deliverWanted(); }, this)};
    if (!timer_.get() || !watchdog_.get() || !wish_.get())
        return fail(posixError(errno, "PipeWire gave no timer"));
    // Closes the descriptor, even when it fails.
    core_.reset(pw_context_connect_fd(context_.get(), remote.release(), nullptr, 0));
    if (!core_)
        return fail(posixError(errno, "The desktop's connection to PipeWire"));
    pw_core_add_listener(core_.get(), coreListener_.get(), &coreEvents, this);
    auto* registry = pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0);
    if (!registry)
        return fail(posixError(errno, "PipeWire gave no registry"));
    registry_.reset(reinterpret_cast<pw_proxy*>(registry));
    pw_registry_add_listener(registry, registryListener_.get(), &registryEvents, this);
    if (auto connected = connectStream(); !connected)
        return connected;
    if (const int result = pw_thread_loop_start(loop_.get()); result < 0)
        return fail(posixError(-result, "The thread of the shared window did not start"));
    return {};
}

Result<void> CastStream::Session::connectStream()
{
    auto* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Screen",
        PW_KEY_NODE_NAME, "velmora.cast", nullptr);
    stream_.reset(pw_stream_new(core_.get(), "Velmora", properties));
    if (!stream_)
        return fail(posixError(errno, "PipeWire gave no stream"));
    streamListener_.emplace();
    pw_stream_add_listener(stream_.get(), streamListener_->get(), &streamEvents, this);
    CastParameters parameters;
    auto formats = parameters.formats(framesPerSecond);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_DONT_RECONNECT);
    const int result =
        pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, nodeID_, flags, formats.data(), static_cast<std::uint32_t>(formats.size()));
    if (result < 0)
        return fail(posixError(-result, "PipeWire refused the stream of the shared window"));
    return {};
}

void CastStream::Session::disconnectStream()
{
    if (streamListener_)
        streamListener_->remove();
    streamListener_.reset();
    newest_ = nullptr;
    buffers_.clear();
    stream_.reset();
    format_.reset();
    crop_.reset();
    lastTime_.reset();
    isPausing_ = false;
    isLooking_ = false;
}

void CastStream::Session::reconnect()
{
    disconnectStream();
    isReconnecting_ = true;
    if (auto connected = connectStream(); !connected)
        stop(connected.error());
}

/// The desktop sends a picture to a stream that starts, and so to one that goes on after a pause; format and buffers stay.
void CastStream::Session::look()
{
    if (sharesEveryChange_ || pw_stream_set_active(stream_.get(), false) < 0)
        return;
    nextLook_ = MonotonicClock::now() + lookInterval;
    isPausing_ = true;
}

void CastStream::Session::watchNode(const char* type)
{
    if (node_ || !type || std::string_view{type} != PW_TYPE_INTERFACE_Node)
        return;
    auto* registry = reinterpret_cast<pw_registry*>(registry_.get());
    auto* node = static_cast<pw_node*>(pw_registry_bind(registry, nodeID_, type, PW_VERSION_NODE, 0));
    if (!node)
        return;
    node_.reset(reinterpret_cast<pw_proxy*>(node));
    pw_node_add_listener(node, nodeListener_.get(), &nodeEvents, this);
}

void CastStream::Session::onState(pw_stream_state state, const char* error)
{
    if (state == PW_STREAM_STATE_ERROR)
        stop(PortalErrorCode::windowUnavailable, std::string{"The desktop no longer shares the window: "} + (error ? error : "no reason."));
    else if (state == PW_STREAM_STATE_PAUSED && std::exchange(isPausing_, false))
        isLooking_ = pw_stream_set_active(stream_.get(), true) >= 0;
    else if (state == PW_STREAM_STATE_UNCONNECTED)
        stop(PortalErrorCode::windowUnavailable, "The desktop no longer shares the window.");
}

void CastStream::Session::onFormat(const spa_pod* parameter)
{
    if (!parameter)
        return;
    const auto format = parseCastFormat(parameter);
    if (!format)
        return stop(PortalErrorCode::unsupportedPixels, "The desktop shares the window in a format that cannot be read.");
    const bool isConnectedAnew = std::exchange(isReconnecting_, false);
    format_ = format;
    isSeen_ = false;
    lastTime_.reset();
    CastParameters parameters;
    auto buffers = parameters.buffers(*format_);
    pw_stream_update_params(stream_.get(), buffers.data(), static_cast<std::uint32_t>(buffers.size()));
    if (!hadPicture_)
        armWatchdog(std::exchange(firstPicturePatience_, firstPicturePatience_ * 2));
    else if (!isConnectedAnew)
        armWatchdog(reconnectAfter);
}

void CastStream::Session::onAddBuffer(pw_buffer* buffer)
{
    auto mapped = CastBuffer::create(*buffer->buffer);
    if (!mapped)
        return stop(mapped.error());
    buffers_[buffer] = std::move(*mapped);
}

void CastStream::Session::onRemoveBuffer(pw_buffer* buffer)
{
    if (buffer == newest_)
        newest_ = nullptr;
    buffers_.erase(buffer);
}

void CastStream::Session::onProcess()
{
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get()))
        examine(buffer);
    work();
}

/// Keeps the buffer as the newest, or gives it back.
void CastStream::Session::examine(pw_buffer* buffer)
{
    const auto found = buffers_.find(buffer);
    const auto news = found == buffers_.end() ? CastNews{} : found->second->news();
    const bool wasLook = std::exchange(isLooking_, false);
    const bool isRepeat = newest_ && news.time && news.time == lastTime_ && news.damage.empty();
    auto picture = format_ && found != buffers_.end() ? found->second->picture(*format_) : std::nullopt;
    if (isRepeat || !picture) {
        missedSome_ = missedSome_ || !isRepeat;
        pw_stream_queue_buffer(stream_.get(), buffer);
        return;
    }
    picture->content = windowIn(*picture, *found->second);
    if (wasLook && newest_ && isAsNewest(*picture, *found->second)) {
        pw_stream_queue_buffer(stream_.get(), buffer);
        return;
    }
    if (auto* older = std::exchange(newest_, buffer))
        pw_stream_queue_buffer(stream_.get(), older);
    newestPicture_ = *picture;
    isSeen_ = true;
    newestTime_ = news.time == lastTime_ ? std::nullopt : news.time;
    lastTime_ = news.time;
    if (sharesEveryChange_)
        pw_loop_update_timer(loop(), watchdog_.get(), nullptr, nullptr, false);
    else
        armWatchdog(std::max<std::chrono::nanoseconds>(lookAfter, nextLook_ - MonotonicClock::now()));

    if (pictures_) {
        std::optional<std::vector<PixelRect>> damage;
        if (!missedSome_ && !wasLook && !news.damage.empty()) {
            damage.emplace();
            for (const auto& rectangle : news.damage) {
                const auto seen = rectangle.intersected(picture->content);
                damage->push_back({seen.x - picture->content.x, seen.y - picture->content.y, seen.width, seen.height});
            }
        }
        pictures_->changed(picture->content, damage);
    }
    missedSome_ = false;
    if (!std::exchange(hadPicture_, true))
        callbacks_.firstPicture(picture->content.width, picture->content.height, application_);
}

bool CastStream::Session::isAsNewest(const CastPicture& picture, const CastBuffer& buffer) const
{
    const auto& newest = *buffers_.at(newest_);
    newest.beginReading();
    buffer.beginReading();
    const bool isSame = haveSamePixels(picture, newestPicture_);
    buffer.endReading();
    newest.endReading();
    return isSame;
}

/// Looked for once per crop, so that it does not move with what the window shows.
PixelRect CastStream::Session::windowIn(const CastPicture& picture, const CastBuffer& buffer)
{
    if (!picture.isCropped)
        return picture.content;
    if (crop_ == picture.content)
        return window_;
    buffer.beginReading();
    const auto window = contentWithoutShadow(picture);
    buffer.endReading();
    if (!window)
        return picture.content;
    crop_ = picture.content;
    window_ = *window;
    return window_;
}

/// With the newest picture, which can be read meanwhile; null when there is none.
template <typename Use>
Result<void> CastStream::Session::useNewest(Use use)
{
    if (!newest_)
        return use(nullptr);
    const auto& buffer = *buffers_.at(newest_);
    buffer.beginReading();
    auto done = use(&newestPicture_);
    buffer.endReading();
    return done;
}

/// Delivers what is due, and comes again when the next is.
void CastStream::Session::work()
{
    if (!pictures_ || ended_)
        return;
    const auto done = useNewest([this](const CastPicture* newest) { return pictures_->work(newest, newestTime_); });
    if (!done)
        return stop(done.error());
    armTimer();
}

void CastStream::Session::deliverWanted()
{
    if (wantedFor_.exchange(0) != attachment_ || !pictures_)
        return;
    pictures_->wantPicture();
    work();
}

void CastStream::Session::armTimer()
{
    const auto deadline = pictures_->deadline();
    // A change for which there is no picture waits for it.
    const std::chrono::nanoseconds earliest = newest_ ? 1ms : 100ms;
    auto next = toTimespec(deadline == engine::PictureStream::never ? 1s : std::max(earliest, deadline - MonotonicClock::now()));
    pw_loop_update_timer(loop(), timer_.get(), &next, nullptr, false);
}

void CastStream::Session::stop(const Error& error)
{
    if (ended_)
        return;
    ended_ = error;
    if (pictures_)
        pictures_->callbacks().stopped(error);
    callbacks_.stopped(error);
}

Result<CastStream::Attachment> CastStream::Session::attach(
    const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks)
{
    auto pictures = CastPictures::create(configuration, std::move(makeScaler), std::move(callbacks));
    if (!pictures)
        return fail(std::move(pictures.error()));
    ThreadLoopLock lock{loop_.get()};
    if (ended_)
        return fail(*ended_);
    pictures_ = std::move(*pictures);
    if (newest_)
        pictures_->changed(newestPicture_.content, std::nullopt);
    work();
    return ++attachment_;
}

Result<void> CastStream::Session::updateSize(Attachment attachment, std::int32_t width, std::int32_t height)
{
    ThreadLoopLock lock{loop_.get()};
    if (ended_)
        return fail(*ended_);
    if (!pictures_ || attachment != attachment_)
        return failPortal(PortalErrorCode::windowUnavailable, "The window's pictures go elsewhere by now.");
    auto updated = useNewest([&](const CastPicture* newest) { return pictures_->updateSize(width, height, newest); });
    armTimer();
    return updated;
}

void CastStream::Session::wantPicture(Attachment attachment)
{
    wantedFor_ = attachment;
    pw_loop_signal_event(loop(), wish_.get());
}

void CastStream::Session::detach(Attachment attachment)
{
    ThreadLoopLock lock{loop_.get()};
    if (attachment == attachment_)
        pictures_.reset();
}

void CastStream::Session::end(const Error& error)
{
    ThreadLoopLock lock{loop_.get()};
    stop(error);
}

CastStream::CastStream(std::unique_ptr<Session> session) : session_(std::move(session)) { }

CastStream::~CastStream() = default;

Result<std::unique_ptr<CastStream>> CastStream::create(FileDescriptor remote, std::uint32_t nodeID, Callbacks callbacks)
{
    auto session = std::make_unique<Session>(nodeID, std::move(callbacks));
    if (auto started = session->start(std::move(remote)); !started)
        return fail(std::move(started.error()));
    return std::unique_ptr<CastStream>(new CastStream(std::move(session)));
}

Result<CastStream::Attachment> CastStream::attach(
    const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks)
{
    return session_->attach(configuration, std::move(makeScaler), std::move(callbacks));
}

Result<void> CastStream::updateSize(Attachment attachment, std::int32_t width, std::int32_t height)
{
    return session_->updateSize(attachment, width, height);
}

void CastStream::wantPicture(Attachment attachment)
{
    session_->wantPicture(attachment);
}

void CastStream::detach(Attachment attachment)
{
    session_->detach(attachment);
}

void CastStream::end(const Error& error)
{
    session_->end(error);
}

}  // namespace velmora::linux_backend
