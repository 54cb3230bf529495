#include "platform/linux/pipewire/PipeWireSoundStreams.h"

#include "base/MonotonicClock.h"
#include "platform/linux/pipewire/Dictionary.h"
#include "platform/linux/pipewire/PipeWireHandles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <spa/param/audio/raw.h>
#include <spa/param/props.h>
#include <spa/pod/iter.h>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr std::chrono::seconds patience{2};

/// By the switch, or because every channel is turned all the way down.
bool isMuted(const spa_pod& properties)
{
    const auto find = [&properties](std::uint32_t key) -> const spa_pod* {
        const auto* found = spa_pod_find_prop(&properties, nullptr, key);
        return found ? &found->value : nullptr;
    };
    bool isOff = false;
    if (const auto* mute = find(SPA_PROP_mute); mute && spa_pod_get_bool(mute, &isOff) == 0 && isOff)
        return true;
    std::array<float, SPA_AUDIO_MAX_CHANNELS> volumes{};
    const auto* volume = find(SPA_PROP_channelVolumes);
    const auto count = volume ? spa_pod_copy_array(volume, SPA_TYPE_Float, volumes.data(), volumes.size()) : 0;
    return count > 0 && std::all_of(volumes.begin(), volumes.begin() + count, [](float channel) { return channel == 0; });
}

/// One look at the server, in the loop of whoever asks; or one after another as its streams change, until it is told to stop.
class Look {
public:
    using Changed = engine::SoundStreamWatch::Changed;

    explicit Look(Changed changed = {}) : changed_(std::move(changed)) { }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

    Result<std::vector<engine::SoundStream>> take();

    /// The two halves of it. run() returns when the answer is there or will not come; when followed, only when told to stop or the server is gone.
    Result<void> prepare();
    void run();

    /// Any thread, between prepare() and the end.
    void stop() { pw_loop_signal_event(pw_main_loop_get_loop(loop_.get()), stopped_.get()); }

private:
    struct Object {
        Look& look;
        std::uint32_t id;
        SoundGraph::Properties properties;
        bool isPlaying = false;
        bool isMuted = false;
        ProxyHandle proxy;
        ListenerHook listener;

        /// What has changed, or all there is: keys that it leaves out keep their values.
        void update(const spa_dict* changed)
        {
            for (auto& [key, text] : toProperties(changed))
                properties.insert_or_assign(key, std::move(text));
        }
    };

    void onGlobal(std::uint32_t id, std::string_view kind, const spa_dict* properties);
    static void listenToNode(Object& object);
    void onDone(int sequence);
    void noteChange();
    void ask() { question_ = pw_core_sync(core_.get(), PW_ID_CORE, question_); }
    void end(int error);
    [[nodiscard]] std::vector<engine::SoundStream> streams() const;

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;
    static const pw_client_events clientEvents;
    static const pw_node_events nodeEvents;

    const Changed changed_;  ///< empty: one look is enough
    int question_ = 0;
    bool isListed_ = false;
    bool isTold_ = false;  ///< of the streams that there were at first
    int error_ = 0;

    // In this order: what is declared last is destroyed first.
    MainLoopHandle loop_;
    LoopSource timer_;
    LoopSource stopped_;
    ContextHandle context_;
    CoreHandle core_;
    ListenerHook coreListener_;
    ProxyHandle registry_;
    ListenerHook registryListener_;
    std::map<std::uint32_t, std::unique_ptr<Object>> clients_;
    std::map<std::uint32_t, std::unique_ptr<Object>> nodes_;
};

const pw_core_events Look::coreEvents = [] {
    pw_core_events table{};
    table.version = PW_VERSION_CORE_EVENTS;
    table.done = [](void* self, std::uint32_t id, int sequence) {
        if (id == PW_ID_CORE)
            static_cast<Look*>(self)->onDone(sequence);
    };
    // Errors of single objects come when one ends while it is asked.
    table.error = [](void* self, std::uint32_t id, int, int result, const char*) {
        if (id == PW_ID_CORE && result == -EPIPE)
            static_cast<Look*>(self)->end(ECONNRESET);
    };
    return table;
}();

const pw_registry_events Look::registryEvents = [] {
    pw_registry_events table{};
    table.version = PW_VERSION_REGISTRY_EVENTS;
    table.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict* properties) {
        static_cast<Look*>(self)->onGlobal(id, type ? type : "", properties);
    };
    table.global_remove = [](void* self, std::uint32_t id) {
        auto& look = *static_cast<Look*>(self);
        look.clients_.erase(id);
        if (look.nodes_.erase(id) > 0)
            look.noteChange();
    };
    return table;
}();

const pw_client_events Look::clientEvents = [] {
    pw_client_events table{};
    table.version = PW_VERSION_CLIENT_EVENTS;
    table.info = [](void* data, const pw_client_info* info) {
        auto& self = *static_cast<Object*>(data);
        self.update(info->props);
        self.look.noteChange();
    };
    return table;
}();

const pw_node_events Look::nodeEvents = [] {
    pw_node_events table{};
    table.version = PW_VERSION_NODE_EVENTS;
    table.info = [](void* data, const pw_node_info* info) {
        auto& self = *static_cast<Object*>(data);
        self.update(info->props);
        self.isPlaying = info->state == PW_NODE_STATE_RUNNING;
        self.look.noteChange();
    };
    table.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* parameter) {
        if (id == SPA_PARAM_Props && parameter)
            static_cast<Object*>(data)->isMuted = isMuted(*parameter);
    };
    return table;
}();

Result<std::vector<engine::SoundStream>> Look::take()
{
    if (auto prepared = prepare(); !prepared)
        return fail(std::move(prepared.error()));
    run();
    if (error_ != 0)
        return fail(posixError(error_, "The PipeWire server did not answer"));
    return streams();
}

Result<void> Look::prepare()
{
    auto made = makeMainLoop();
    if (!made)
        return fail(std::move(made.error()));
    loop_ = std::move(*made);
    auto* loop = pw_main_loop_get_loop(loop_.get());
    timer_ = LoopSource{loop,
        pw_loop_add_timer(
            loop,
            [](void* self, std::uint64_t) {
                if (!static_cast<Look*>(self)->isTold_)
                    static_cast<Look*>(self)->end(ETIMEDOUT);
            },
            this)};
    stopped_ = LoopSource{loop,
        pw_loop_add_event(
            loop, [](void* self, std::uint64_t) { static_cast<Look*>(self)->end(0); }, this)};
    context_.reset(pw_context_new(loop, nullptr, 0));
    if (!timer_.get() || !stopped_.get() || !context_)
        return fail(posixError(errno, "PipeWire gave no context"));
    core_.reset(pw_context_connect(context_.get(), pw_properties_new(PW_KEY_APP_NAME, "Velmora", nullptr), 0));
    if (!core_)
        return fail(posixError(errno, "No PipeWire server answers"));
    pw_core_add_listener(core_.get(), coreListener_.get(), &coreEvents, this);
    auto* registry = pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0);
    if (!registry)
        return fail(posixError(errno, "PipeWire gave no registry"));
    registry_.reset(reinterpret_cast<pw_proxy*>(registry));
    pw_registry_add_listener(registry, registryListener_.get(), &registryEvents, this);
    ask();
    auto once = toTimespec(patience);
    pw_loop_update_timer(loop, timer_.get(), &once, nullptr, false);
    return {};
}

void Look::run()
{
    pw_main_loop_run(loop_.get());
    if (isTold_ && error_ != 0)
        changed_({});
}

/// What it means is asked for behind all that is told at the same time.
void Look::noteChange()
{
    if (isTold_)
        ask();
}

void Look::onGlobal(std::uint32_t id, std::string_view kind, const spa_dict* properties)
{
    auto* registry = reinterpret_cast<pw_registry*>(registry_.get());
    const char* mediaClass = properties ? spa_dict_lookup(properties, PW_KEY_MEDIA_CLASS) : nullptr;
    const bool isClient = kind == PW_TYPE_INTERFACE_Client;
    if (!isClient && !(kind == PW_TYPE_INTERFACE_Node && mediaClass && std::strcmp(mediaClass, "Stream/Output/Audio") == 0))
        return;
    auto object = std::unique_ptr<Object>{new Object{*this, id, toProperties(properties), false, false, nullptr, {}}};
    object->proxy.reset(static_cast<pw_proxy*>(pw_registry_bind(
        registry, id, isClient ? PW_TYPE_INTERFACE_Client : PW_TYPE_INTERFACE_Node, isClient ? PW_VERSION_CLIENT : PW_VERSION_NODE, 0)));
    if (!object->proxy)
        return;
    if (isClient)
        pw_client_add_listener(reinterpret_cast<pw_client*>(object->proxy.get()), object->listener.get(), &clientEvents, object.get());
    else
        listenToNode(*object);
    (isClient ? clients_ : nodes_).insert_or_assign(id, std::move(object));
}

void Look::listenToNode(Object& object)
{
    auto* node = reinterpret_cast<pw_node*>(object.proxy.get());
    pw_node_add_listener(node, object.listener.get(), &nodeEvents, &object);
    pw_node_enum_params(node, 0, SPA_PARAM_Props, 0, std::numeric_limits<std::uint32_t>::max(), nullptr);
}

/// First all objects have been named, then what they are has been told.
void Look::onDone(int sequence)
{
    if (sequence != question_)
        return;
    if (!std::exchange(isListed_, true))
        return ask();
    if (!changed_)
        return end(0);
    isTold_ = true;
    changed_(streams());
}

void Look::end(int error)
{
    error_ = error;
    pw_main_loop_quit(loop_.get());
}

std::vector<engine::SoundStream> Look::streams() const
{
    std::vector<engine::SoundStream> streams;
    for (const auto& [id, node] : nodes_) {
        const auto text = [&node = *node](std::string_view key) {
            const auto found = node.properties.find(key);
            return found == node.properties.end() ? std::string{} : found->second;
        };
        const auto clientID = text(PW_KEY_CLIENT_ID);
        std::uint32_t number = SPA_ID_INVALID;
        std::from_chars(clientID.data(), clientID.data() + clientID.size(), number);
        const auto client = clients_.find(number);
        if (client != clients_.end())
            streams.push_back({
                .identity = streamIdentity(node->properties, client->second->properties),
                .mediaName = text(PW_KEY_MEDIA_NAME),
                .isPlaying = node->isPlaying,
                .isMuted = node->isMuted,
            });
    }
    return streams;
}

/// A look with a thread of its own.
class Watch final : public engine::SoundStreamWatch {
public:
    explicit Watch(std::unique_ptr<Look> look) : look_(std::move(look)), thread_([this] { look_->run(); }) { }
    ~Watch() override
    {
        look_->stop();
        thread_.join();
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

private:
    const std::unique_ptr<Look> look_;
    std::thread thread_;
};

}  // namespace

Result<std::unique_ptr<engine::SoundStreamWatch>> watchPipeWireSoundStreams(engine::SoundStreamWatch::Changed changed)
{
    auto look = std::make_unique<Look>(std::move(changed));
    if (auto prepared = look->prepare(); !prepared)
        return fail(std::move(prepared.error()));
    return std::make_unique<Watch>(std::move(look));
}

Result<std::vector<engine::SoundStream>> listPipeWireSoundStreams()
{
    return Look{}.take();
}

}  // namespace velmora::linux_backend
