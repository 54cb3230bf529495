#include "platform/linux/pipewire/SoundGraph.h"

#include <charconv>

namespace velmora::linux_backend {

namespace {

std::string_view value(const SoundGraph::Properties& properties, std::string_view key)
{
    const auto found = properties.find(key);
    return found == properties.end() ? std::string_view{} : std::string_view{found->second};
}

template <typename Number>
std::optional<Number> number(std::string_view text)
{
    Number parsed{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (result.ec != std::errc{} || result.ptr != text.data() + text.size())
        return std::nullopt;
    return parsed;
}

void merge(SoundGraph::Properties& into, const SoundGraph::Properties& update)
{
    for (const auto& [key, text] : update)
        into.insert_or_assign(key, text);
}

}  // namespace

std::pair<bool, bool> stereoDestination(std::string_view channel)
{
    if (channel == "MONO" || channel == "FC" || channel == "RC")
        return {true, true};
    if (channel == "FL" || channel == "SL" || channel == "RL" || channel == "FLC")
        return {true, false};
    if (channel == "FR" || channel == "SR" || channel == "RR" || channel == "FRC")
        return {false, true};
    return {false, false};
}

SoundGraph::SoundGraph(engine::StreamMatcher matcher) : matcher_(std::move(matcher)) { }

void SoundGraph::updateClient(ID client, const Properties& properties)
{
    merge(clients_[client], properties);
    const auto text = std::to_string(client);
    for (const auto& [node, stream] : streams_) {
        if (value(stream, "client.id") == text)
            decide(node);
    }
}

void SoundGraph::updateStream(ID node, const Properties& properties)
{
    merge(streams_[node], properties);
    decide(node);
}

void SoundGraph::addPort(ID port, Port description)
{
    ports_.insert_or_assign(port, std::move(description));
}

void SoundGraph::addLink(ID link, Link description)
{
    links_.insert_or_assign(link, description);
}

void SoundGraph::remove(ID object)
{
    clients_.erase(object);
    streams_.erase(object);
    selected_.erase(object);
    ports_.erase(object);
    links_.erase(object);
}

void SoundGraph::decide(ID node)
{
    if (selected_.contains(node))
        return;
    const auto identity = identityOf(streams_.at(node));
    if (identity && matcher_.match(*identity) != engine::StreamMatch::none)
        selected_.insert(node);
}

/// None while the client of the stream is not known: a decision on half of the facts could pick another program.
std::optional<engine::StreamIdentity> SoundGraph::identityOf(const Properties& stream) const
{
    const auto clientID = number<ID>(value(stream, "client.id"));
    if (!clientID)
        return std::nullopt;
    const auto found = clients_.find(*clientID);
    if (found == clients_.end())
        return std::nullopt;
    return streamIdentity(stream, found->second);
}

engine::StreamIdentity streamIdentity(const SoundGraph::Properties& stream, const SoundGraph::Properties& client)
{
    const auto either = [&](std::string_view key) {
        const auto own = value(stream, key);
        return std::string{own.empty() ? value(client, key) : own};
    };
    engine::StreamIdentity identity;
    identity.applicationName = either("application.name");
    identity.binary = either("application.process.binary");
    identity.portalApplicationID = either("pipewire.access.portal.app_id");

    // A client of the PulseAudio service is connected by that service, whose credentials say nothing of the program behind it.
    if (either("client.api") == "pipewire-pulse") {
        identity.processID = number<std::int32_t>(either("application.process.id")).value_or(0);
    } else if (const auto process = number<std::int32_t>(value(client, "pipewire.sec.pid"))) {
        identity.processID = *process;
        identity.processIDIsCertain = true;
    } else {
        identity.processID = number<std::int32_t>(either("application.process.id")).value_or(0);
    }
    return identity;
}

std::set<std::pair<SoundGraph::ID, SoundGraph::ID>> SoundGraph::wantedLinks(const std::set<ID>& streams) const
{
    std::optional<ID> left;
    std::optional<ID> right;
    std::map<ID, std::vector<std::pair<ID, std::string_view>>> outputs;
    for (const auto& [id, port] : ports_) {
        if (captureNode_ && port.node == *captureNode_ && !port.isOutput) {
            if (port.channel == "FL")
                left = id;
            else if (port.channel == "FR")
                right = id;
        } else if (port.isOutput && !port.isMonitor && streams.contains(port.node)) {
            outputs[port.node].emplace_back(id, port.channel);
        }
    }
    std::set<std::pair<ID, ID>> wanted;
    if (!left || !right)
        return wanted;
    for (const auto& [node, ports] : outputs) {
        const auto before = wanted.size();
        for (const auto& [port, channel] : ports) {
            const auto [toLeft, toRight] = stereoDestination(channel);
            if (toLeft)
                wanted.emplace(port, *left);
            if (toRight)
                wanted.emplace(port, *right);
        }
        if (wanted.size() != before)
            continue;
        // Channels without a place in the room: the first two are taken for left and right, a single one for both.
        wanted.emplace(ports.front().first, *left);
        wanted.emplace(ports.size() > 1 ? ports[1].first : ports.front().first, *right);
    }
    return wanted;
}

std::map<SoundGraph::ID, SoundGraph::ID> SoundGraph::playingPorts() const
{
    std::map<ID, ID> playing;
    for (const auto& [id, link] : links_) {
        if (selected_.contains(link.outputNode) && !(captureNode_ && link.inputNode == *captureNode_))
            playing.emplace(link.outputNode, link.inputPort);
    }
    return playing;
}

}  // namespace velmora::linux_backend
