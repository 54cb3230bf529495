// What a PipeWire server says of its clients, streams, ports and links, and what follows from it for one application's sound.
#pragma once

#include "engine/sound/StreamMatcher.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

/// A plain model: fed with what the registry says, asked what to do. Object ids are the server's.
class SoundGraph {
public:
    using ID = std::uint32_t;
    using Properties = std::map<std::string, std::string, std::less<>>;

    struct Port {
        ID node = 0;
        bool isOutput = false;
        bool isMonitor = false;
        std::string channel;  ///< "FL", "MONO", …
    };

    struct Link {
        ID outputNode = 0;
        ID outputPort = 0;
        ID inputNode = 0;
        ID inputPort = 0;
    };

    explicit SoundGraph(engine::StreamMatcher matcher);

    /// An update of a client or of a stream that plays. Updates may be partial: keys that they leave out keep their values.
    void updateClient(ID client, const Properties& properties);
    void updateStream(ID node, const Properties& properties);
    void addPort(ID port, Port description);
    void addLink(ID link, Link description);
    /// Any object.
    void remove(ID object);

    /// The node of the capture itself; none before it has one.
    void setCaptureNode(std::optional<ID> node) { captureNode_ = node; }

    /// Streams whose sound is wanted. A stream once chosen stays so until it is removed, whatever its properties become.
    [[nodiscard]] const std::set<ID>& selectedStreams() const { return selected_; }

    /// The links that the capture needs for `streams`, as pairs of output and input port. None before both of the capture's ports
    /// exist: a link made earlier would put both channels into the one that exists.
    [[nodiscard]] std::set<std::pair<ID, ID>> wantedLinks(const std::set<ID>& streams) const;

    /// For each selected stream the input port of the device that plays it, as far as it is linked to one.
    [[nodiscard]] std::map<ID, ID> playingPorts() const;

private:
    void decide(ID node);
    [[nodiscard]] std::optional<engine::StreamIdentity> identityOf(const Properties& stream) const;

    engine::StreamMatcher matcher_;
    std::optional<ID> captureNode_;
    std::map<ID, Properties> clients_;
    std::map<ID, Properties> streams_;
    std::map<ID, Port> ports_;
    std::map<ID, Link> links_;
    std::set<ID> selected_;
};

/// What a stream and its client say of the program behind them.
[[nodiscard]] engine::StreamIdentity streamIdentity(const SoundGraph::Properties& stream, const SoundGraph::Properties& client);

/// Which of the capture's two channels a channel of a stream goes to: left, right.
[[nodiscard]] std::pair<bool, bool> stereoDestination(std::string_view channel);

}  // namespace velmora::linux_backend
