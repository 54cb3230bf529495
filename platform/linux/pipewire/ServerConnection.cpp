#include "platform/linux/pipewire/ServerConnection.h"

#include "platform/linux/pipewire/Dictionary.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <spa/param/latency-utils.h>
#include <string>
#include <string_view>

namespace velmora::linux_backend {

namespace {

std::string_view value(const spa_dict* dictionary, const char* key)
{
    const char* text = dictionary ? spa_dict_lookup(dictionary, key) : nullptr;
    return text ? std::string_view{text} : std::string_view{};
}

SoundGraph::ID idValue(const spa_dict* dictionary, const char* key)
{
    const auto text = value(dictionary, key);
    SoundGraph::ID id = SPA_ID_INVALID;
    std::from_chars(text.data(), text.data() + text.size(), id);
    return id;
}

/// The delay at the usual quantum, to compare devices by.
double typicalLatency(const spa_latency_info& latency)
{
    constexpr double quantum = 1024.0 / 48000;
    return static_cast<double>(latency.max_quantum) * quantum + latency.max_rate / 48000.0 + static_cast<double>(latency.max_ns) * 1e-9;
}

}  // namespace

/// A client or a stream whose properties are followed.
struct ServerConnection::Watched {
    ServerConnection& connection;
    SoundGraph::ID id;
    ProxyHandle proxy;
    ListenerHook listener;

    static const pw_client_events clientEvents;
    static const pw_node_events nodeEvents;
};

const pw_client_events ServerConnection::Watched::clientEvents = [] {
    pw_client_events table{};
    table.version = PW_VERSION_CLIENT_EVENTS;
    table.info = [](void* data, const pw_client_info* info) {
        auto& self = *static_cast<Watched*>(data);
        self.connection.graph_.updateClient(self.id, toProperties(info->props));
        self.connection.update();
    };
    return table;
}();

const pw_node_events ServerConnection::Watched::nodeEvents = [] {
    pw_node_events table{};
    table.version = PW_VERSION_NODE_EVENTS;
    table.info = [](void* data, const pw_node_info* info) {
        auto& self = *static_cast<Watched*>(data);
        self.connection.graph_.updateStream(self.id, toProperties(info->props));
        self.connection.update();
    };
    return table;
}();

/// The input port of a device that plays a selected stream, followed for its delay.
struct ServerConnection::Device {
    ServerConnection& connection;
    ProxyHandle proxy;
    int question = 0;  ///< when the server has answered it, the delay is known if there is one
    bool known = false;
    std::optional<spa_latency_info> latency;
    ListenerHook listener;

    static const pw_port_events events;
};

const pw_port_events ServerConnection::Device::events = [] {
    pw_port_events table{};
    table.version = PW_VERSION_PORT_EVENTS;
    table.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* parameter) {
        auto& self = *static_cast<Device*>(data);
        spa_latency_info told{};
        // A port has one for each direction; that of inputs is towards the loudspeaker.
        if (id != SPA_PARAM_Latency || !parameter || spa_latency_parse(parameter, &told) < 0 || told.direction != SPA_DIRECTION_INPUT)
            return;
        self.latency = told;
        self.connection.update();
    };
    return table;
}();

const pw_core_events ServerConnection::coreEvents = [] {
    pw_core_events table{};
    table.version = PW_VERSION_CORE_EVENTS;
    table.done = [](void* self, std::uint32_t id, int sequence) {
        if (id == PW_ID_CORE)
            static_cast<ServerConnection*>(self)->onDone(sequence);
    };
    table.error = [](void* self, std::uint32_t id, int, int result, const char*) {
        static_cast<ServerConnection*>(self)->onError(id, result);
    };
    return table;
}();

const pw_registry_events ServerConnection::registryEvents = [] {
    pw_registry_events table{};
    table.version = PW_VERSION_REGISTRY_EVENTS;
    table.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict* properties) {
        static_cast<ServerConnection*>(self)->onGlobal(id, type, properties);
    };
    table.global_remove = [](void* self, std::uint32_t id) { static_cast<ServerConnection*>(self)->onGlobalRemoved(id); };
    return table;
}();

ServerConnection::ServerConnection(CoreHandle core, const engine::StreamMatcher& matcher, std::function<void()> changed)
    : changed_(std::move(changed))
    , graph_(matcher)
    , core_(std::move(core))
{
}

Result<std::unique_ptr<ServerConnection>> ServerConnection::create(pw_context* context, pw_loop* loop, spa_source* arrived,
    std::int32_t sampleRate, const engine::StreamMatcher& matcher, std::function<void()> changed)
{
    CoreHandle core{pw_context_connect(context, pw_properties_new(PW_KEY_APP_NAME, "Velmora", nullptr), 0)};
    if (!core)
        return fail(posixError(errno, "No PipeWire server answers"));
    std::unique_ptr<ServerConnection> connection{new ServerConnection(std::move(core), matcher, std::move(changed))};
    auto* server = connection->core_.get();
    pw_core_add_listener(server, connection->coreListener_.get(), &coreEvents, connection.get());

    auto node = CaptureNode::create(server, loop, arrived, sampleRate);
    if (!node)
        return fail(std::move(node.error()));
    connection->captureNode_ = std::move(*node);

    auto* registry = pw_core_get_registry(server, PW_VERSION_REGISTRY, 0);
    if (!registry)
        return fail(posixError(errno, "PipeWire gave no registry"));
    connection->registry_.reset(reinterpret_cast<pw_proxy*>(registry));
    pw_registry_add_listener(registry, connection->registryListener_.get(), &registryEvents, connection.get());
    connection->firstQuestion_ = pw_core_sync(server, PW_ID_CORE, 0);
    return connection;
}

ServerConnection::~ServerConnection() = default;

void ServerConnection::onDone(int sequence)
{
    if (!answered_ && sequence == firstQuestion_) {
        answered_ = true;
        changed_();
    }
    bool anyKnown = false;
    for (auto& [port, device] : devices_) {
        if (!device->known && device->question == sequence)
            anyKnown = device->known = true;
    }
    if (anyKnown)
        update();
}

void ServerConnection::onError(std::uint32_t id, int result)
{
    // Errors of single objects come when a stream ends while it is being linked: its removal follows.
    if (id != PW_ID_CORE || result != -EPIPE)
        return;
    broken_ = true;
    changed_();
}

void ServerConnection::onGlobal(std::uint32_t id, const char* type, const spa_dict* properties)
{
    const std::string_view kind{type ? type : ""};
    auto* registry = reinterpret_cast<pw_registry*>(registry_.get());
    if (kind == PW_TYPE_INTERFACE_Client) {
        auto watched = std::unique_ptr<Watched>{new Watched{*this, id, nullptr, {}}};
        auto* client = static_cast<pw_client*>(pw_registry_bind(registry, id, type, PW_VERSION_CLIENT, 0));
        if (!client)
            return;
        watched->proxy.reset(reinterpret_cast<pw_proxy*>(client));
        pw_client_add_listener(client, watched->listener.get(), &Watched::clientEvents, watched.get());
        watched_.insert_or_assign(id, std::move(watched));
    } else if (kind == PW_TYPE_INTERFACE_Node && value(properties, PW_KEY_MEDIA_CLASS) == "Stream/Output/Audio") {
        auto watched = std::unique_ptr<Watched>{new Watched{*this, id, nullptr, {}}};
        auto* node = static_cast<pw_node*>(pw_registry_bind(registry, id, type, PW_VERSION_NODE, 0));
        if (!node)
            return;
        watched->proxy.reset(reinterpret_cast<pw_proxy*>(node));
        pw_node_add_listener(node, watched->listener.get(), &Watched::nodeEvents, watched.get());
        watched_.insert_or_assign(id, std::move(watched));
    } else if (kind == PW_TYPE_INTERFACE_Port) {
        SoundGraph::Port port;
        port.node = idValue(properties, PW_KEY_NODE_ID);
        port.isOutput = value(properties, PW_KEY_PORT_DIRECTION) == "out";
        port.isMonitor = value(properties, PW_KEY_PORT_MONITOR) == "true";
        port.channel = value(properties, PW_KEY_AUDIO_CHANNEL);
        graph_.addPort(id, std::move(port));
        update();
    } else if (kind == PW_TYPE_INTERFACE_Link) {
        graph_.addLink(id,
            {idValue(properties, PW_KEY_LINK_OUTPUT_NODE), idValue(properties, PW_KEY_LINK_OUTPUT_PORT),
                idValue(properties, PW_KEY_LINK_INPUT_NODE), idValue(properties, PW_KEY_LINK_INPUT_PORT)});
        update();
    }
}

void ServerConnection::onGlobalRemoved(std::uint32_t id)
{
    graph_.remove(id);
    watched_.erase(id);
    devices_.erase(id);
    linkable_.erase(id);
    update();
}

void ServerConnection::update()
{
    if (broken_)
        return;
    graph_.setCaptureNode(captureNode_->nodeID());
    updateDevices();
    updateLinks();
    captureNode_->setActive(!links_.empty());
}

/// Follows the delay of every device that plays a selected stream, and reports the longest as ours.
void ServerConnection::updateDevices()
{
    const auto playing = graph_.playingPorts();
    std::set<SoundGraph::ID> ports;
    for (const auto& [stream, port] : playing)
        ports.insert(port);
    std::erase_if(devices_, [&](const auto& entry) { return !ports.contains(entry.first); });
    for (const auto port : ports) {
        if (devices_.contains(port))
            continue;
        auto device = std::unique_ptr<Device>{new Device{*this, nullptr, 0, false, std::nullopt, {}}};
        auto* proxy = static_cast<pw_port*>(
            pw_registry_bind(reinterpret_cast<pw_registry*>(registry_.get()), port, PW_TYPE_INTERFACE_Port, PW_VERSION_PORT, 0));
        if (!proxy)
            continue;
        device->proxy.reset(reinterpret_cast<pw_proxy*>(proxy));
        pw_port_add_listener(proxy, device->listener.get(), &Device::events, device.get());
        std::array<std::uint32_t, 1> wanted{SPA_PARAM_Latency};
        pw_port_subscribe_params(proxy, wanted.data(), wanted.size());
        device->question = pw_core_sync(core_.get(), PW_ID_CORE, 0);
        devices_.emplace(port, std::move(device));
    }

    std::optional<spa_latency_info> longest;
    for (const auto& [port, device] : devices_) {
        if (device->latency && (!longest || typicalLatency(*device->latency) > typicalLatency(*longest)))
            longest = device->latency;
    }
    // Without a device the last delay stays: a stream that pauses or moves usually comes back to the same one.
    if (longest && (!deviceLatency_ || spa_latency_info_compare(&*longest, &*deviceLatency_) != 0)) {
        deviceLatency_ = longest;
        captureNode_->setDeviceLatency(*longest);
    }
    // A stream is linked after its own device: linked before it, it would begin to play into our node alone. Later it stays linked
    // while it is moved from one device to another.
    for (const auto& [stream, port] : playing) {
        const auto device = devices_.find(port);
        if (device != devices_.end() && (device->second->known || device->second->latency))
            linkable_.insert(stream);
    }
}

void ServerConnection::updateLinks()
{
    const auto wanted = graph_.wantedLinks(linkable_);
    std::erase_if(links_, [&](const auto& entry) { return !wanted.contains(entry.first); });
    for (const auto& ports : wanted) {
        if (links_.contains(ports))
            continue;
        const auto output = std::to_string(ports.first);
        const auto input = std::to_string(ports.second);
        const std::array<spa_dict_item, 3> items{
            {{PW_KEY_LINK_OUTPUT_PORT, output.c_str()}, {PW_KEY_LINK_INPUT_PORT, input.c_str()}, {PW_KEY_OBJECT_LINGER, "false"}}};
        const spa_dict properties{0, items.size(), items.data()};
        auto* proxy = static_cast<pw_proxy*>(
            pw_core_create_object(core_.get(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties, 0));
        if (proxy)
            links_.emplace(ports, proxy);
    }
}

}  // namespace velmora::linux_backend
