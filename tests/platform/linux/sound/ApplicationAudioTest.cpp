// Sound servers that come, go and are replaced while the sound of an application is wanted.
#include "platform/linux/sound/ApplicationAudio.h"

#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/Recorder.h"
#include "tests/support/sound/SoundServer.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;
using test::Recorder;

class ApplicationAudioTest : public ::testing::Test {
protected:
    ApplicationAudioTest() { test::writeTone(tone_, 440, 60); }

    /// Of everything that this process starts.
    void capture()
    {
        engine::AudioTarget target;
        target.processID = ::getpid();
        const auto started = source_->start(target, {}, [this](const SampleBufferRef& sample) { recorder_.add(sample); });
        ASSERT_TRUE(started) << started.error().localizedDescription;
    }

    /// A player that begins now and then ends.
    void expectThePlayerIsHeard()
    {
        {
            // A server that has only just come up may end the player's connection: then somebody presses play again.
            std::optional<ChildProcess> player;
            const auto keepPlaying = [&] {
                if (!player || player->endsWithin(std::chrono::seconds{0}))
                    player.emplace(std::vector<std::string>{"paplay", tone_.string()});
            };
            ASSERT_TRUE(recorder_.waitForTone(440, true, keepPlaying));
            EXPECT_LT(recorder_.cleanestSecond(440, 1000), -60);
        }
        ASSERT_TRUE(recorder_.waitForTone(440, false));
    }

    test::PrivateSession session_;
    std::filesystem::path tone_ = session_.directory() / "440.wav";
    Recorder recorder_;
    std::unique_ptr<engine::AudioSource> source_ = makeApplicationAudioSource();
};

TEST_F(ApplicationAudioTest, APulseAudioServerThatStartsAfterTheCaptureIsHeard)
{
    capture();
    test::PulseServer server{session_};
    expectThePlayerIsHeard();
    server.restart();
    expectThePlayerIsHeard();
}

TEST_F(ApplicationAudioTest, APipeWireServerThatStartsAfterTheCaptureIsHeard)
{
    capture();
    test::PipeWireServer server{session_};
    expectThePlayerIsHeard();
    server.restart();
    expectThePlayerIsHeard();
}

TEST_F(ApplicationAudioTest, APulseAudioServerThatTakesOverFromPipeWireIsHeardAndPipeWireAfterIt)
{
    std::optional<test::PipeWireServer> pipeWire{std::in_place, session_};
    capture();
    expectThePlayerIsHeard();
    pipeWire.reset();
    {
        test::PulseServer pulse{session_};
        expectThePlayerIsHeard();
        pulse.kill();
    }
    pipeWire.emplace(session_);
    expectThePlayerIsHeard();
}

TEST_F(ApplicationAudioTest, WithoutAServerNothingIsDeliveredAndTheStopIsWaitedForByNobody)
{
    capture();
    source_->stop();
    source_->stop();
    EXPECT_EQ(recorder_.position(), 0U);
}

TEST_F(ApplicationAudioTest, WhereNoServerCanEverBeFoundTheStartFailsWithOneError)
{
    ::unsetenv("XDG_RUNTIME_DIR");
    const auto source = makeApplicationAudioSource();
    const auto started = source->start({}, {}, [](const SampleBufferRef&) { FAIL() << "sound without a server"; });
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().localizedDescription, "No sound server answers.");
    EXPECT_TRUE(started.error().underlying);
    source->stop();
}

}  // namespace
}  // namespace velmora::linux_backend
