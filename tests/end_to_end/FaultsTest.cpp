// What is left of recordings and parts when the program, its disk or its display ends in the middle. A few faults of each kind; scripts/faults
// raises the counts.

#include "tests/support/FolderContents.h"
#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/SecondDisplay.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/media/WrittenClip.h"
#include "tests/support/recording/FaultReport.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <random>
#include <set>

namespace velmora::test {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::vector<std::uint32_t> numbersIn(const RecordedClip& clip)
{
    std::vector<std::uint32_t> numbers;
    if (clip.video) {
        for (const auto& picture : clip.video->pictures)
            numbers.push_back(picture.reading.number().value_or(0xFFFFFFFF));
    }
    return numbers;
}

std::size_t packetsOfSound(const RecordedClip& clip)
{
    return clip.audio ? clip.audio->packets.size() : 0;
}

bool isFinished(const std::filesystem::path& file)
{
    const auto boxes = topLevelBoxes(file);
    const auto index = std::find(boxes.begin(), boxes.end(), "moov");
    const auto media = std::find(boxes.begin(), boxes.end(), "mdat");
    return media != boxes.end() && index < media && std::find(boxes.begin(), boxes.end(), "moof") == boxes.end();
}

/// Whether the file shows and plays exactly what `before` did, now as an ordinary MP4.
bool expectWhole(const std::filesystem::path& file, const RecordedClip& before)
{
    if (!waitUntil([&] { return isFinished(file); })) {
        ADD_FAILURE() << file << " was not repaired";
        return false;
    }
    const auto whole = readClip(file);
    EXPECT_TRUE(whole.opened && whole.video);
    EXPECT_THAT(whole.complaints, IsEmpty());
    EXPECT_EQ(numbersIn(whole), numbersIn(before));
    EXPECT_EQ(packetsOfSound(whole), packetsOfSound(before));
    return whole.opened && whole.video && whole.complaints.empty() && numbersIn(whole) == numbersIn(before)
        && packetsOfSound(whole) == packetsOfSound(before);
}

/// The only file in the clips folder that is not in `known`; none.
std::optional<std::filesystem::path> newClip(const TrayProgram& program, std::set<std::filesystem::path>& known)
{
    std::optional<std::filesystem::path> found;
    for (const auto& file : program.clips()) {
        if (known.insert(file).second) {
            EXPECT_FALSE(found) << file << " is a second one";
            found = file;
        }
    }
    return found;
}

/// Whether there is a picture in a recording that was cut off: a copy of it can be repaired.
bool hasPictures(const std::filesystem::path& file, const std::filesystem::path& scratch)
{
    std::filesystem::copy_file(file, scratch, std::filesystem::copy_options::overwrite_existing);
    const auto repair = runVelmora({"repair", scratch.string()});
    if (repair.status == 0)
        return true;
    EXPECT_THAT(repair.messages, AnyOf(HasSubstr("Nothing was recorded"), HasSubstr("is not an MP4 file")))
        << "an unfinished recording that cannot be repaired";
    return false;
}

TEST(Faults, AfterAKillAtAnyMomentTheNextStartBringsTheClipBackWithAllThatHadBeenWritten)
{
    const int kills = faultCount("VELMORA_FAULT_KILLS", 5);
    const auto seed = faultSeed();
    std::printf("moments by seed %u\n", seed);
    std::mt19937 random{seed};
    const auto milliseconds = [&random](int from, int to) {
        return std::chrono::milliseconds{std::uniform_int_distribution<int>{from, to}(random)};
    };
    const TemporaryDirectory scratch;
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    std::optional<NumberedWindow> window;
    std::set<std::filesystem::path> known;
    int held = 0;
    int begun = 0;
    int empty = 0;
    int finished = 0;
    int lostMore = 0;
    double longestLoss = 0;
    for (int round = 0; round < kills; ++round) {
        // Its tone is shorter than a long run.
        if (round % 10 == 0) {
            window.reset();
            writeTone(scratch.path() / "tone.wav", 440, 300);
            window.emplace(std::vector<std::string>{"--size", "640x480"}, scratch.path() / "tone.wav");
        }
        ASSERT_EQ(program.run({"select", std::to_string(window->id())}).status, 0);
        // Three of four while it begins and records, the fourth while it saves.
        const bool whileSaving = round % 4 == 3;
        std::optional<Program> toggle{std::in_place, velmora({"toggle"}), program.environment()};
        std::chrono::milliseconds moment = milliseconds(0, 3000);
        if (whileSaving) {
            ASSERT_EQ(toggle->finish().status, 0);
            record(milliseconds(600, 1500));
            moment = milliseconds(0, 60);
            toggle.emplace(velmora({"toggle"}), program.environment());
        }
        record(moment);
        const auto killed = monotonicNow();
        program.crash();
        toggle->finish();
        SCOPED_TRACE(
            "round " + std::to_string(round) + ", after " + std::to_string(moment.count()) + " ms" + (whileSaving ? " of saving" : ""));

        const auto failuresBefore = ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
        const auto clip = newClip(program, known);
        const bool wasFinished = clip && isFinished(*clip);
        const bool hasContent = clip && (wasFinished || hasPictures(*clip, scratch.path() / "copy.mp4"));
        const auto before = hasContent ? readClip(*clip) : RecordedClip{};
        program.startAgain();
        if (clip) {
            ++begun;
            EXPECT_TRUE(AssistiveTechnology::find("menu item", clip->filename().string() + " (")) << "the clip is not listed";
            if (!hasContent)
                ++empty;
            finished += wasFinished;
        }
        if (hasContent && expectWhole(*clip, before) && !whileSaving) {
            const auto shown = window->shown();
            const auto last = shown.find(numbersIn(before).back());
            EXPECT_NE(last, shown.end()) << "a picture that the window never showed";
            if (last != shown.end()) {
                const double loss = static_cast<double>(killed - last->second) / 1e9;
                longestLoss = std::max(longestLoss, loss);
                lostMore += loss > 1;
            }
        }
        held += ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count() == failuresBefore;
    }
    // None was lost while others were made whole.
    EXPECT_EQ(program.clips().size(), static_cast<std::size_t>(begun));
    char figures[300];
    std::snprintf(figures, sizeof figures,
        R"("seed": %u, "clips begun": %d, "without a picture yet": %d, "already whole": %d, "lost more than 1 s": %d, "longest loss ms": %.0f)",
        seed, begun, empty, finished, lostMore, longestLoss * 1e3);
    reportFaults("program killed at a random moment, repaired by the next start", kills, held, figures);
}

TEST(Faults, WhenTheDisplayGoesInMidRecordingTheNextStartFindsTheClip)
{
    const int count = faultCount("VELMORA_FAULT_DISPLAYS", 1);
    int held = 0;
    for (int round = 0; round < count; ++round) {
        SCOPED_TRACE(round);
        const TemporaryDirectory scratch;
        std::optional<SecondDisplay> display{std::in_place, std::vector<std::string>{}};
        std::optional<NumberedWindow> window{std::in_place, std::vector<std::string>{"--size", "320x240"}};
        TrayProgram program;
        ASSERT_EQ(program.run({"select", std::to_string(window->id())}).status, 0);
        ASSERT_EQ(program.run({"toggle"}).status, 0);
        std::set<std::filesystem::path> known;
        std::optional<std::filesystem::path> clip;
        ASSERT_TRUE(waitUntil([&] { return (clip = newClip(program, known)).has_value(); }));
        record(std::chrono::milliseconds{2500});
        display->killServer();
        const auto end = program.awaitEnd();
        EXPECT_NE(end.status, 0) << "it cannot go on without a display";
        window.reset();
        display.reset();
        const bool wasFinished = isFinished(*clip);
        EXPECT_TRUE(wasFinished || hasPictures(*clip, scratch.path() / "copy.mp4"));
        const auto before = readClip(*clip);
        EXPECT_GT(numbersIn(before).size(), 10U);
        program.startAgain();
        held += expectWhole(*clip, before);
    }
    reportFaults("X server killed during a recording, repaired by the next start", count, held);
}

TEST(Faults, WhenTheDisplayGoesARecordingOfTheCommandLineIsSaved)
{
    const TemporaryDirectory folder;
    const auto file = folder.path() / "clip.mp4";
    std::optional<SecondDisplay> display{std::in_place, std::vector<std::string>{}};
    std::optional<NumberedWindow> window{std::in_place, std::vector<std::string>{"--size", "320x240"}};
    RecordingProcess recording{window->id(), file};
    ASSERT_TRUE(recording.hasFragment());
    display->killServer();
    const auto outcome = recording.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, file.string() + "\n");
    EXPECT_EQ(outcome.messages, "The recording ended early: The connection to the X display was lost.\n");
    EXPECT_TRUE(isFinished(file));
    EXPECT_THAT(readClip(file).complaints, IsEmpty());
    window.reset();
}

class FaultyFiles : public ::testing::Test {
protected:
    /// For a program whose files in this test's folder fail that way (tests/support/faults).
    [[nodiscard]] Environment environment(const std::string& fault) const
    {
        return {{"LD_PRELOAD", VELMORA_FAULTY_FILES}, {"VELMORA_FAULT_FILES", folder_.path().string()}, {"VELMORA_FAULT", fault},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"}};
    }

    [[nodiscard]] std::vector<std::string> names() const { return namesIn(folder_.path()); }

    /// Whether a recorder whose disk failed gives the reason, and says that the clip is there exactly when it is.
    [[nodiscard]] static bool saysWhatIsLeft(const ProgramOutcome& outcome, const std::filesystem::path& file)
    {
        const bool isThere = std::filesystem::exists(file);
        return outcome.status == (isThere ? 3 : 1) && outcome.output == (isThere ? file.string() + "\n" : "")
            && outcome.messages.find("Input/output error") != std::string::npos;
    }

    /// What `velmora repair` makes of it is what is in it now. An empty recording is left as it is.
    [[nodiscard]] bool isWholeAfterRepair(const std::filesystem::path& file) const
    {
        if (!std::filesystem::exists(file))
            return true;
        if (!isFinished(file) && !hasPictures(file, scratch_.path() / "copy.mp4"))
            return true;
        const auto before = readClip(file);
        EXPECT_THAT(before.complaints, IsEmpty());
        const auto repair = runVelmora({"repair", file.string()});
        EXPECT_EQ(repair.status, 0) << repair.messages;
        return before.complaints.empty() && repair.status == 0 && expectWhole(file, before);
    }

    TemporaryDirectory folder_;
    TemporaryDirectory scratch_;
};

TEST_F(FaultyFiles, AWriteThatFailsEndsTheRecordingWithItsReasonAndKeepsWhatWasWritten)
{
    const NumberedWindow window{{"--size", "640x480"}};
    const int count = faultCount("VELMORA_FAULT_WRITES", 3);
    int held = 0;
    for (int number = 1; number <= count; ++number) {
        const auto fault = "write:" + std::to_string(number) + (number % 2 == 0 ? ":5" : " only:5");
        SCOPED_TRACE(fault);
        const auto file = folder_.path() / ("clip" + std::to_string(number) + ".mp4");
        const auto outcome = record(window.id(), file, 4, environment(fault));
        const bool tellsTheTruth = saysWhatIsLeft(outcome, file);
        EXPECT_TRUE(tellsTheTruth) << outcome.messages;
        held += tellsTheTruth && isWholeAfterRepair(file);
    }
    reportFaults("the n-th write of a recording fails (EIO), once or for good", count, held);
}

TEST_F(FaultyFiles, AFlushThatFailsEndsTheRecordingWithItsReasonAndKeepsWhatWasWritten)
{
    const NumberedWindow window{{"--size", "640x480"}};
    const int count = faultCount("VELMORA_FAULT_WRITES", 2);
    int held = 0;
    for (int number = 1; number <= count; ++number) {
        const auto fault = "sync:" + std::to_string(number) + ":5";
        SCOPED_TRACE(fault);
        const auto file = folder_.path() / ("clip" + std::to_string(number) + ".mp4");
        const auto outcome = record(window.id(), file, 4, environment(fault));
        const bool tellsTheTruth = saysWhatIsLeft(outcome, file);
        EXPECT_TRUE(tellsTheTruth) << outcome.messages;
        held += tellsTheTruth && isWholeAfterRepair(file);
    }
    reportFaults("the n-th flush of a recording fails (EIO)", count, held);
}

TEST_F(FaultyFiles, WritesThatAreAllCutShortCostNothing)
{
    const NumberedWindow window{{"--size", "640x480"}};
    const auto file = folder_.path() / "clip.mp4";
    const auto outcome = record(window.id(), file, 3, environment("write:1:short"));
    EXPECT_EQ(outcome.status, 0) << outcome.messages;
    const auto clip = readClip(file);
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_TRUE(isFinished(file));
    const auto shown = window.shown();
    bool areAllShown = !numbersIn(clip).empty();
    for (const auto number : numbersIn(clip))
        areAllShown = areAllShown && shown.contains(number);
    EXPECT_TRUE(areAllShown);
    reportFaults("every write of a recording is cut to its half", 1, areAllShown && outcome.status == 0 && clip.complaints.empty());
}

TEST_F(FaultyFiles, ARecorderThatDiesInACallLeavesAFileThatIsMadeWhole)
{
    const NumberedWindow window{{"--size", "640x480"}};
    const int count = faultCount("VELMORA_FAULT_WRITES", 2);
    int held = 0;
    int tried = 0;
    for (const auto* call : {"write", "sync", "truncate"}) {
        for (int number = 1; number <= count; ++number) {
            const auto fault = std::string{call} + ":" + std::to_string(number) + ":kill";
            SCOPED_TRACE(fault);
            const auto file = folder_.path() / (call + std::to_string(number) + ".mp4");
            // One that ends by itself has made fewer such calls.
            const auto outcome = record(window.id(), file, 2, environment(fault));
            ++tried;
            held += (!outcome.status || outcome.status == 0) && isWholeAfterRepair(file);
        }
    }
    reportFaults("recorder killed in its n-th write, flush or truncation", tried, held);
}

TEST_F(FaultyFiles, APartThatIsKilledInTheMiddleLeavesNothingBehindAfterTheNext)
{
    writeClip(scratch_.path() / "clip.mp4", unevenClip(1));
    const auto trim = [this](const std::string& name, const Environment& environment) {
        return runVelmora(
            {"trim", (scratch_.path() / "clip.mp4").string(), "--start", "0.5", "--end", "9", "--output", (folder_.path() / name).string()},
            environment);
    };
    int tried = 0;
    int held = 0;
    for (const auto* call : {"write", "copy", "sync", "rename"}) {
        SCOPED_TRACE(call);
        const auto killed = trim("killed.mp4", environment(std::string{call} + ":1:kill"));
        EXPECT_EQ(killed.status, std::nullopt) << killed.messages;
        const auto left = names();
        ASSERT_EQ(left.size(), 1U);
        EXPECT_TRUE(left[0].starts_with(".velmora-") && left[0].ends_with(".part")) << left[0];
        const auto next = trim("next.mp4", {});
        EXPECT_EQ(next.status, 0) << next.messages;
        EXPECT_THAT(names(), ::testing::ElementsAre("next.mp4"));
        ++tried;
        held += !killed.status && names() == std::vector<std::string>{"next.mp4"};
        std::filesystem::remove(folder_.path() / "next.mp4");
    }
    reportFaults("part killed while it was written, removed by the next one", tried, held);
}

TEST_F(FaultyFiles, APartThatIsKilledIsRemovedByTheNextStartOfTheProgram)
{
    writeClip(scratch_.path() / "clip.mp4", unevenClip(1));
    TrayProgram program;
    program.crash();
    std::filesystem::create_directories(program.clipsFolder());
    auto faulty = environment("write:1:kill");
    faulty["VELMORA_FAULT_FILES"] = program.clipsFolder().string();
    runVelmora({"trim", (scratch_.path() / "clip.mp4").string(), "--start", "0.5", "--end", "9", "--output",
                   (program.clipsFolder() / "killed.mp4").string()},
        faulty);
    ASSERT_EQ(program.clips().size(), 1U);
    ASSERT_TRUE(program.clips()[0].filename().string().ends_with(".part"));
    program.startAgain();
    const bool isGone = waitUntil([&] { return program.clips().empty(); });
    EXPECT_TRUE(isGone);
    reportFaults("part killed while it was written, removed by the next start", 1, isGone);
}

TEST(Faults, AnEndWhileAClipIsSavedOnASlowDiskWaitsForTheLastOfItAndSaysSo)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program{{.environment = {{"LD_PRELOAD", VELMORA_FAULTY_FILES}, {"VELMORA_FAULT_FILES", "Velmora-Recording-"},
                             {"VELMORA_FAULT", "sync:1:late"}}}};
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    record(std::chrono::seconds{3});
    auto environment = program.environment();
    environment.erase("LD_PRELOAD");
    const auto asked = monotonicNow();
    Program toggle{velmora({"toggle"}), environment};
    ASSERT_TRUE(waitUntil([&] { return !program.status().value(QStringLiteral("isRecording")).toBool(); }));
    program.signal(SIGTERM);
    EXPECT_TRUE(
        waitUntil([&] { return program.status().value(QStringLiteral("notice")).toString().startsWith(QLatin1String{"Saving a clip."}); }));
    EXPECT_EQ(program.awaitEnd().status, 0);
    const auto outcome = toggle.finish();
    EXPECT_EQ(outcome.status, 0) << outcome.messages;
    const auto clips = program.clips();
    ASSERT_EQ(clips.size(), 1U);
    EXPECT_EQ(outcome.output, clips[0].string() + "\n");
    EXPECT_TRUE(isFinished(clips[0]));
    const auto clip = readClip(clips[0]);
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_THAT(clip.complaints, IsEmpty());
    const auto shown = window.shown();
    const auto last = shown.find(numbersIn(clip).back());
    ASSERT_NE(last, shown.end());
    EXPECT_LT(static_cast<double>(asked - last->second) / 1e9, 1.0) << "seconds of the clip's end that are missing";
}

}  // namespace
}  // namespace velmora::test
