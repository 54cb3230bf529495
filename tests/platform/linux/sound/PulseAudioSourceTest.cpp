#include "platform/linux/pulse/PulseAudioSource.h"

#include "platform/linux/sound/ApplicationAudio.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/Recorder.h"
#include "tests/support/sound/SoundServer.h"

#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;
using test::millisecond;
using test::Recorder;

class PulseAudioSourceTest : public ::testing::Test {
protected:
    PulseAudioSourceTest()
    {
        test::writeTone(tone440_, 440, 60);
        test::writeTone(tone1000_, 1000, 60);
    }

    void capture(std::int32_t processID)
    {
        engine::AudioTarget target;
        target.processID = processID;
        const auto started = source_.start(target, {}, [this](const SampleBufferRef& sample) { recorder_.add(sample); });
        ASSERT_TRUE(started) << started.error().localizedDescription;
    }

    /// The number of the only stream that is playing.
    static std::string onlySinkInput()
    {
        const auto list = test::outputOf({"pactl", "list", "short", "sink-inputs"});
        return list.substr(0, list.find('\t'));
    }

    test::PrivateSession session_;
    test::PulseServer server_{session_};
    std::filesystem::path tone440_ = session_.directory() / "440.wav";
    std::filesystem::path tone1000_ = session_.directory() / "1000.wav";
    Recorder recorder_;
    PulseAudioSource source_;
};

TEST_F(PulseAudioSourceTest, RecordsTheTargetAndNotASecondInstanceOfTheSameProgram)
{
    const ChildProcess target{{"paplay", tone440_.string()}};
    const ChildProcess other{{"paplay", tone1000_.string()}};
    capture(target.processID());
    ASSERT_TRUE(recorder_.waitForTone(440));
    EXPECT_LT(recorder_.cleanestSecond(440, 1000), -60);
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PulseAudioSourceTest, IsSilentAndContinuousFromTheStartWhileNothingMatches)
{
    const ChildProcess other{{"paplay", tone1000_.string()}};
    const ChildProcess quiet{{"cat"}};
    capture(quiet.processID());
    ASSERT_TRUE(recorder_.waitFor(0, 48000));
    for (const float sample : recorder_.samples(0, 48000))
        ASSERT_EQ(sample, 0.0F);
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PulseAudioSourceTest, FollowsAStreamThatStartsLaterMovesEndsAndStartsAgain)
{
    ChildProcess application{
        {"sh", "-c", "read x; paplay " + tone440_.string() + " & player=$!; read x; kill $player; read x; paplay " + tone440_.string()}};
    capture(application.processID());
    ASSERT_TRUE(recorder_.waitFor(0, 24000));
    application.send("play");
    ASSERT_TRUE(recorder_.waitForTone(440));
    test::outputOf({"pactl", "move-sink-input", onlySinkInput(), "second"});
    ASSERT_TRUE(recorder_.waitForTone(440));
    application.send("end");
    ASSERT_TRUE(recorder_.waitForTone(440, false));
    application.send("play again");
    ASSERT_TRUE(recorder_.waitForTone(440));
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PulseAudioSourceTest, MixesTwoStreamsOfTheTarget)
{
    ChildProcess application{{"sh", "-c", "paplay " + tone440_.string() + " & paplay " + tone1000_.string() + " & wait"}};
    capture(application.processID());
    EXPECT_TRUE(recorder_.waitForTone(440));
    EXPECT_TRUE(recorder_.waitForTone(1000));
}

TEST_F(PulseAudioSourceTest, IsWhatTheApplicationsSoundIsTakenFromWhereItServes)
{
    const ChildProcess target{{"paplay", tone440_.string()}};
    const auto source = makeApplicationAudioSource();
    engine::AudioTarget wanted;
    wanted.processID = target.processID();
    ASSERT_TRUE(source->start(wanted, {}, [this](const SampleBufferRef& sample) { recorder_.add(sample); }));
    EXPECT_TRUE(recorder_.waitForTone(440));
    source->stop();
}

TEST_F(PulseAudioSourceTest, GoesOnInSilenceWhenTheServerDies)
{
    const ChildProcess target{{"paplay", tone440_.string()}};
    capture(target.processID());
    ASSERT_TRUE(recorder_.waitForTone(440));
    server_.kill();
    ASSERT_TRUE(recorder_.waitForTone(440, false));
    source_.stop();
    const auto position = recorder_.position();
    source_.stop();
    EXPECT_EQ(recorder_.position(), position);
}

TEST_F(PulseAudioSourceTest, GoesOnInSilenceWhenTheServerDiesAndFollowsTheNextOneHoweverOften)
{
    capture(::getpid());
    for (int server = 0; server < 3; ++server) {
        if (server > 0)
            server_.restart();
        {
            const ChildProcess target{{"paplay", tone440_.string()}};
            ASSERT_TRUE(recorder_.waitForTone(440)) << server;
            server_.kill();
            ASSERT_TRUE(recorder_.waitForTone(440, false)) << server;
        }
    }
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PulseAudioSourceTest, AServerThatIsPipeWiresAfterARestartIsNotRecorded)
{
    capture(::getpid());
    server_.kill();
    std::filesystem::remove(session_.directory() / "run" / "pulse" / "native");
    const test::PipeWireServer other{session_};
    const ChildProcess target{{"paplay", tone440_.string()}};
    ASSERT_TRUE(recorder_.waitUntil([] { return !onlySinkInput().empty(); }));
    const auto begin = recorder_.position();
    ASSERT_TRUE(recorder_.waitFor(begin, 96000));
    for (const float sample : recorder_.samples(begin, 96000))
        ASSERT_EQ(sample, 0.0F);
}

TEST(PulseAudioSourceWithoutServer, StartFailsWithAnError)
{
    test::PrivateSession session;
    PulseAudioSource source;
    const auto started = source.start({}, {}, [](const SampleBufferRef&) { FAIL() << "sound without a server"; });
    ASSERT_FALSE(started);
    EXPECT_FALSE(started.error().localizedDescription.empty());
}

TEST(PulseAudioSourceOnPipeWire, StartFailsBecauseTheServerIsNoRealOne)
{
    test::PrivateSession session;
    test::PipeWireServer server{session};
    PulseAudioSource source;
    const auto started = source.start({}, {}, [](const SampleBufferRef&) { FAIL() << "sound of the wrong server"; });
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().localizedDescription, "The PulseAudio server is PipeWire's.");
}

}  // namespace
}  // namespace velmora::linux_backend
