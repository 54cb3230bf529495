#include "platform/linux/pipewire/SoundGraph.h"
#include "tests/platform/linux/sound/InventedProcesses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr SoundGraph::ID captureNode = 50;
constexpr SoundGraph::ID captureLeft = 51;
constexpr SoundGraph::ID captureRight = 52;
constexpr SoundGraph::ID sink = 30;

/// The target is process 100, whose child is 110; 200 is another program, 300 the PulseAudio service.
class SoundGraphTest : public ::testing::Test {
protected:
    static SoundGraph makeGraph()
    {
        engine::AudioTarget target;
        target.processID = 100;
        target.applicationName = "Player";
        target.portalApplicationID = "org.example.Player";
        return SoundGraph{engine::StreamMatcher{target, inventedProcesses()}};
    }

    void addStereoStream(SoundGraph::ID client, SoundGraph::ID node, const char* process)
    {
        graph_.updateClient(client, {{"pipewire.sec.pid", process}});
        graph_.updateStream(node, {{"client.id", std::to_string(client)}});
        graph_.addPort(node + 1, {node, true, false, "FL"});
        graph_.addPort(node + 2, {node, true, false, "FR"});
    }

    void addCapturePorts()
    {
        graph_.setCaptureNode(captureNode);
        graph_.addPort(captureLeft, {captureNode, false, false, "FL"});
        graph_.addPort(captureRight, {captureNode, false, false, "FR"});
    }

    [[nodiscard]] std::set<std::pair<SoundGraph::ID, SoundGraph::ID>> links() const { return graph_.wantedLinks(graph_.selectedStreams()); }

    SoundGraph graph_ = makeGraph();
};

TEST_F(SoundGraphTest, ANativeStreamIsKnownByTheCredentialsOfItsClient)
{
    addStereoStream(10, 20, "110");
    addStereoStream(11, 40, "200");
    EXPECT_THAT(graph_.selectedStreams(), ElementsAre(20U));
}

TEST_F(SoundGraphTest, AStreamOfThePulseAudioServiceIsKnownByItsOwnProcessId)
{
    graph_.updateClient(10, {{"pipewire.sec.pid", "300"}, {"client.api", "pipewire-pulse"}});
    graph_.updateStream(20, {{"client.id", "10"}, {"client.api", "pipewire-pulse"}, {"application.process.id", "110"}});
    graph_.updateStream(21, {{"client.id", "10"}, {"client.api", "pipewire-pulse"}, {"application.process.id", "200"}});
    EXPECT_THAT(graph_.selectedStreams(), ElementsAre(20U));
}

TEST_F(SoundGraphTest, NothingIsDecidedBeforeTheClientIsKnown)
{
    graph_.updateStream(20, {{"client.id", "10"}, {"application.name", "Player"}});
    EXPECT_THAT(graph_.selectedStreams(), IsEmpty());
    graph_.updateClient(10, {{"pipewire.sec.pid", "200"}});
    EXPECT_THAT(graph_.selectedStreams(), IsEmpty());
    graph_.updateStream(22, {{"client.id", "12"}});
    graph_.updateClient(12, {{"pipewire.sec.pid", "100"}});
    EXPECT_THAT(graph_.selectedStreams(), ElementsAre(22U));
}

TEST_F(SoundGraphTest, PartialUpdatesAreMerged)
{
    graph_.updateClient(10, {{"pipewire.sec.pid", "300"}});
    graph_.updateStream(20, {{"client.id", "10"}, {"client.api", "pipewire-pulse"}});
    EXPECT_THAT(graph_.selectedStreams(), IsEmpty());
    graph_.updateStream(20, {{"application.process.id", "110"}});
    EXPECT_THAT(graph_.selectedStreams(), ElementsAre(20U));
}

TEST_F(SoundGraphTest, ASelectionIsKeptUntilTheStreamIsRemoved)
{
    addStereoStream(10, 20, "110");
    graph_.updateStream(20, {{"media.name", "another song"}});
    graph_.updateClient(10, {{"pipewire.sec.pid", "200"}});
    EXPECT_THAT(graph_.selectedStreams(), ElementsAre(20U));
    graph_.remove(20);
    EXPECT_THAT(graph_.selectedStreams(), IsEmpty());
}

TEST_F(SoundGraphTest, APortalApplicationIsRecognisedWhenItsIdArrivesLater)
{
    graph_.updateClient(10, {{"pipewire.sec.pid", "300"}, {"client.api", "pipewire-pulse"}});
    graph_.updateStream(20, {{"client.id", "10"}, {"application.process.id", "2"}});
    EXPECT_THAT(graph_.selectedStreams(), IsEmpty());
    graph_.updateClient(10, {{"pipewire.access.portal.app_id", "org.example.Player"}});
    EXPECT_THAT(graph_.selectedStreams(), ElementsAre(20U));
}

TEST_F(SoundGraphTest, LinksBothChannelsOnceBothPortsOfTheCaptureExist)
{
    addStereoStream(10, 20, "100");
    graph_.setCaptureNode(captureNode);
    graph_.addPort(captureLeft, {captureNode, false, false, "FL"});
    EXPECT_THAT(links(), IsEmpty());
    graph_.addPort(captureRight, {captureNode, false, false, "FR"});
    EXPECT_THAT(links(), ElementsAre(Pair(21U, captureLeft), Pair(22U, captureRight)));
}

TEST_F(SoundGraphTest, NeverLinksMonitorPortsOrStreamsOfOthers)
{
    addCapturePorts();
    addStereoStream(10, 20, "100");
    addStereoStream(11, 40, "200");
    graph_.addPort(23, {20, true, true, "FL"});
    graph_.addPort(31, {sink, true, true, "FL"});
    EXPECT_THAT(links(), ElementsAre(Pair(21U, captureLeft), Pair(22U, captureRight)));
}

TEST_F(SoundGraphTest, AMonoStreamGoesToBothChannels)
{
    addCapturePorts();
    graph_.updateClient(10, {{"pipewire.sec.pid", "100"}});
    graph_.updateStream(20, {{"client.id", "10"}});
    graph_.addPort(21, {20, true, false, "MONO"});
    EXPECT_THAT(links(), ElementsAre(Pair(21U, captureLeft), Pair(21U, captureRight)));
}

TEST_F(SoundGraphTest, ASurroundStreamIsFoldedIntoTwoChannelsWithoutItsBass)
{
    addCapturePorts();
    addStereoStream(10, 20, "100");
    graph_.addPort(23, {20, true, false, "FC"});
    graph_.addPort(24, {20, true, false, "LFE"});
    graph_.addPort(25, {20, true, false, "RL"});
    graph_.addPort(26, {20, true, false, "RR"});
    EXPECT_THAT(links(),
        ElementsAre(Pair(21U, captureLeft), Pair(22U, captureRight), Pair(23U, captureLeft), Pair(23U, captureRight),
            Pair(25U, captureLeft), Pair(26U, captureRight)));
}

TEST_F(SoundGraphTest, ChannelsWithoutAPlaceAreTakenInTheirOrder)
{
    addCapturePorts();
    graph_.updateClient(10, {{"pipewire.sec.pid", "100"}});
    graph_.updateStream(20, {{"client.id", "10"}});
    graph_.addPort(21, {20, true, false, "AUX0"});
    EXPECT_THAT(links(), ElementsAre(Pair(21U, captureLeft), Pair(21U, captureRight)));
    graph_.addPort(22, {20, true, false, "AUX1"});
    graph_.addPort(23, {20, true, false, "AUX2"});
    EXPECT_THAT(links(), ElementsAre(Pair(21U, captureLeft), Pair(22U, captureRight)));
}

TEST_F(SoundGraphTest, TheDeviceThatPlaysAStreamIsFoundByItsLinkAndOurOwnLinkIsNone)
{
    addCapturePorts();
    addStereoStream(10, 20, "100");
    graph_.addLink(60, {20, 21, captureNode, captureLeft});
    EXPECT_THAT(graph_.playingPorts(), IsEmpty());
    graph_.addLink(61, {20, 21, sink, 31});
    EXPECT_THAT(graph_.playingPorts(), ElementsAre(Pair(20U, 31U)));
    graph_.remove(61);
    EXPECT_THAT(graph_.playingPorts(), IsEmpty());
}

}  // namespace
}  // namespace velmora::linux_backend
