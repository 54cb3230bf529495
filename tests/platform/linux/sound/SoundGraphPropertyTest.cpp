// What a server says may be late, doubled, lost or about what has gone: the graph never wants a link that cannot exist, and knows better
// as soon as it is told.

#include "platform/linux/pipewire/SoundGraph.h"
#include "tests/platform/linux/sound/InventedProcesses.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace velmora::linux_backend {
namespace {

using ID = SoundGraph::ID;

constexpr ID recorderNode = 90;
constexpr ID recorderLeft = 91;
constexpr ID recorderRight = 92;

struct Application {
    ID client;
    ID stream;
    const char* process;
    bool isTarget;
};

// The target is process 100, whose child is 110.
constexpr Application applications[] = {{10, 20, "100", true}, {11, 30, "110", true}, {12, 40, "200", false}, {13, 50, "300", false}};

using Event = std::function<void(SoundGraph&)>;

std::vector<Event> everythingThatIs()
{
    std::vector<Event> events;
    for (const auto& one : applications) {
        events.emplace_back([one](SoundGraph& graph) { graph.updateClient(one.client, {{"pipewire.sec.pid", one.process}}); });
        events.emplace_back([one](SoundGraph& graph) { graph.updateStream(one.stream, {{"client.id", std::to_string(one.client)}}); });
        events.emplace_back([one](SoundGraph& graph) { graph.addPort(one.stream + 1, {one.stream, true, false, "FL"}); });
        events.emplace_back([one](SoundGraph& graph) { graph.addPort(one.stream + 2, {one.stream, true, false, "FR"}); });
    }
    events.emplace_back([](SoundGraph& graph) { graph.setCaptureNode(recorderNode); });
    events.emplace_back([](SoundGraph& graph) { graph.addPort(recorderLeft, {recorderNode, false, false, "FL"}); });
    events.emplace_back([](SoundGraph& graph) { graph.addPort(recorderRight, {recorderNode, false, false, "FR"}); });
    return events;
}

std::set<std::pair<ID, ID>> linksOfTheTarget()
{
    std::set<std::pair<ID, ID>> links;
    for (const auto& one : applications) {
        if (one.isTarget)
            links.insert({{one.stream + 1, recorderLeft}, {one.stream + 2, recorderRight}});
    }
    return links;
}

void expectNothingImpossible(const SoundGraph& graph)
{
    for (const auto& one : applications)
        EXPECT_TRUE(one.isTarget || !graph.selectedStreams().contains(one.stream)) << "the sound of another application";
    const auto possible = linksOfTheTarget();
    for (const auto& link : graph.wantedLinks(graph.selectedStreams()))
        EXPECT_TRUE(possible.contains(link)) << link.first << " to " << link.second;
    for (const auto& [stream, port] : graph.playingPorts())
        EXPECT_TRUE(graph.selectedStreams().contains(stream)) << port;
}

TEST(SoundGraphProperty, WhateverIsLostDoubledOrComesInAnotherOrderNoOtherSoundIsWantedAndTheTruthWinsInTheEnd)
{
    const auto truth = everythingThatIs();
    std::set<ID> wanted;
    for (const auto& one : applications) {
        if (one.isTarget)
            wanted.insert(one.stream);
    }
    for (unsigned seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random{seed};
        std::vector<Event> events;
        for (const auto& event : truth) {
            for (auto times = random() % 4; times > 0; --times)
                events.push_back(event);
        }
        for (int i = 0; i < 8; ++i) {
            const auto object = static_cast<ID>(10 + random() % 85);
            events.emplace_back([object](SoundGraph& graph) { graph.remove(object); });
            const auto output = static_cast<ID>(20 + random() % 40);
            const auto link = static_cast<ID>(200 + random() % 4);
            events.emplace_back([output, link](SoundGraph& graph) { graph.addLink(link, {output / 10 * 10, output, 70, 71}); });
        }
        std::shuffle(events.begin(), events.end(), random);

        engine::AudioTarget target;
        target.processID = 100;
        target.applicationName = "Player";
        SoundGraph graph{engine::StreamMatcher{target, inventedProcesses()}};
        for (const auto& event : events) {
            event(graph);
            expectNothingImpossible(graph);
        }
        for (const auto& event : truth)
            event(graph);
        EXPECT_EQ(graph.selectedStreams(), wanted);
        EXPECT_EQ(graph.wantedLinks(graph.selectedStreams()), linksOfTheTarget());
        for (const auto& one : applications)
            graph.remove(one.stream);
        EXPECT_TRUE(graph.selectedStreams().empty());
        EXPECT_TRUE(graph.wantedLinks(graph.selectedStreams()).empty());
    }
}

}  // namespace
}  // namespace velmora::linux_backend
