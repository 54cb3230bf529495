// What real sound servers say about who is playing.
#include "platform/linux/pipewire/PipeWireSoundStreams.h"
#include "platform/linux/pulse/PulseSoundStreams.h"
#include "platform/linux/sound/ApplicationAudio.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;

/// The stream of that process, once there is one for which the condition holds.
std::optional<engine::SoundStream> awaitStream(const std::function<Result<std::vector<engine::SoundStream>>()>& list, pid_t process,
    const std::function<bool(const engine::SoundStream&)>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
    while (std::chrono::steady_clock::now() < deadline) {
        const auto streams = list();
        EXPECT_TRUE(streams) << streams.error().localizedDescription;
        for (const auto& stream : streams.value_or(std::vector<engine::SoundStream>{})) {
            if (stream.identity.processID == process && condition(stream))
                return stream;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
    }
    return std::nullopt;
}

bool plays(const engine::SoundStream& stream)
{
    return stream.isPlaying;
}

bool rests(const engine::SoundStream& stream)
{
    return !stream.isPlaying;
}

TEST(SoundStreams, OfPipeWireAreListedWithTheirProgramsAndWhetherTheyPlay)
{
    const test::PrivateSession session;
    const test::PipeWireServer server{session};
    EXPECT_TRUE(listPipeWireSoundStreams().value().empty());
    ChildProcess player{{VELMORA_TONE_PLAYER, "440", "First player"}};
    ASSERT_EQ(player.readLine(), "playing");
    const auto playing = awaitStream(listSoundStreams, player.processID(), plays);
    ASSERT_TRUE(playing);
    EXPECT_TRUE(playing->identity.processIDIsCertain);
    EXPECT_EQ(playing->identity.applicationName, "First player");
    EXPECT_EQ(playing->identity.binary, "tone_player");
    player.send("pause");
    EXPECT_TRUE(awaitStream(listSoundStreams, player.processID(), rests));
}

TEST(SoundStreams, OfAPulseAudioClientAreThoseOfTheProgramAndNotOfTheService)
{
    const test::PrivateSession session;
    const test::PipeWireServer server{session};
    test::writeTone(session.directory() / "tone.wav", 440, 60);
    const ChildProcess player{{"paplay", (session.directory() / "tone.wav").string()}};
    const auto playing = awaitStream(listSoundStreams, player.processID(), plays);
    ASSERT_TRUE(playing);
    EXPECT_EQ(playing->identity.binary, "pacat");
    EXPECT_FALSE(listPulseSoundStreams()) << "the service is PipeWire's";
}

TEST(SoundStreams, OfARealPulseAudioServerAreListed)
{
    const test::PrivateSession session;
    const test::PulseServer server{session};
    test::writeTone(session.directory() / "tone.wav", 440, 60);
    const ChildProcess player{{"paplay", (session.directory() / "tone.wav").string()}};
    const auto playing = awaitStream(listSoundStreams, player.processID(), plays);
    ASSERT_TRUE(playing);
    EXPECT_EQ(playing->identity.binary, "pacat");
}

bool isMuted(const engine::SoundStream& stream)
{
    return stream.isPlaying && stream.isMuted;
}

bool isHeard(const engine::SoundStream& stream)
{
    return stream.isPlaying && !stream.isMuted;
}

/// `pactl` with the one stream that plays.
void change(const std::string& command, const std::string& value)
{
    const auto listed = test::outputOf({"pactl", "list", "short", "sink-inputs"});
    ASSERT_FALSE(listed.empty());
    test::outputOf({"pactl", command, listed.substr(0, listed.find('\t')), value});
}

/// A stream that is muted, or turned all the way down, is told from one that plays, whichever the server.
void expectMutesAreSeen(const test::PrivateSession& session)
{
    test::writeTone(session.directory() / "tone.wav", 440, 60);
    const ChildProcess player{{"paplay", (session.directory() / "tone.wav").string()}};
    const auto await = [&](const auto& condition) { return awaitStream(listEverySoundStream, player.processID(), condition).has_value(); };
    ASSERT_TRUE(await(isHeard));
    change("set-sink-input-mute", "1");
    EXPECT_TRUE(await(isMuted));
    change("set-sink-input-mute", "0");
    EXPECT_TRUE(await(isHeard));
    change("set-sink-input-volume", "0");
    EXPECT_TRUE(await(isMuted));
    change("set-sink-input-volume", "30%");
    EXPECT_TRUE(await(isHeard));
    // What the device does with it is not recorded.
    test::outputOf({"pactl", "set-sink-mute", "@DEFAULT_SINK@", "1"});
    change("set-sink-input-volume", "40%");
    EXPECT_TRUE(await(isHeard));
}

TEST(SoundStreams, ThatAreMutedOnPipeWireAreSeenToBe)
{
    const test::PrivateSession session;
    const test::PipeWireServer server{session};
    expectMutesAreSeen(session);
}

TEST(SoundStreams, ThatAreMutedOnARealPulseAudioServerAreSeenToBe)
{
    const test::PrivateSession session;
    const test::PulseServer server{session};
    expectMutesAreSeen(session);
}

TEST(SoundStreams, WithoutAServerAreAnError)
{
    const test::PrivateSession session;
    EXPECT_FALSE(listSoundStreams());
    EXPECT_FALSE(listEverySoundStream());
}

}  // namespace
}  // namespace velmora::linux_backend
