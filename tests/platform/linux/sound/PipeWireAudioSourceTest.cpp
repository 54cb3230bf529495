#include "platform/linux/pipewire/PipeWireAudioSource.h"

#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/Recorder.h"
#include "tests/support/sound/SoundServer.h"

#include <chrono>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <thread>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;
using test::millisecond;
using test::Recorder;

constexpr double toneOfTarget = 440;
constexpr double toneOfOther = 1000;

class PipeWireAudioSourceTest : public ::testing::Test {
protected:
    static std::unique_ptr<ChildProcess> player(
        double frequency, const std::string& name = "tone player", const std::string& channels = "2")
    {
        auto child =
            std::make_unique<ChildProcess>(std::vector<std::string>{VELMORA_TONE_PLAYER, std::to_string(frequency), name, channels});
        EXPECT_EQ(child->readLine(), "playing");
        return child;
    }

    void capture(std::int32_t processID)
    {
        engine::AudioTarget target;
        target.processID = processID;
        capture(target);
    }

    void capture(const engine::AudioTarget& target)
    {
        const auto started = source_.start(target, {}, [this](const SampleBufferRef& sample) { recorder_.add(sample); });
        ASSERT_TRUE(started) << started.error().localizedDescription;
    }

    /// The delay that a player sees between itself and the ear.
    static std::int64_t delayOf(ChildProcess& player)
    {
        player.send("delay");
        const auto line = player.readLine();
        return line ? std::stoll(*line) : -1;
    }

    static bool within20Seconds(const std::function<bool()>& condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{20};
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds{50});
        }
        return true;
    }

    static bool waitForDelay(ChildProcess& player, std::int64_t expected)
    {
        return within20Seconds([&] { return delayOf(player) == expected; });
    }

    static bool waitForDefaultSink(const std::string& name)
    {
        return within20Seconds([&] { return test::outputOf({"pactl", "get-default-sink"}) == name + "\n"; });
    }

    /// Lets the player click and looks for the clicks at the times at which it says that they are heard. Three of ten must be there: on
    /// a loaded machine a player misses its turn after it has given the time, and a click that falls into a pause is lost.
    void expectClicksInTime(ChildProcess& target)
    {
        int inTime = 0;
        std::string errors;
        for (int i = 0; i < 10 && inTime < 3; ++i) {
            const auto before = recorder_.position();
            target.send("click");
            const auto line = target.readLine();
            ASSERT_TRUE(line);
            const auto heard = std::stoll(*line);
            std::optional<std::int64_t> found;
            recorder_.waitUntil([&] {
                found = clickNear(heard);
                return found.has_value() || recorder_.position() > before + 48000;
            });
            // What the player says is true to a quantum (21.3 ms): it may or may not be a buffer ahead.
            if (found && std::abs(*found - heard) < 25 * millisecond)
                ++inTime;
            errors += found ? std::to_string((*found - heard) / 1000) + " us, " : "none, ";
        }
        EXPECT_EQ(inTime, 3) << errors;
        RecordProperty("click_errors", errors);
    }

    /// The time of a click less than 100 ms from `time`: over a sine at half of full scale it is the only sample above 0.9.
    std::optional<std::int64_t> clickNear(std::int64_t time)
    {
        const auto blocks = recorder_.blocks();
        for (auto block = blocks.rbegin(); block != blocks.rend() && block->stamp > time - 200 * millisecond; ++block) {
            const auto samples = recorder_.samples(block->begin, block->frames);
            for (std::size_t frame = 0; frame < block->frames; ++frame) {
                const auto stamp = block->stamp + static_cast<std::int64_t>(static_cast<double>(frame) * 1e9 / Recorder::sampleRate);
                if (samples[frame * 2] > 0.9F && std::abs(stamp - time) < 100 * millisecond)
                    return stamp;
            }
        }
        return std::nullopt;
    }

    test::PrivateSession session_;
    test::PipeWireServer server_{session_};
    Recorder recorder_;
    PipeWireAudioSource source_;
};

TEST_F(PipeWireAudioSourceTest, RecordsTheTargetAndNotASecondInstanceOfTheSameProgram)
{
    const auto target = player(toneOfTarget);
    const auto other = player(toneOfOther);
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    for (std::size_t channel = 0; channel < 2; ++channel) {
        const auto isolation = recorder_.cleanestSecond(toneOfTarget, toneOfOther, channel);
        EXPECT_LT(isolation, -60);
        RecordProperty("isolation_" + std::to_string(channel), std::to_string(isolation));
    }
}

TEST_F(PipeWireAudioSourceTest, IsSilentAndContinuousFromTheStartWhileNothingMatches)
{
    const auto other = player(toneOfOther);
    const ChildProcess quiet{{"cat"}};
    capture(quiet.processID());
    ASSERT_TRUE(recorder_.waitFor(0, 48000));
    for (const float sample : recorder_.samples(0, 48000))
        ASSERT_EQ(sample, 0.0F);
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PipeWireAudioSourceTest, DeliversLinearBlocksOfAtLeast1024FramesInStereo)
{
    const auto target = player(toneOfTarget);
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    const auto sample = recorder_.last();
    ASSERT_TRUE(sample->format && sample->format->audio());
    EXPECT_EQ(*sample->format->audio(), (AudioFormat{FourCharacterCode{"lpcm"}, 48000, 2, {}}));
    EXPECT_GE(sample->sampleCount, 1024);
    EXPECT_EQ(sample->data.bytes.size(), static_cast<std::size_t>(sample->sampleCount) * 8);
    EXPECT_EQ(sample->duration, (MediaTime{sample->sampleCount, 48000}));
}

TEST_F(PipeWireAudioSourceTest, FollowsAStreamThatStartsLaterPausesEndsAndStartsAgain)
{
    // A shell stands for the application: its players are its children.
    ChildProcess application{
        {"sh", "-c", std::string{"read x; "} + VELMORA_TONE_PLAYER + " 440 first; read x; " + VELMORA_TONE_PLAYER + " 440 second"}};
    capture(application.processID());
    ASSERT_TRUE(recorder_.waitFor(0, 24000));
    application.send("go");
    ASSERT_EQ(application.readLine(), "playing");
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    application.send("pause");
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget, false));
    application.send("play");
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    application.send("quit");
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget, false));
    application.send("go");
    ASSERT_EQ(application.readLine(), "playing");
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PipeWireAudioSourceTest, MixesTwoStreamsOfTheTarget)
{
    ChildProcess application{
        {"sh", "-c", std::string{"exec 3<&0; "} + VELMORA_TONE_PLAYER + " 440 <&3 & " + VELMORA_TONE_PLAYER + " 1000 <&3 & wait"}};
    capture(application.processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    ASSERT_TRUE(recorder_.waitForTone(toneOfOther));
    // Both at once, both whole.
    EXPECT_TRUE(recorder_.waitUntil([&] {
        constexpr std::size_t window = 9600;
        const auto begin = recorder_.position() - window;
        return std::abs(recorder_.level(begin, window, toneOfTarget) + 6.02) < 0.2
            && std::abs(recorder_.level(begin, window, toneOfOther) + 6.02) < 0.2;
    }));
}

TEST_F(PipeWireAudioSourceTest, AMonoStreamIsHeardOnBothChannels)
{
    const auto target = player(toneOfTarget, "mono", "1");
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    constexpr std::size_t window = 9600;
    const auto begin = recorder_.position() - window;
    EXPECT_GT(recorder_.level(begin, window, toneOfTarget, 0), -10);
    EXPECT_GT(recorder_.level(begin, window, toneOfTarget, 1), -10);
}

TEST_F(PipeWireAudioSourceTest, ASubtreeThatOwnsWindowsOfAnotherApplicationIsNotHeard)
{
    const auto other = player(toneOfOther);
    const auto target = player(toneOfTarget);
    engine::AudioTarget whole;
    whole.processID = ::getpid();
    whole.ownsWindowsOfAnotherApplication = [process = other->processID()](std::int32_t candidate) { return candidate == process; };
    capture(whole);
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    EXPECT_LT(recorder_.cleanestSecond(toneOfTarget, toneOfOther), -60);
}

TEST_F(PipeWireAudioSourceTest, TimeStampsTellWhenASoundIsHeard)
{
    const auto target = player(toneOfTarget);
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    expectClicksInTime(*target);
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PipeWireAudioSourceTest, TheDelayOfASlowDeviceIsInTheTimeStampsAndStaysInThePlayersLipSync)
{
    ChildProcess slow{{VELMORA_SLOW_SINK, "300"}};
    ASSERT_EQ(slow.readLine(), "ready");
    ASSERT_TRUE(waitForDefaultSink("slow-sink"));
    const auto target = player(toneOfTarget);
    ASSERT_TRUE(waitForDelay(*target, 300 * millisecond));
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    expectClicksInTime(*target);
    EXPECT_EQ(delayOf(*target), 300 * millisecond);
}

TEST_F(PipeWireAudioSourceTest, FollowsAStreamToAnotherDevice)
{
    const auto target = player(toneOfTarget);
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    ChildProcess slow{{VELMORA_SLOW_SINK, "300"}};
    ASSERT_EQ(slow.readLine(), "ready");
    // A new default sink of higher priority takes the stream over.
    ASSERT_TRUE(waitForDelay(*target, 300 * millisecond));
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    expectClicksInTime(*target);
    slow.kill();
    ASSERT_TRUE(waitForDelay(*target, 0));
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    expectClicksInTime(*target);
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PipeWireAudioSourceTest, StopEndsTheDeliveryAtOnceAndCanBeRepeated)
{
    const auto target = player(toneOfTarget);
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    source_.stop();
    const auto position = recorder_.position();
    source_.stop();
    // A second source delivers a whole second: time enough for the first to betray itself.
    Recorder second;
    PipeWireAudioSource sourceOfSecond;
    engine::AudioTarget again;
    again.processID = target->processID();
    ASSERT_TRUE(sourceOfSecond.start(again, {}, [&](const SampleBufferRef& sample) { second.add(sample); }));
    ASSERT_TRUE(second.waitForTone(toneOfTarget));
    EXPECT_EQ(recorder_.position(), position);
}

TEST_F(PipeWireAudioSourceTest, GoesOnInSilenceWhenTheServerDiesAndFollowsTheNextOne)
{
    {
        const auto target = player(toneOfTarget);
        capture(::getpid());
        ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
        server_.kill();
        ASSERT_TRUE(recorder_.waitForTone(toneOfTarget, false));
    }
    server_.restart();
    const auto target = player(toneOfTarget);
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    EXPECT_LT(recorder_.largestGap(), millisecond);
}

TEST_F(PipeWireAudioSourceTest, AServerThatDiesBeforeTheStopIsNoTrouble)
{
    const auto target = player(toneOfTarget);
    capture(target->processID());
    ASSERT_TRUE(recorder_.waitForTone(toneOfTarget));
    server_.kill();
    source_.stop();
    const auto position = recorder_.position();
    EXPECT_GT(position, 0U);
}

TEST(PipeWireAudioSourceWithoutServer, StartFailsWithAnError)
{
    test::PrivateSession session;
    PipeWireAudioSource source;
    const auto started = source.start({}, {}, [](const SampleBufferRef&) { FAIL() << "sound without a server"; });
    ASSERT_FALSE(started);
    EXPECT_FALSE(started.error().localizedDescription.empty());
    EXPECT_EQ(started.error().domain, "POSIX");
    source.stop();
}

}  // namespace
}  // namespace velmora::linux_backend
