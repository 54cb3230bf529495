#include "tests/platform/linux/portal/TestCast.h"

#include "platform/linux/pipewire/PipeWireHandles.h"
#include "tests/engine/pictures/PictureRecorder.h"
#include "tests/support/FrameNumber.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr std::int32_t bytesPerPixel = 4;
constexpr std::int64_t lookAgain = 5'000'000;  // nanoseconds
constexpr std::chrono::milliseconds repeatInterval{400};

/// Both strips, and beside them a colour that tells red from blue.
std::uint32_t colourAt(std::int32_t x, std::int32_t y, const PixelRect& window, std::uint32_t number)
{
    const auto strip = test::FrameNumberStrip::height(window.height);
    if (y >= strip && y < window.height - strip)
        return 0xc08040;
    int block = 0;
    while (block + 1 < test::FrameNumberStrip::blockCount && test::FrameNumberStrip::blockStart(block + 1, window.width) <= x)
        ++block;
    return test::FrameNumberStrip::isWhite(block, number) ? 0xffffff : 0x000000;
}

std::uint32_t swapped(std::uint32_t colour)
{
    return (colour & 0x00ff00) | (colour >> 16 & 0xff) | (colour & 0xff) << 16;
}

}  // namespace

struct TestCast::Implementation {
    Options options;
    std::vector<std::uint32_t> picture;  // as it was shown last
    bool isStreaming = false;
    int connections = 0;
    int connectionsBefore = 0;  // when the window last changed without telling
    std::vector<pw_buffer*> buffers;
    std::vector<pw_buffer*> free;  // taken out of the stream
    std::optional<Frame> last;
    std::optional<Frame> untold;  // for whoever begins

    ThreadLoopHandle loop;
    LoopSource timer;
    ContextHandle context;
    CoreHandle core;
    StreamHandle stream;
    ListenerHook listener;

    static const pw_stream_events events;

    void waitFor(const char* what, const std::function<bool()>& condition)
    {
        timespec deadline{};
        pw_thread_loop_get_time(loop.get(), &deadline, std::chrono::nanoseconds{engine::patience}.count());
        while (!condition()) {
            timespec now{};
            pw_thread_loop_get_time(loop.get(), &now, 0);
            if (now.tv_sec > deadline.tv_sec) {
                ADD_FAILURE() << "Waited in vain: " << what;
                return;
            }
            // Not everything that is waited for signals the loop.
            timespec soon{};
            pw_thread_loop_get_time(loop.get(), &soon, lookAgain);
            pw_thread_loop_timed_wait_full(loop.get(), &soon);
        }
    }

    void waitForBuffer()
    {
        waitFor("somebody who takes pictures", [this] {
            collect();
            return isStreaming && !free.empty();
        });
    }

    [[nodiscard]] const spa_pod* format(spa_pod_builder& builder) const
    {
        const spa_rectangle size{static_cast<std::uint32_t>(options.width), static_cast<std::uint32_t>(options.height)};
        const spa_fraction variable{0, 1};
        const spa_fraction slowest{1, 1};
        const spa_fraction fastest{60, 1};
        const auto name = options.isRedFirst ? SPA_VIDEO_FORMAT_RGBx : SPA_VIDEO_FORMAT_BGRx;
        return static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat,
            SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
            SPA_FORMAT_VIDEO_format, SPA_POD_Id(name), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate,
            SPA_POD_Fraction(&variable), SPA_FORMAT_VIDEO_maxFramerate, SPA_POD_CHOICE_RANGE_Fraction(&fastest, &slowest, &fastest)));
    }

    void agreeOnBuffers()
    {
        std::array<std::uint8_t, 2048> bytes{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, bytes.data(), bytes.size());
        const auto stride = options.width * bytesPerPixel;
        const auto meta = [&](spa_meta_type type, std::size_t size) {
            return static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                SPA_PARAM_META_type, SPA_POD_Id(type), SPA_PARAM_META_size, SPA_POD_Int(static_cast<std::int32_t>(size))));
        };
        const spa_pod* parameters[] = {
            static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,
                SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
                SPA_PARAM_BUFFERS_size, SPA_POD_Int(stride * options.height), SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride))),
            meta(SPA_META_Header, sizeof(spa_meta_header)),
            meta(SPA_META_VideoCrop, sizeof(spa_meta_region)),
            meta(SPA_META_VideoDamage, sizeof(spa_meta_region) * 4),
        };
        pw_stream_update_params(stream.get(), parameters, 4);
        picture.assign(static_cast<std::size_t>(options.width) * static_cast<std::size_t>(options.height), 0x123456);
    }

    void draw(const Frame& frame)
    {
        const PixelRect whole{0, 0, options.width, options.height};
        const auto crop = frame.crop.value_or(whole);
        const auto shadow = frame.shadow;
        const PixelRect window{crop.x + shadow, crop.y + shadow, crop.width - 2 * shadow, crop.height - 2 * shadow};
        const auto alpha = shadow > 0 ? 0xff000000U : 0U;
        const auto outside = shadow > 0 ? 0x80777777U : 0x777777U;
        for (std::int32_t y = 0; y < options.height; ++y) {
            for (std::int32_t x = 0; x < options.width; ++x) {
                const PixelRect pixel{x, y, 1, 1};
                bool isWanted = !frame.drawsDamageOnly;
                for (const auto& damage : frame.damage)
                    isWanted = isWanted || !damage.intersected(pixel).isEmpty();
                if (!isWanted)
                    continue;
                const auto colour =
                    window.intersected(pixel).isEmpty() ? outside : alpha | colourAt(x - window.x, y - window.y, window, frame.number);
                picture[static_cast<std::size_t>(y) * static_cast<std::size_t>(options.width) + static_cast<std::size_t>(x)] =
                    options.isRedFirst ? swapped(colour) : colour;
            }
        }
    }

    void collect()
    {
        while (auto* buffer = isStreaming ? pw_stream_dequeue_buffer(stream.get()) : nullptr) {
            if (std::find(free.begin(), free.end(), buffer) == free.end())
                free.push_back(buffer);
        }
    }

    /// Whoever leaves keeps the picture that it is looking at, and the node lives on with its buffers: after a few there would be none.
    void takeBack()
    {
        while (pw_stream_dequeue_buffer(stream.get())) { }
        free = buffers;
    }

    pw_buffer* handOver(const Frame& frame)
    {
        auto* buffer = free.front();
        free.erase(free.begin());
        fill(*buffer->buffer, frame);
        // One that was on its way when everybody left still is.
        static_cast<void>(pw_stream_queue_buffer(stream.get(), buffer));
        pw_stream_trigger_process(stream.get());
        auto interval = toTimespec(repeatInterval);
        pw_loop_update_timer(pw_thread_loop_get_loop(loop.get()), timer.get(), &interval, &interval, false);
        return buffer;
    }

    void show(const Frame& frame)
    {
        if (!isStreaming || free.empty())
            return;
        auto shown = frame;
        shown.time = frame.time.value_or(MonotonicClock::now());
        draw(shown);
        handOver(shown);
        shown.damage.clear();
        last = shown;
    }

    void repeat()
    {
        collect();
        if (untold && connections > connectionsBefore && isStreaming && !free.empty())
            return show(*std::exchange(untold, std::nullopt));
        if (last && !free.empty())
            handOver(*last);
    }

    static spa_meta_region region(const PixelRect& rectangle)
    {
        return {{{rectangle.x, rectangle.y}, {static_cast<std::uint32_t>(rectangle.width), static_cast<std::uint32_t>(rectangle.height)}}};
    }

    void fill(spa_buffer& buffer, const Frame& frame) const
    {
        const auto stride = options.width * bytesPerPixel;
        auto& data = buffer.datas[0];
        *data.chunk = {0, frame.isEmpty ? 0U : static_cast<std::uint32_t>(stride * options.height), stride, 0};
        std::memcpy(data.data, picture.data(), picture.size() * bytesPerPixel);
        if (auto* header = static_cast<spa_meta_header*>(spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)))) {
            header->pts = frame.time->time_since_epoch().count();
            header->flags = frame.isCorrupt ? SPA_META_HEADER_FLAG_CORRUPTED : 0;
        }
        if (auto* crop = static_cast<spa_meta_region*>(spa_buffer_find_meta_data(&buffer, SPA_META_VideoCrop, sizeof(spa_meta_region))))
            *crop = region(frame.crop.value_or(PixelRect{0, 0, options.width, options.height}));
        if (const auto* damage = spa_buffer_find_meta(&buffer, SPA_META_VideoDamage)) {
            auto* regions = static_cast<spa_meta_region*>(damage->data);
            for (std::size_t index = 0; index < damage->size / sizeof(spa_meta_region); ++index)
                regions[index] = region(index < frame.damage.size() ? frame.damage[index] : PixelRect{});
        }
    }
};

const pw_stream_events TestCast::Implementation::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        auto* self = static_cast<Implementation*>(data);
        if (std::exchange(self->isStreaming, state == PW_STREAM_STATE_STREAMING) && !self->isStreaming)
            self->takeBack();
        self->connections += self->isStreaming ? 1 : 0;
        pw_thread_loop_signal(self->loop.get(), false);
    };
    table.param_changed = [](void* data, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format && parameter)
            static_cast<Implementation*>(data)->agreeOnBuffers();
    };
    table.add_buffer = [](void* data, pw_buffer* buffer) { static_cast<Implementation*>(data)->buffers.push_back(buffer); };
    table.remove_buffer = [](void* data, pw_buffer* buffer) {
        auto* self = static_cast<Implementation*>(data);
        std::erase(self->buffers, buffer);
        std::erase(self->free, buffer);
    };
    table.process = [](void* data) { pw_thread_loop_signal(static_cast<Implementation*>(data)->loop.get(), false); };
    return table;
}();

TestCast::TestCast() : TestCast(Options{}) { }

TestCast::TestCast(Options options) : implementation_(std::make_unique<Implementation>())
{
    pw_init(nullptr, nullptr);
    auto& own = *implementation_;
    own.options = options;
    own.loop.reset(pw_thread_loop_new("test-cast", nullptr));
    auto* loop = pw_thread_loop_get_loop(own.loop.get());
    own.timer = LoopSource{loop,
        pw_loop_add_timer(
            loop, [](void* self, std::uint64_t) { static_cast<Implementation*>(self)->repeat(); }, &own)};
    own.context.reset(pw_context_new(loop, nullptr, 0));
    own.core.reset(pw_context_connect(own.context.get(), nullptr, 0));
    own.stream.reset(pw_stream_new(own.core.get(), own.options.name.c_str(),
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, "test-window", nullptr)));
    pw_stream_add_listener(own.stream.get(), own.listener.get(), &Implementation::events, &own);
    std::array<std::uint8_t, 1024> bytes{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes.data(), bytes.size());
    const auto* format = own.format(builder);
    EXPECT_EQ(pw_stream_connect(own.stream.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY,
                  static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS), &format, 1),
        0);
    pw_thread_loop_start(own.loop.get());
}

TestCast::~TestCast()
{
    pw_thread_loop_stop(implementation_->loop.get());
}

std::uint32_t TestCast::nodeID()
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->waitFor("the node", [&] { return pw_stream_get_node_id(implementation_->stream.get()) != SPA_ID_INVALID; });
    return pw_stream_get_node_id(implementation_->stream.get());
}

void TestCast::show(const Frame& frame)
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->waitForBuffer();
    implementation_->show(frame);
}

void TestCast::showIfWanted(std::uint32_t number)
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->collect();
    implementation_->show({.number = number, .crop = {}, .damage = {}, .time = {}});
}

void TestCast::showAndChange(std::uint32_t shown, std::uint32_t untold)
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->waitForBuffer();
    implementation_->connectionsBefore = implementation_->connections;
    implementation_->untold = Frame{.number = untold, .crop = {}, .damage = {}, .time = {}};
    implementation_->show({.number = shown, .crop = {}, .damage = {}, .time = {}});
}

void TestCast::showInVain(const Frame& frame)
{
    auto& own = *implementation_;
    ThreadLoopLock lock{own.loop.get()};
    own.waitForBuffer();
    const auto before = std::exchange(own.last, std::nullopt);
    const auto picture = own.picture;
    auto shown = frame;
    shown.time = frame.time.value_or(MonotonicClock::now());
    own.draw(shown);
    const pw_buffer* buffer = nullptr;
    MonotonicTime handedOver;
    own.waitFor("the buffer coming back", [&] {
        own.collect();
        if (buffer && std::find(own.free.begin(), own.free.end(), buffer) != own.free.end())
            return true;
        if (!own.free.empty() && MonotonicClock::now() - handedOver > repeatInterval) {
            buffer = own.handOver(shown);
            handedOver = MonotonicClock::now();
        }
        return false;
    });
    own.picture = picture;
    own.last = before;
}

void TestCast::resize(std::int32_t width, std::int32_t height)
{
    auto& own = *implementation_;
    ThreadLoopLock lock{own.loop.get()};
    own.options.width = width;
    own.options.height = height;
    own.last.reset();
    std::array<std::uint8_t, 1024> bytes{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes.data(), bytes.size());
    const auto* format = own.format(builder);
    pw_stream_update_params(own.stream.get(), &format, 1);
    own.waitFor("the new format", [&] { return own.picture.size() == static_cast<std::size_t>(width) * static_cast<std::size_t>(height); });
}

int TestCast::connections()
{
    ThreadLoopLock lock{implementation_->loop.get()};
    return implementation_->connections;
}

void TestCast::waitForConnections(int count)
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->waitFor("a new connection", [&] { return implementation_->connections >= count; });
}

void TestCast::waitUntilAlone()
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->waitFor("nobody who takes pictures", [&] { return !implementation_->isStreaming; });
}

void TestCast::close()
{
    ThreadLoopLock lock{implementation_->loop.get()};
    implementation_->isStreaming = false;
    implementation_->listener.remove();
    implementation_->stream.reset();
}

FileDescriptor TestCast::connectToServer()
{
    FileDescriptor descriptor{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto path = std::string{std::getenv("XDG_RUNTIME_DIR")} + "/pipewire-0";
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    EXPECT_EQ(::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return descriptor;
}

}  // namespace velmora::linux_backend
