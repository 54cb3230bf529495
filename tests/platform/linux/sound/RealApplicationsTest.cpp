// Programs as people use them, against the source that the capture stream uses.

#include "platform/linux/sound/ApplicationAudio.h"

#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/Recorder.h"
#include "tests/support/sound/SoundServer.h"

#include <fstream>
#include <gtest/gtest.h>
#include <memory>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;
using test::millisecond;
using test::Recorder;

class RealApplicationsTest : public ::testing::Test {
protected:
    RealApplicationsTest()
    {
        test::writeTone(tone440_, 440, 60);
        test::writeTone(tone1000_, 1000, 60);
    }

    void capture(std::int32_t processID)
    {
        engine::AudioTarget target;
        target.processID = processID;
        const auto started = source_->start(target, {}, [this](const SampleBufferRef& sample) { recorder_.add(sample); });
        ASSERT_TRUE(started) << started.error().localizedDescription;
    }

    void expectToneAndNotTheOther(double tone, double other)
    {
        ASSERT_TRUE(recorder_.waitForTone(tone));
        EXPECT_LT(recorder_.cleanestSecond(tone, other), -60);
        EXPECT_LT(recorder_.largestGap(), millisecond);
    }

    std::unique_ptr<ChildProcess> chromium(const std::string& profile, const std::filesystem::path& sound)
    {
        const auto page = session_.directory() / (profile + ".html");
        std::ofstream{page} << "<audio src=\"" << sound.filename().string() << "\" autoplay loop></audio>";
        return std::make_unique<ChildProcess>(std::vector<std::string>{"chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
            "--disable-quic", "--no-first-run", "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--autoplay-policy=no-user-gesture-required", "--user-data-dir=" + (session_.directory() / profile).string(),
            "file://" + page.string()});
    }

    test::PrivateSession session_;
    test::PipeWireServer server_{session_};
    std::filesystem::path tone440_ = session_.directory() / "440.wav";
    std::filesystem::path tone1000_ = session_.directory() / "1000.wav";
    Recorder recorder_;
    std::unique_ptr<engine::AudioSource> source_ = makeApplicationAudioSource();
};

TEST_F(RealApplicationsTest, MpvThroughPipeWireIsHeardAndASecondMpvIsNot)
{
    const ChildProcess target{{"mpv", "--no-config", "--no-video", "--really-quiet", "--ao=pipewire", tone440_.string()}};
    const ChildProcess other{{"mpv", "--no-config", "--no-video", "--really-quiet", "--ao=pipewire", tone1000_.string()}};
    capture(target.processID());
    expectToneAndNotTheOther(440, 1000);
}

TEST_F(RealApplicationsTest, MpvThroughThePulseAudioServiceIsHeardAndASecondMpvIsNot)
{
    const ChildProcess target{{"mpv", "--no-config", "--no-video", "--really-quiet", "--ao=pulse", tone440_.string()}};
    const ChildProcess other{{"mpv", "--no-config", "--no-video", "--really-quiet", "--ao=pulse", tone1000_.string()}};
    capture(target.processID());
    expectToneAndNotTheOther(440, 1000);
}

TEST_F(RealApplicationsTest, ANativePlayerIsHeardAndAPulseAudioPlayerIsNot)
{
    const ChildProcess target{{"pw-play", tone440_.string()}};
    const ChildProcess other{{"paplay", tone1000_.string()}};
    capture(target.processID());
    expectToneAndNotTheOther(440, 1000);
}

TEST_F(RealApplicationsTest, ChromiumIsHeardThroughItsSoundProcessAndASecondProfileIsNot)
{
    const auto target = chromium("first", tone440_);
    const auto other = chromium("second", tone1000_);
    capture(target->processID());
    expectToneAndNotTheOther(440, 1000);
    // The other really plays.
    source_->stop();
    Recorder second;
    auto sourceOfSecond = makeApplicationAudioSource();
    engine::AudioTarget wanted;
    wanted.processID = other->processID();
    ASSERT_TRUE(sourceOfSecond->start(wanted, {}, [&](const SampleBufferRef& sample) { second.add(sample); }));
    EXPECT_TRUE(second.waitForTone(1000));
    EXPECT_LT(second.cleanestSecond(1000, 440), -60);
}

}  // namespace
}  // namespace velmora::linux_backend
