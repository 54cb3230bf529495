#include "platform/linux/pipewire/PipeWireAudioSource.h"

#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/Recorder.h"
#include "tests/support/sound/SoundServer.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;
using test::Recorder;

constexpr double toneOfTarget = 440;
constexpr double toneOfOther = 1000;
constexpr std::int64_t millisecond = 1'000'000;

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
        AudioTarget target;
        target.processID = processID;
        capture(target);
    }

    void capture(const AudioTarget& target)
    {
        const auto started = source_.start(target, {}, [this](const SampleBufferRef& sample) { recorder_.add(sample); });
        ASSERT_TRUE(started) << started.error().localizedDescription;
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
    AudioTarget whole;
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
    for (int i = 0; i < 5; ++i) {
        target->send("click");
        const auto line = target->readLine();
        ASSERT_TRUE(line);
        const auto heard = std::stoll(*line);
        // Beside a sine at half of full scale the click is the only sample above 0.9.
        std::int64_t found = 0;
        ASSERT_TRUE(recorder_.waitUntil([&] {
            const auto blocks = recorder_.blocks();
            for (auto block = blocks.rbegin(); block != blocks.rend() && block->stamp > heard - 500 * millisecond; ++block) {
                const auto samples = recorder_.samples(block->begin, block->frames);
                for (std::size_t frame = 0; frame < block->frames; ++frame) {
                    if (samples[frame * 2] > 0.9F) {
                        found = block->stamp + static_cast<std::int64_t>(static_cast<double>(frame) * 1e9 / 48000);
                        return true;
                    }
                }
            }
            return false;
        }));
        // What the player says is true to a quantum (21.3 ms): it may or may not be a buffer ahead.
        EXPECT_LT(std::abs(found - heard), 25 * millisecond) << (found - heard);
        RecordProperty("click_error_us_" + std::to_string(i), std::to_string((found - heard) / 1000));
        ASSERT_TRUE(recorder_.waitFor(recorder_.position(), 48000));
    }
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
    AudioTarget again;
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
