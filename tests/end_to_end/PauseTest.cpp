// A recording that is paused and goes on, many times, of a real window with sound: what is in its clip, and whether both still fit.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr double nanosecond = 1e-9;

struct Pause {
    std::int64_t isKnown = 0;  ///< CLOCK_MONOTONIC nanoseconds by which the program had said that it is paused
    std::int64_t isOver = 0;  ///< before it was told to go on
};

/// Pictures between two pauses, and how far their time in the file is from the moment at which they were shown.
struct Stretch {
    double from = 0;  ///< in the file
    double to = 0;
    std::vector<double> offsets;
};

class PauseTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return directory_.path() / name; }

    TemporaryDirectory directory_;
};

Pause pause(TrayProgram& program, std::chrono::milliseconds duration)
{
    Pause pause;
    EXPECT_EQ(program.run({"pause"}).output, "The recording is paused.\n");
    pause.isKnown = monotonicNow();
    record(duration);
    pause.isOver = monotonicNow();
    EXPECT_EQ(program.run({"resume"}).output, "The recording goes on.\n");
    return pause;
}

/// Numbers that were painted after the first moment and replaced before the second.
std::vector<std::uint32_t> paintedWithin(const std::map<std::uint32_t, std::int64_t>& shown, const Pause& pause)
{
    std::vector<std::uint32_t> numbers;
    for (auto frame = shown.begin(); frame != shown.end(); ++frame) {
        const auto next = std::next(frame);
        if (frame == shown.begin() || next == shown.end())
            continue;
        if (std::prev(frame)->second >= pause.isKnown && next->second <= pause.isOver)
            numbers.push_back(frame->first);
    }
    return numbers;
}

/// The frames at which clicks begin.
std::vector<std::size_t> clickFrames(const std::vector<float>& samples, std::size_t channels, std::size_t sampleRate)
{
    std::vector<std::size_t> clicks;
    const std::size_t quiet = sampleRate / 25;
    std::size_t last = 0;
    for (std::size_t frame = 0; frame < samples.size() / channels; ++frame) {
        if (std::abs(samples[frame * channels]) < 0.2F)
            continue;
        if (clicks.empty() || frame - last > quiet)
            clicks.push_back(frame);
        last = frame;
    }
    return clicks;
}

/// Where clicks begin, in seconds of the clip.
std::vector<double> clickTimes(const ClipAudio& audio)
{
    std::vector<double> times;
    for (const auto frame :
        clickFrames(audio.samples, static_cast<std::size_t>(audio.channelCount), static_cast<std::size_t>(audio.sampleRate)))
        times.push_back(audio.secondsOf(frame));
    return times;
}

/// Hears all that is played from when it is made, without a pause: on a busy machine the player now and then misses a period of the sound
/// server and is late from there on, which is not the program's doing. So does a witness, whose clicks are early from there on: by whole
/// periods, and two of them not at the same time.
class Witness {
public:
    explicit Witness(std::filesystem::path file) : file_(std::move(file))
    {
        const auto size = [&] {
            std::error_code none;
            const auto bytes = std::filesystem::file_size(file_, none);
            return none ? 0 : bytes;
        };
        EXPECT_TRUE(waitUntil([&] { return size() > 0; })) << "the sound server's monitor says nothing";
        const auto heard = size() / sizeof(float);
        begin_ = static_cast<double>(monotonicNow()) * nanosecond - static_cast<double>(heard) / sampleRate;
    }

    /// When clicks began, in seconds of CLOCK_MONOTONIC; how far from that they are is the same for all of them.
    [[nodiscard]] std::vector<double> clickTimes()
    {
        recorder_.terminate();
        std::ifstream file{file_, std::ios::binary};
        const std::string bytes{std::istreambuf_iterator<char>{file}, {}};
        std::vector<float> samples(bytes.size() / sizeof(float));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
        std::vector<double> times;
        for (const auto frame : clickFrames(samples, 1, sampleRate))
            times.push_back(begin_ + static_cast<double>(frame) / sampleRate);
        return times;
    }

private:
    static constexpr int sampleRate = 48000;

    const std::filesystem::path file_;
    ChildProcess recorder_{{"parec", "--raw", "--format=float32le", "--rate=48000", "--channels=1", "--latency-msec=20",
        "--device=@DEFAULT_MONITOR@", file_.native()}};
    double begin_ = 0;
};

/// How long after the nearest of them; less than nothing: before it.
double afterNearest(const std::vector<double>& times, double time)
{
    const auto next = std::lower_bound(times.begin(), times.end(), time);
    if (next == times.begin())
        return time - times.front();
    if (next == times.end() || time - *std::prev(next) < *next - time)
        return time - *std::prev(next);
    return time - *next;
}

/// For each stretch how much later its clicks are than a witness heard them, by the pictures' clock; relative to the first one's. Fewer than
/// there are stretches where one has no click, or the witness heard none.
std::vector<double> phasesOf(const std::vector<Stretch>& stretches, const std::vector<double>& clicks, const std::vector<double>& heard)
{
    std::vector<double> phases;
    for (const auto& stretch : stretches) {
        std::vector<double> within;
        for (const double click : clicks) {
            if (heard.empty() || click < stretch.from + 0.02 || click > stretch.to - 0.02)
                continue;
            const double reference = !phases.empty() ? phases.back() : !within.empty() ? within.front() : 0;
            within.push_back(reference + afterNearest(heard, click + median(stretch.offsets) - reference));
        }
        if (within.empty())
            break;
        phases.push_back(median(within));
    }
    return phases;
}

double largest(const std::vector<double>& steps)
{
    double largest = 0;
    for (auto step = std::next(steps.begin()); step != steps.end(); ++step)
        largest = std::max(largest, std::abs(*step));
    return largest;
}

TEST_F(PauseTest, FiftyPausesLeaveNoPictureInTheClipAndItsSoundWhereItWas)
{
    constexpr std::size_t count = 50;
    // A click every tenth of a second, for longer than all of it takes.
    ASSERT_EQ(
        runProgram({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "aevalsrc=0.8*sin(2*PI*2000*t)*lt(mod(t\\,0.1)\\,0.002):s=48000:d=300",
                       "-ac", "2", path("clicks.wav").native()})
            .status,
        0);
    // Half as often as pictures may be taken: one that is late on a busy machine keeps none after it waiting.
    const NumberedWindow window{{"--size", "640x480", "--position", "100,100", "--fps", "30"}, path("clicks.wav")};
    awaitPlayingStreams(1);
    std::array<Witness, 2> witnesses{Witness{path("first witness")}, Witness{path("second witness")}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    std::vector<Pause> pauses;
    for (std::size_t i = 0; i < count; ++i) {
        record(std::chrono::milliseconds{330 + i * 7 % 90});
        pauses.push_back(pause(program, std::chrono::milliseconds{150 + i * 13 % 110}));
    }
    record(700ms);
    const auto saved = program.run({"toggle"});
    ASSERT_EQ(saved.status, 0) << saved.messages;
    const auto shown = window.shown();
    const auto clip = readClip(saved.lastLine());
    EXPECT_THAT(clip.complaints, IsEmpty());
    ASSERT_TRUE(clip.video && clip.audio);

    std::set<std::uint32_t> inClip;
    std::vector<Stretch> stretches(1);
    std::int64_t lastShown = 0;
    double lastTime = -1;
    for (const auto& picture : clip.video->pictures) {
        ASSERT_TRUE(picture.reading.isReadable()) << picture.time;
        const auto number = *picture.reading.number();
        ASSERT_TRUE(shown.contains(number)) << picture.time;
        EXPECT_GT(picture.time, lastTime);
        const auto moment = shown.at(number);
        EXPECT_GE(moment, lastShown) << "pictures keep their order";
        while (stretches.size() <= pauses.size() && moment > pauses[stretches.size() - 1].isOver - 50'000'000
            && static_cast<double>(moment - lastShown) * nanosecond > picture.time - lastTime + 0.1)
            stretches.push_back({});
        auto& stretch = stretches.back();
        if (stretch.offsets.empty())
            stretch.from = picture.time;
        stretch.to = picture.time;
        stretch.offsets.push_back(static_cast<double>(moment) * nanosecond - picture.time);
        inClip.insert(number);
        lastShown = moment;
        lastTime = picture.time;
    }
    ASSERT_EQ(stretches.size(), pauses.size() + 1);
    std::size_t leftOut = 0;
    for (const auto& pause : pauses) {
        for (const auto number : paintedWithin(shown, pause)) {
            EXPECT_FALSE(inClip.contains(number)) << number;
            ++leftOut;
        }
    }
    EXPECT_GT(leftOut, std::size_t{count} * 2);

    // The player goes on while it is paused: by the pictures' clock every click is where a witness heard it, across every pause.
    const auto clicks = clickTimes(*clip.audio);
    std::vector<std::vector<double>> steps;
    for (auto& witness : witnesses) {
        const auto phases = phasesOf(stretches, clicks, witness.clickTimes());
        ASSERT_EQ(phases.size(), stretches.size());
        steps.emplace_back(phases.size());
        std::adjacent_difference(phases.begin(), phases.end(), steps.back().begin());
    }
    // A step in the clip is one for both; one that a witness made by missing a period is its own.
    std::vector<double> phases(stretches.size());
    for (std::size_t i = 1; i < phases.size(); ++i) {
        const double first = steps.front()[i];
        const double second = steps.back()[i];
        phases[i] = phases[i - 1] + (std::abs(first) < std::abs(second) ? first : second);
    }
    const double usual = median(phases);
    for (auto& phase : phases)
        phase -= usual;
    const auto [least, most] = std::minmax_element(phases.begin(), phases.end());
    std::printf("%zu pictures in %zu stretches, %zu painted meanwhile\n", clip.video->pictures.size(), stretches.size(), leftOut);
    std::printf("sound against pictures: %+.1f to %+.1f ms; the largest step as each witness heard it: %.1f and %.1f ms\n", *least * 1e3,
        *most * 1e3, largest(steps.front()) * 1e3, largest(steps.back()) * 1e3);
    EXPECT_LT(std::max(-*least, *most), 0.01);
}

TEST_F(PauseTest, APauseOfAStillWindowEndsAtOnceAndItsPictureGoesOn)
{
    NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    const auto still = std::stoul(window.command("still").substr(6));
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    // Until there is an encoder and it has made a picture: a file that begins later is shorter than its recording.
    record(1s);
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    record(1200ms);
    ASSERT_EQ(program.run({"pause"}).status, 0);
    const double recorded = program.status().value(QLatin1String("recordingSeconds")).toDouble();
    record(1500ms);
    // It goes on, and ends, somewhere between a command's start and its end, which lie far apart on a busy machine.
    const auto askedToResume = monotonicNow();
    ASSERT_EQ(program.run({"resume"}).status, 0);
    const auto resumed = monotonicNow();
    record(400ms);
    window.command("go");
    record(1s);
    const auto askedToStop = monotonicNow();
    const auto saved = program.run({"toggle"});
    const auto stopped = monotonicNow();
    ASSERT_EQ(saved.status, 0) << saved.messages;
    const auto clip = readClip(saved.lastLine());
    ASSERT_TRUE(clip.video && !clip.video->pictures.empty());
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_EQ(clip.video->pictures.front().reading.number(), still);
    const auto& pictures = clip.video->pictures;
    const auto next =
        std::find_if(pictures.begin(), pictures.end(), [&](const ClipPicture& picture) { return picture.time > recorded - 0.1; });
    ASSERT_NE(next, pictures.end());
    EXPECT_EQ(next->reading.number(), still) << "it goes on with what the window shows";
    EXPECT_NE(pictures.back().reading.number(), still);
    // What a key frame that nobody asks for would cost is half a second.
    EXPECT_GT(clip.duration, recorded + static_cast<double>(askedToStop - resumed) * nanosecond - 0.3);
    EXPECT_LT(clip.duration, recorded + static_cast<double>(stopped - askedToResume) * nanosecond + 0.5) << "the pause is not in it";
}

TEST_F(PauseTest, ItIsSaidEverywhereAndEndsWithTheRecording)
{
    const NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    TrayProgram program;
    const auto refused = program.run({"pause"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.messages, HasSubstr("Nothing is being recorded."));
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    record(800ms);
    EXPECT_EQ(program.run({"pause", "--toggle"}).output, "The recording is paused.\n");
    const double paused = program.status().value(QLatin1String("recordingSeconds")).toDouble();
    EXPECT_THAT(program.run({"status"}).output, HasSubstr("The recording is paused.\n"));
    EXPECT_TRUE(program.status().value(QLatin1String("isPaused")).toBool());
    EXPECT_EQ(program.status().value(QLatin1String("state")).toString(), QStringLiteral("recordingClip"));
    record(1s);
    EXPECT_EQ(program.status().value(QLatin1String("recordingSeconds")).toDouble(), paused);
    const auto saved = program.run({"toggle"});
    ASSERT_EQ(saved.status, 0) << saved.messages;
    const auto clip = readClip(saved.lastLine());
    EXPECT_THAT(clip.complaints, IsEmpty());
    ASSERT_TRUE(clip.video);
    // A picture is stamped before it is encoded and counted.
    EXPECT_LT(clip.duration, paused + 0.5) << "the pause is not in it";
    EXPECT_GT(clip.video->pictures.size(), 5U);
    EXPECT_FALSE(program.status().contains(QLatin1String("isPaused")));
}

TEST_F(PauseTest, TheSmallWindowPausesWithAClick)
{
    const AssistiveTechnology assistiveTechnology;
    const NumberedWindow window{{"--size", "320x240", "--position", "1,1"}};
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("menu item", "⏸️ Pause Recording"));
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "⏸️ Pause Recording"));
    ASSERT_TRUE(waitUntil([&] { return program.status().value(QLatin1String("isPaused")).toBool(); }));
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "▶️ Resume Recording"));
    EXPECT_TRUE(waitUntil([&] { return !program.status().value(QLatin1String("isPaused")).toBool(true); }));
    EXPECT_EQ(program.run({"toggle"}).status, 0);
    EXPECT_TRUE(AssistiveTechnology::isAbsent("menu item", "⏸️ Pause Recording"));
}

TEST_F(PauseTest, WhatWasRecordedBeforeAPauseSurvivesACrashInIt)
{
    const NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    record(400ms);
    ASSERT_EQ(program.run({"pause"}).status, 0);
    const double recorded = program.status().value(QLatin1String("recordingSeconds")).toDouble();
    record(1s);
    program.crash();
    const auto clips = program.clips();
    ASSERT_EQ(clips.size(), 1U);
    const auto clip = readClip(clips.front());
    ASSERT_TRUE(clip.opened && clip.video);
    ASSERT_FALSE(clip.video->pictures.empty());
    EXPECT_GT(clip.video->pictures.back().time, recorded - 0.25) << "of " << recorded;
    program.startAgain();
}

}  // namespace
}  // namespace velmora::test
