// What the commands take, say and leave behind.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <sys/stat.h>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class CommandTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return directory_.path() / name; }

    static void expectAClip(const std::filesystem::path& file)
    {
        const auto clip = readClip(file);
        ASSERT_TRUE(clip.opened && clip.video) << file;
        EXPECT_THAT(clip.complaints, IsEmpty());
        EXPECT_THAT(topLevelBoxes(file), ::testing::Not(::testing::Contains("moof")));
    }

    [[nodiscard]] bool isEmptyFolder() const { return std::filesystem::is_empty(directory_.path()); }

    TemporaryDirectory directory_;
};

class WhileRecordingTest : public CommandTest, public ::testing::WithParamInterface<int> { };

TEST_P(WhileRecordingTest, ASignalEndsAndSavesTheRecording)
{
    const NumberedWindow window{{"--size", "320x240"}};
    RecordingProcess recording{window.id(), path("clip.mp4")};
    ASSERT_TRUE(recording.hasFragment());
    recording.signal(GetParam());
    const auto outcome = recording.finish();
    EXPECT_EQ(outcome.status, 0) << outcome.messages;
    EXPECT_EQ(outcome.output, path("clip.mp4").string() + "\n");
    EXPECT_EQ(outcome.messages, "");
    expectAClip(path("clip.mp4"));
}

INSTANTIATE_TEST_SUITE_P(InterruptAndTerminate, WhileRecordingTest, ::testing::Values(SIGINT, SIGTERM));

TEST_F(CommandTest, TheDurationCountsFromTheFirstPicture)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const auto outcome = record(window.id(), path("clip.mp4"), 2);
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    const auto clip = readClip(path("clip.mp4"));
    ASSERT_TRUE(clip.video);
    EXPECT_NEAR(clip.video->duration, 2, 0.6);
}

TEST_F(CommandTest, AFileThatIsThereIsNotOverwritten)
{
    const NumberedWindow window{{"--size", "320x240"}};
    std::ofstream{path("clip.mp4")} << "mine";
    const auto outcome = record(window.id(), path("clip.mp4"), 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, HasSubstr(path("clip.mp4").string() + " already exists"));
    std::ifstream file{path("clip.mp4")};
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>{file}, {}), "mine");
}

TEST_F(CommandTest, ALinkThatLeadsNowhereIsNotFollowed)
{
    const NumberedWindow window{{"--size", "320x240"}};
    std::filesystem::create_symlink(path("nowhere"), path("clip.mp4"));
    const auto outcome = record(window.id(), path("clip.mp4"), 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.messages, HasSubstr("already exists"));
    EXPECT_TRUE(std::filesystem::is_symlink(path("clip.mp4")));
    EXPECT_FALSE(std::filesystem::exists(path("nowhere")));
}

TEST_F(CommandTest, AMissingFolderIsMade)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const auto file = path("a") / "b" / "clip.mp4";
    const auto outcome = record(window.id(), file, 1);
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    expectAClip(file);
}

TEST_F(CommandTest, AFolderThatIsAFileFailsTheStart)
{
    const NumberedWindow window{{"--size", "320x240"}};
    std::ofstream{path("folder")} << "a file";
    const auto outcome = record(window.id(), path("folder") / "clip.mp4", 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, StartsWith("Failed to start recording: "));
    EXPECT_THAT(outcome.messages, HasSubstr("Not a directory"));
    EXPECT_TRUE(std::filesystem::is_regular_file(path("folder")));
}

TEST_F(CommandTest, AFolderThatTakesNoFilesFailsTheStart)
{
    // Not even for root.
    const NumberedWindow window{{"--size", "320x240"}};
    for (const std::filesystem::path file : {"/proc/nowhere/clip.mp4", "/proc/clip.mp4", "/sys/clip.mp4"}) {
        const auto outcome = record(window.id(), file, 1);
        EXPECT_EQ(outcome.status, 1) << file;
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.messages, StartsWith("Failed to start recording: "));
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

TEST_F(CommandTest, WithoutTheCodecsARecordingFailsAtOnceAndLeavesNoFile)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const auto program = path("programs") / "bin" / "velmora";
    std::filesystem::create_directories(program.parent_path());
    std::filesystem::copy_file(velmora({}).front(), program);
    std::filesystem::create_directory(path("clips"));
    const auto outcome = runProgram({program.string(), "record", "--window", std::to_string(window.id()), "--duration", "1", "--output",
        (path("clips") / "clip.mp4").string()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, StartsWith("Failed to start recording: A part of the program could not be loaded: velmora_codecs.so"));
    EXPECT_EQ(std::count(outcome.messages.begin(), outcome.messages.end(), '\n'), 1) << outcome.messages;
    EXPECT_TRUE(std::filesystem::is_empty(path("clips")));
}

TEST_F(CommandTest, AWindowThatDoesNotExistCannotBeRecorded)
{
    const auto outcome = record(4'000'000'000, path("clip.mp4"), 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.messages, "Failed to capture window: Selected window is no longer on screen or available.\n");
    EXPECT_TRUE(isEmptyFolder());
}

TEST_F(CommandTest, AWindowThatIsClosedEndsTheRecordingEarlyAndWhatWasRecordedIsSaved)
{
    NumberedWindow window{{"--size", "320x240"}};
    RecordingProcess recording{window.id(), path("clip.mp4")};
    ASSERT_TRUE(recording.hasFragment());
    window.close();
    const auto outcome = recording.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, path("clip.mp4").string() + "\n");
    EXPECT_EQ(outcome.messages, "The recording ended early: The window was closed.\n");
    expectAClip(path("clip.mp4"));
}

TEST_F(CommandTest, ATerminalThatIsClosedEndsTheRecordingEarlyUnlessItIsToOutliveIt)
{
    const NumberedWindow window{{"--size", "320x240"}};
    RecordingProcess recording{window.id(), path("clip.mp4")};
    ASSERT_TRUE(recording.hasFragment());
    recording.signal(SIGHUP);
    const auto outcome = recording.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, path("clip.mp4").string() + "\n");
    EXPECT_EQ(outcome.messages, "The recording ended early: The terminal was closed.\n");
    expectAClip(path("clip.mp4"));

    Program outliving{{"sh", "-c", "trap '' HUP; exec \"$0\" record --window $1 --output \"$2\"", velmora({}).front(),
        std::to_string(window.id()), path("other.mp4").string()}};
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(path("other.mp4")); }));
    outliving.signal(SIGHUP);
    const auto size = std::filesystem::file_size(path("other.mp4"));
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::file_size(path("other.mp4")) > size || !outliving.isRunning(); }));
    outliving.signal(SIGINT);
    EXPECT_EQ(outliving.finish().status, 0);
}

TEST_F(CommandTest, AFileThatIsMovedMeanwhileIsAFailureThatNamesItsNewPlace)
{
    const NumberedWindow window{{"--size", "320x240"}};
    RecordingProcess recording{window.id(), path("clip.mp4")};
    ASSERT_TRUE(recording.hasFragment());
    std::filesystem::rename(path("clip.mp4"), path("mine.mp4"));
    recording.signal(SIGINT);
    const auto outcome = recording.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, StartsWith("Failed saving recording: "));
    EXPECT_THAT(outcome.messages, HasSubstr("The whole clip is at " + path("mine.mp4").string()));
    expectAClip(path("mine.mp4"));
    EXPECT_FALSE(std::filesystem::exists(path("clip.mp4")));
}

TEST_F(CommandTest, OfTwoRecordersOfOnePathTheFirstKeepsItsFile)
{
    const NumberedWindow window{{"--size", "320x240"}};
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        RecordingProcess first{window.id(), path("clip.mp4"), {"--duration", "1"}};
        RecordingProcess second{window.id(), path("clip.mp4"), {"--duration", "1"}};
        const auto one = first.finish();
        const auto other = second.finish();
        const auto& saved = one.status == 0 ? one : other;
        const auto& refused = one.status == 0 ? other : one;
        EXPECT_EQ(saved.status, 0) << one.messages << other.messages;
        EXPECT_EQ(saved.output, path("clip.mp4").string() + "\n");
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.output, "");
        EXPECT_EQ(refused.messages, path("clip.mp4").string() + " already exists; choose another name.\n");
        expectAClip(path("clip.mp4"));
        std::filesystem::remove(path("clip.mp4"));
    }
}

TEST_F(CommandTest, AFifoAsOutputIsNotOpened)
{
    ASSERT_EQ(::mkfifo(path("clip.mp4").c_str(), 0600), 0);
    const auto outcome = record(1, path("clip.mp4"), 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.messages, path("clip.mp4").string() + " already exists; choose another name.\n");
    EXPECT_TRUE(std::filesystem::is_fifo(path("clip.mp4")));
}

TEST_F(CommandTest, ANameOfAnyBytesIsRecordedRepairedAndTrimmed)
{
    const NumberedWindow window{{"--size", "320x240"}};
    // A control character, bytes that are not UTF-8, and text in several writing systems.
    for (const auto* name : {"caf\xE9 \xFF\x80.mp4", "ﾃｽﾄ – क्लिप.mp4", "a\nb\t.mp4"}) {
        const auto recorded = record(window.id(), path(name), 1);
        ASSERT_EQ(recorded.status, 0) << recorded.messages;
        EXPECT_EQ(recorded.output, path(name).string() + "\n");
        expectAClip(path(name));
        const auto repaired = runVelmora({"repair", path(name).string()});
        EXPECT_EQ(repaired.status, 0) << repaired.messages;
        EXPECT_EQ(repaired.output, path(name).string() + "\n");
        const auto part = path(std::string{"part of "} + name);
        const auto trimmed = runVelmora({"trim", path(name).string(), "--start", "0", "--end", "0.5", "--output", part.string()});
        EXPECT_EQ(trimmed.status, 0) << trimmed.messages;
        EXPECT_EQ(trimmed.output, part.string() + "\n");
        expectAClip(part);
    }
}

TEST_F(CommandTest, AnOutputThatCannotBeExaminedIsAClearError)
{
    std::filesystem::create_symlink(path("loop"), path("loop"));
    std::ofstream{path("clip.mp4")} << "no clip";
    auto deep = directory_.path();
    for (int depth = 0; depth < 2100; ++depth)
        deep /= "a";
    const std::pair<std::string, const char*> outputs[] = {
        {path(std::string(256, 'x')).string(), "File name too long"},
        {(deep / "clip.mp4").string(), "File name too long"},
        {(path("loop") / "clip.mp4").string(), "Too many levels of symbolic links"},
    };
    for (const auto& [output, why] : outputs) {
        for (const auto& arguments : {std::vector<std::string>{"record", "--window", "1", "--duration", "1", "--output", output},
                 {"trim", path("clip.mp4").string(), "--start", "0", "--end", "1", "--output", output}}) {
            const auto outcome = runVelmora(arguments);
            EXPECT_EQ(outcome.status, 1) << arguments[0];
            EXPECT_EQ(outcome.output, "");
            EXPECT_THAT(outcome.messages, ::testing::EndsWith(std::string{why} + "\n")) << arguments[0];
        }
    }
}

TEST_F(CommandTest, WhatCannotBePrintedIsAFailure)
{
    for (const std::string command : {"windows", "windows --json", "--help", "--version"}) {
        const auto outcome = runProgram({"sh", "-c", "exec \"$0\" " + command + " >/dev/full", velmora({}).front()});
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_EQ(outcome.messages, "The output could not be written: No space left on device\n") << command;
    }
}

TEST_F(CommandTest, AFileThatMayNotGrowEndsTheRecordingEarlyInTheSystemsWords)
{
    const NumberedWindow window{{"--size", "640x480", "--motion", "60"}};
    // In blocks of 512 bytes: more than the reserve and some fragments, less than a minute's recording. What the sound server shares
    // with the program is a file too.
    const auto outcome = runProgram({"sh", "-c", "ulimit -f 8000; exec \"$0\" record --window $1 --output \"$2\" --duration 60",
        velmora({}).front(), std::to_string(window.id()), path("clip.mp4").string()});
    EXPECT_EQ(outcome.status, 3) << outcome.messages;
    EXPECT_EQ(outcome.output, path("clip.mp4").string() + "\n");
    EXPECT_THAT(outcome.messages, HasSubstr("File too large"));
    expectAClip(path("clip.mp4"));
}

TEST_F(CommandTest, WrongUseIsToldApartFromFailure)
{
    const std::vector<std::vector<std::string>> wrong{{"play"}, {"windows", "extra"}, {"windows", "--fast"}, {"record"},
        {"record", "--window"}, {"record", "--window", "first"}, {"record", "--window", "-1"},
        {"record", "--window", "1", "--duration", "0"}, {"record", "--window", "1", "--duration", "soon"},
        {"record", "--window", "1", "--output", ""}, {"repair"}, {"repair", "a", "b"}};
    for (const auto& arguments : wrong) {
        const auto outcome = runVelmora(arguments);
        EXPECT_EQ(outcome.status, 2) << ::testing::PrintToString(arguments);
        EXPECT_EQ(outcome.output, "") << ::testing::PrintToString(arguments);
        EXPECT_NE(outcome.messages, "") << ::testing::PrintToString(arguments);
    }
}

TEST_F(CommandTest, HelpNamesEveryCommand)
{
    const auto outcome = runVelmora({"--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.messages, "");
    for (const auto* command : {"velmora windows", "velmora record", "velmora repair"})
        EXPECT_THAT(outcome.output, HasSubstr(command));
}

TEST_F(CommandTest, WithoutADisplayItSaysSo)
{
    const Environment noDisplay{{"DISPLAY", ""}};
    const auto list = runVelmora({"windows"}, noDisplay);
    EXPECT_EQ(list.status, 1);
    EXPECT_EQ(list.output, "");
    EXPECT_THAT(list.messages, HasSubstr("There is no display"));
    const auto recording = record(1, path("clip.mp4"), 1, noDisplay);
    EXPECT_EQ(recording.status, 1);
    EXPECT_THAT(recording.messages, StartsWith("Failed to capture window: There is no display"));
    EXPECT_TRUE(isEmptyFolder());
}

TEST_F(CommandTest, WithADisplayThatDoesNotAnswerItSaysSo)
{
    const auto outcome = record(1, path("clip.mp4"), 1, {{"DISPLAY", ":987654"}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.messages, "Failed to capture window: The X display cannot be reached.\n");
    EXPECT_TRUE(isEmptyFolder());
}

TEST_F(CommandTest, InAWaylandSessionWithoutAPortalTheDialogIsListedAndARecordingSaysWhatIsMissing)
{
    const Environment wayland{{"WAYLAND_DISPLAY", "wayland-0"}};
    const auto list = runVelmora({"windows"}, wayland);
    EXPECT_EQ(list.status, 0);
    EXPECT_THAT(list.output, HasSubstr("Choose a window…"));
    const auto recording = record(1, path("clip.mp4"), 1, wayland);
    EXPECT_EQ(recording.status, 1);
    EXPECT_THAT(recording.messages, StartsWith("Failed to capture window: The desktop has no portal that shares windows: "));
    EXPECT_TRUE(isEmptyFolder());
}

TEST_F(CommandTest, WithoutASoundServerTheClipHasPicturesOnly)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const auto outcome = record(window.id(), path("clip.mp4"), 1.5,
        {{"PIPEWIRE_RUNTIME_DIR", path("nowhere").string()}, {"XDG_RUNTIME_DIR", path("nowhere").string()},
            {"PULSE_SERVER", "unix:" + path("nowhere").string()}});
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    const auto clip = readClip(path("clip.mp4"));
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_FALSE(clip.audio);
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_NEAR(clip.video->duration, 1.5, 0.6);
}

TEST_F(CommandTest, ClipsGoToTheVideosFolderUnderTheTimeOfDay)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const std::regex name{R"(Velmora-Recording-\d{4}-\d\d-\d\d-\d\d-\d\d-\d\d\.mp4)"};
    const auto recordedFile = [&](const std::filesystem::path& home) {
        const auto outcome = runVelmora({"record", "--window", std::to_string(window.id()), "--duration", "1"},
            {{"HOME", home.string()}, {"XDG_CONFIG_HOME", (home / "config").string()}});
        EXPECT_EQ(outcome.status, 0) << outcome.messages;
        return std::filesystem::path{outcome.lastLine()};
    };
    std::filesystem::create_directories(path("chosen") / "config");
    std::ofstream{path("chosen") / "config" / "user-dirs.dirs"} << "XDG_VIDEOS_DIR=\"$HOME/My films\"\n";
    const auto chosen = recordedFile(path("chosen"));
    EXPECT_EQ(chosen.parent_path(), path("chosen") / "My films" / "Velmora");
    EXPECT_TRUE(std::regex_match(chosen.filename().string(), name)) << chosen;
    expectAClip(chosen);

    std::filesystem::create_directory(path("plain"));
    const auto plain = recordedFile(path("plain"));
    EXPECT_EQ(plain.parent_path(), path("plain") / "Movies" / "Velmora");
    EXPECT_TRUE(std::regex_match(plain.filename().string(), name)) << plain;
    expectAClip(plain);
}

/// Inodes of the sockets that a process has open.
std::set<std::string> socketsOf(pid_t process)
{
    std::set<std::string> inodes;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator{"/proc/" + std::to_string(process) + "/fd", ignored}) {
        const auto target = std::filesystem::read_symlink(entry.path(), ignored).string();
        if (target.starts_with("socket:["))
            inodes.insert(target.substr(8, target.size() - 9));
    }
    return inodes;
}

/// Inodes in a table of /proc/net; the first line names the columns, "inode" among them in those of the internet protocols.
std::set<std::string> inodesIn(const std::string& table)
{
    std::set<std::string> inodes;
    std::ifstream file{"/proc/self/net/" + table};
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        std::istringstream fields{line};
        std::vector<std::string> words{std::istream_iterator<std::string>{fields}, {}};
        const std::size_t column = table == "unix" ? 6 : 9;
        if (words.size() > column)
            inodes.insert(words[column]);
    }
    return inodes;
}

TEST_F(CommandTest, ARecordingOpensNoConnectionToTheNetwork)
{
    const NumberedWindow window{{"--size", "320x240"}};
    RecordingProcess recording{window.id(), path("clip.mp4")};
    ASSERT_TRUE(recording.hasFragment());
    const auto sockets = socketsOf(recording.processID());
    // The display's and the sound server's are there, so looking works.
    const auto local = inodesIn("unix");
    EXPECT_TRUE(std::any_of(sockets.begin(), sockets.end(), [&](const auto& inode) { return local.contains(inode); }));
    for (const auto* table : {"tcp", "tcp6", "udp", "udp6", "udplite", "udplite6", "raw", "raw6"}) {
        for (const auto& inode : inodesIn(table))
            EXPECT_FALSE(sockets.contains(inode)) << table << " " << inode;
    }
    recording.signal(SIGINT);
    EXPECT_EQ(recording.finish().status, 0);
}

}  // namespace
}  // namespace velmora::test
