// One connection to a PipeWire server: its objects watched, the wanted streams linked into our node.
#pragma once

#include "base/Result.h"
#include "platform/linux/pipewire/CaptureNode.h"
#include "platform/linux/pipewire/PipeWireHandles.h"
#include "platform/linux/pipewire/SoundGraph.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

namespace velmora::linux_backend {

/// Lives on the loop's thread. A connection that broke stays quiet and is thrown away by its owner.
class ServerConnection {
public:
    /// Fails at once when no server listens. `changed` is called when the answer to one of the two questions below changes.
    static Result<std::unique_ptr<ServerConnection>> create(pw_context* context, pw_loop* loop, spa_source* arrived,
        std::int32_t sampleRate, const engine::StreamMatcher& matcher, std::function<void()> changed);
    ~ServerConnection();
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;

    /// The server has answered the first question.
    [[nodiscard]] bool hasAnswered() const { return answered_; }
    [[nodiscard]] bool isBroken() const { return broken_; }

    [[nodiscard]] CaptureNode& captureNode() { return *captureNode_; }

private:
    struct Watched;
    struct Device;

    ServerConnection(CoreHandle core, const engine::StreamMatcher& matcher, std::function<void()> changed);

    void onDone(int sequence);
    void onError(std::uint32_t id, int result);
    void onGlobal(std::uint32_t id, const char* type, const spa_dict* properties);
    void onGlobalRemoved(std::uint32_t id);
    void update();
    void updateDevices();
    void updateLinks();

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;

    std::function<void()> changed_;
    bool answered_ = false;
    bool broken_ = false;
    int firstQuestion_ = 0;
    SoundGraph graph_;
    std::set<SoundGraph::ID> linkable_;  ///< selected streams that play on a device whose delay is known
    std::optional<spa_latency_info> deviceLatency_;

    // In this order: what is declared last is destroyed first.
    CoreHandle core_;
    ListenerHook coreListener_;
    std::unique_ptr<CaptureNode> captureNode_;
    ProxyHandle registry_;
    ListenerHook registryListener_;
    std::map<SoundGraph::ID, std::unique_ptr<Watched>> watched_;  ///< clients and streams
    std::map<SoundGraph::ID, std::unique_ptr<Device>> devices_;  ///< by input port
    /// By output and input port. The server removes a link with either port, and all of them with our connection.
    std::map<std::pair<SoundGraph::ID, SoundGraph::ID>, ProxyHandle> links_;
};

}  // namespace velmora::linux_backend
