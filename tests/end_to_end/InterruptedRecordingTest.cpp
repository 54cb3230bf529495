// Recordings that nobody ended: what is left of them, and how it is made whole.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace velmora::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string bytesOf(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

class InterruptedRecordingTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return directory_.path() / name; }

    static std::vector<std::uint32_t> numbersIn(const RecordedClip& clip)
    {
        std::vector<std::uint32_t> numbers;
        for (const auto& picture : clip.video->pictures) {
            if (const auto number = picture.reading.number())
                numbers.push_back(*number);
        }
        return numbers;
    }

    TemporaryDirectory directory_;
};

TEST_F(InterruptedRecordingTest, AfterAKillAtAnyMomentTheFilePlaysToWithinASecondAndRepairMakesItOrdinary)
{
    writeTone(path("tone.wav"), 440, 180);
    const NumberedWindow window{{"--size", "640x480"}, path("tone.wav")};
    awaitPlayingStreams(1);
    const auto seed = std::random_device{}();
    std::printf("moments by seed %u:", seed);
    std::mt19937 random{seed};
    std::vector<double> losses;
    for (int round = 0; round < 6; ++round) {
        const auto file = path("clip" + std::to_string(round) + ".mp4");
        const std::chrono::milliseconds moment{std::uniform_int_distribution<int>{1500, 3500}(random)};
        SCOPED_TRACE("killed after " + std::to_string(moment.count()) + " ms");
        std::printf(" %lld", static_cast<long long>(moment.count()));
        RecordingProcess recording{window.id(), file};
        ASSERT_TRUE(recording.hasFile());
        std::this_thread::sleep_for(moment);
        const auto killed = monotonicNow();
        recording.signal(SIGKILL);
        EXPECT_EQ(recording.finish().status, std::nullopt);

        const auto cut = readClip(file);
        ASSERT_TRUE(cut.opened && cut.video && cut.audio);
        EXPECT_THAT(cut.complaints, IsEmpty());
        const auto numbers = numbersIn(cut);
        ASSERT_FALSE(numbers.empty());
        EXPECT_EQ(numbers.size(), cut.video->pictures.size());
        const auto shown = window.shown();
        ASSERT_TRUE(shown.contains(numbers.back()));
        losses.push_back(static_cast<double>(killed - shown.at(numbers.back())) / 1e9);
        // A busy machine keeps pictures on their way to the file for a while.
        EXPECT_LT(losses.back(), 2);

        const auto repair = runVelmora({"repair", file.string()});
        EXPECT_EQ(repair.status, 0) << repair.messages;
        EXPECT_EQ(repair.output, file.string() + "\n");
        const auto boxes = topLevelBoxes(file);
        EXPECT_THAT(boxes, Contains("moov"));
        EXPECT_LT(std::find(boxes.begin(), boxes.end(), "moov"), std::find(boxes.begin(), boxes.end(), "mdat"));
        EXPECT_THAT(boxes, Not(Contains("moof")));
        const auto whole = readClip(file);
        ASSERT_TRUE(whole.opened && whole.video && whole.audio);
        EXPECT_THAT(whole.complaints, IsEmpty());
        EXPECT_EQ(numbersIn(whole), numbers);
        EXPECT_EQ(whole.audio->packets.size(), cut.audio->packets.size());

        const auto content = bytesOf(file);
        const auto again = runVelmora({"repair", file.string()});
        EXPECT_EQ(again.status, 0);
        EXPECT_THAT(again.messages, HasSubstr("Nothing to repair"));
        EXPECT_TRUE(bytesOf(file) == content) << "a whole file was changed";
    }
    std::printf("\nlongest loss %.0f ms\n", *std::max_element(losses.begin(), losses.end()) * 1e3);
    EXPECT_LT(median(losses), 1);
}

TEST_F(InterruptedRecordingTest, AFinishedRecordingIsLeftAsItIs)
{
    const NumberedWindow window{{"--size", "320x240"}};
    ASSERT_EQ(record(window.id(), path("clip.mp4"), 1.5).status, 0);
    const auto content = bytesOf(path("clip.mp4"));
    const auto written = std::filesystem::last_write_time(path("clip.mp4"));
    const auto outcome = runVelmora({"repair", path("clip.mp4").string()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, path("clip.mp4").string() + "\n");
    EXPECT_THAT(outcome.messages, HasSubstr("Nothing to repair"));
    EXPECT_TRUE(bytesOf(path("clip.mp4")) == content);
    EXPECT_EQ(std::filesystem::last_write_time(path("clip.mp4")), written);
}

TEST_F(InterruptedRecordingTest, AFileThatIsBeingRecordedIsNotRepairedAndItsRecordingGoesOn)
{
    const NumberedWindow window{{"--size", "640x480"}};
    RecordingProcess recording{window.id(), path("clip.mp4")};
    ASSERT_TRUE(recording.hasFragment());
    const auto outcome = runVelmora({"repair", path("clip.mp4").string()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, HasSubstr("still being recorded"));
    const auto refused = std::filesystem::file_size(path("clip.mp4"));
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::file_size(path("clip.mp4")) > refused; })) << "nothing has been written since";
    recording.signal(SIGTERM);
    const auto recorded = recording.finish();
    EXPECT_EQ(recorded.status, 0) << recorded.messages;
    const auto clip = readClip(path("clip.mp4"));
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_EQ(numbersIn(clip).size(), clip.video->pictures.size());
    EXPECT_THAT(topLevelBoxes(path("clip.mp4")), Not(Contains("moof")));
}

TEST_F(InterruptedRecordingTest, AFileOfAnotherProgramIsNotTouched)
{
    makeClip(path("foreign.mp4"), "testsrc2=s=320x240:r=30", "sine", 1);
    std::filesystem::resize_file(path("foreign.mp4"), std::filesystem::file_size(path("foreign.mp4")) / 2);
    const auto content = bytesOf(path("foreign.mp4"));
    const auto outcome = runVelmora({"repair", path("foreign.mp4").string()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, HasSubstr("Cannot repair " + path("foreign.mp4").string()));
    EXPECT_TRUE(bytesOf(path("foreign.mp4")) == content);
}

}  // namespace
}  // namespace velmora::test
