// The program goes on when what it relies on goes away.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/sound/SoundServer.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <numeric>
#include <optional>
#include <poll.h>
#include <span>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;

bool indexLiesInFront(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    std::string start(80, '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    return start.find("moov") != std::string::npos;
}

void expectAClip(const std::filesystem::path& file)
{
    const auto clip = readClip(file);
    ASSERT_TRUE(clip.opened && clip.video) << file;
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_GT(clip.video->pictures.size(), 3U);
}

/// How often the threads of a process have gone to sleep so far.
std::map<std::string, long> sleeps(pid_t process)
{
    std::map<std::string, long> counts;
    for (const auto& task : std::filesystem::directory_iterator{"/proc/" + std::to_string(process) + "/task"}) {
        std::ifstream status{task.path() / "status"};
        std::string name;
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("Name:"))
                name = line.substr(6) + " " + task.path().filename().string();
            else if (line.starts_with("voluntary_ctxt_switches:"))
                counts[name] = std::atol(line.c_str() + line.find(':') + 1);
        }
    }
    return counts;
}

/// Processes with that name in the desktop of this test.
std::vector<pid_t> processesOfThisDesktop(const std::string& name)
{
    const auto mark = std::string{"XDG_RUNTIME_DIR="} + std::getenv("XDG_RUNTIME_DIR") + '\0';
    std::vector<pid_t> processes;
    for (const auto& entry : std::filesystem::directory_iterator{"/proc"}) {
        std::ifstream nameFile{entry.path() / "comm"};
        std::string found;
        if (!std::getline(nameFile, found) || found != name)
            continue;
        std::ifstream environmentFile{entry.path() / "environ", std::ios::binary};
        const std::string environment{std::istreambuf_iterator<char>{environmentFile}, {}};
        if (environment.find(mark) != std::string::npos)
            processes.push_back(std::atoi(entry.path().filename().c_str()));
    }
    return processes;
}

TEST(ServiceFaults, WithNoWindowChosenAndNoneOpenTheProgramSleeps)
{
    const Panel panel;
    TrayProgram program;
    // What its start leaves to be done has been done.
    auto before = sleeps(program.processID());
    ASSERT_TRUE(waitUntil([&] {
        record(500ms);
        return std::exchange(before, sleeps(program.processID())) == before;
    }));
    record(4s);
    EXPECT_EQ(sleeps(program.processID()), before);
}

TEST(ServiceFaults, AfterTheNotificationServiceIsKilledClipsAreSavedAndTheNextServiceShowsThem)
{
    const Panel panel;
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    std::optional<Notifier> notifier{std::in_place};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    notifier->kill();
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    expectAClip(program.lastSavedClip());
    EXPECT_TRUE(isShown("^Velmora$")) << "the panel in the corner";

    notifier.emplace();
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    EXPECT_TRUE(waitUntil([&] { return notifier->displayedCount() == 1; }));
}

TEST(ServiceFaults, AfterThePanelIsKilledInMidRecordingTheShortcutSavesTheClip)
{
    std::optional<Panel> panel{std::in_place};
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    panel->kill();
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    expectAClip(program.lastSavedClip());
}

TEST(ServiceFaults, AClipsFolderThatWasDeletedIsMadeAnew)
{
    const Panel panel;
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    std::filesystem::remove_all(program.clipsFolder());
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    expectAClip(program.lastSavedClip());
}

TEST(ServiceFaults, AFolderDeletedInMidRecordingIsToldAndTheNextRecordingIsSaved)
{
    const AssistiveTechnology assistiveTechnology;
    const Panel panel;
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    ASSERT_TRUE(waitUntil([&] { return !program.clips().empty(); }));
    std::filesystem::remove_all(program.clipsFolder());
    record(1200ms);
    pressKeys({"alt+super+c"});
    ASSERT_TRUE(isShown("^Velmora$")) << "the alert";
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "OK"));
    // Two presses within half a second count as one.
    record(600ms);
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    expectAClip(program.lastSavedClip());
}

TEST(ServiceFaults, DamagedClipsAreListedAndOpenWithoutHarm)
{
    const auto makeFiles = [](const std::filesystem::path& home) {
        const auto folder = home / "Movies" / "Velmora";
        std::filesystem::create_directories(folder);
        makeClip(folder / "cut.mp4", "testsrc=size=64x64:rate=10", "sine", 2);
        std::filesystem::resize_file(folder / "cut.mp4", std::filesystem::file_size(folder / "cut.mp4") / 2);
        std::ofstream{folder / "empty.mp4"};
        std::ofstream{folder / "noise.mp4"} << std::string(5000, '\x9d') << "moov";
    };
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = makeFiles}};
    // Without a tray the menu is open.
    for (const auto* name : {"cut.mp4", "empty.mp4", "noise.mp4"}) {
        EXPECT_TRUE(AssistiveTechnology::find("menu item", std::string{name} + " (0:00)"));
        EXPECT_EQ(program.run({"preview", (program.clipsFolder() / name).string()}).status, 0);
        EXPECT_TRUE(isShown(std::string{"Preview & Trim — "} + name));
    }
}

TEST(ServiceFaults, ARecordingThatACrashCutOffIsWholeAtTheNextStart)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    std::filesystem::path file;
    const auto crash = [&](const std::filesystem::path& home) {
        const auto folder = home / "Movies" / "Velmora";
        std::filesystem::create_directories(folder);
        file = folder / "cut off.mp4";
        RecordingProcess recording{window.id(), file};
        ASSERT_TRUE(recording.hasFragment());
        record(1500ms);
        recording.signal(SIGKILL);
        recording.finish();
    };
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = crash}};
    EXPECT_TRUE(AssistiveTechnology::find("menu item", "cut off.mp4 (0:0"));
    // An unfinished file begins with the space that the index is written into.
    EXPECT_TRUE(waitUntil([&] { return indexLiesInFront(file); }));
    expectAClip(file);
}

/// As if it had crashed. Its environment is gone before its sockets and locks are, which only the end of its last thread releases.
void killAndAwait(pid_t process)
{
    pollfd handle{static_cast<int>(::syscall(SYS_pidfd_open, process, 0)), POLLIN, 0};
    ASSERT_GE(handle.fd, 0);
    EXPECT_EQ(::kill(process, SIGKILL), 0);
    EXPECT_EQ(::poll(&handle, 1, 20'000), 1);
    ::close(handle.fd);
}

void killSoundServers()
{
    for (const auto* name : {"pipewire-pulse", "wireplumber", "pipewire"}) {
        for (const auto server : processesOfThisDesktop(name))
            ASSERT_NO_FATAL_FAILURE(killAndAwait(server));
        ASSERT_THAT(processesOfThisDesktop(name), IsEmpty());
    }
}

// The last ones: the desktop has no sound of its own afterwards.
TEST(ServiceFaults, WhenTheSoundServerIsKilledTheRecordingGoesOn)
{
    const Panel panel;
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    record(600ms);
    killSoundServers();
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    expectAClip(program.lastSavedClip());
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    expectAClip(program.lastSavedClip());
}

/// The desktop's, once its own is gone.
struct SoundServers {
    Program pipeWire{{"pipewire"}};
    bool isThere = waitUntil([] { return runProgram({"pw-cli", "info", "0"}).status == 0; });
    Program wirePlumber{{"wireplumber"}};
    Program pulse{{"pipewire-pulse"}};
};

/// Whether the clip has the players' tone at that second, at their level.
bool isHeardAt(const RecordedClip& clip, double second)
{
    const auto begin = static_cast<std::size_t>(second * clip.audio->sampleRate) * 2;
    const std::span<const float> samples{clip.audio->samples};
    if (begin + 9600 > samples.size())
        return false;
    const auto part = samples.subspan(begin, 9600);
    return std::any_of(part.begin(), part.end(), [](float sample) { return std::abs(sample) > 0.3F; });
}

TEST(ServiceFaults, ASoundServerThatComesBackInMidRecordingIsHeardAgain)
{
    const TemporaryDirectory directory;
    writeTone(directory.path() / "440.wav", 440, 60);
    killSoundServers();
    std::optional<SoundServers> servers{std::in_place};
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}, directory.path() / "440.wav"};
    awaitPlayingStreams(1);
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    record(1500ms);
    killSoundServers();
    servers.reset();
    servers.emplace();
    awaitPlayingStreams(1);
    record(4s);
    ASSERT_TRUE(program.saveByShortcut());

    const auto clip = readClip(program.lastSavedClip());
    EXPECT_THAT(clip.complaints, IsEmpty());
    ASSERT_TRUE(clip.video && clip.audio);
    EXPECT_NEAR(clip.audio->duration, clip.video->duration, 0.5);
    EXPECT_TRUE(isHeardAt(clip, 0.8));
    EXPECT_TRUE(isHeardAt(clip, clip.audio->duration - 0.8));
}

TEST(ServiceFaults, AWindowThatWasChosenWhileNoSoundServerRanIsHeardOnceOneDoes)
{
    killSoundServers();
    const TemporaryDirectory directory;
    writeTone(directory.path() / "440.wav", 440, 60);
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}, directory.path() / "440.wav"};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    EXPECT_FALSE(readClip(program.lastSavedClip()).audio) << "there is nothing to be heard";

    const SoundServers servers;
    awaitPlayingStreams(1);
    record(1s);
    ASSERT_TRUE(program.startByShortcut());
    record(2s);
    ASSERT_TRUE(program.saveByShortcut());
    const auto clip = readClip(program.lastSavedClip());
    EXPECT_THAT(clip.complaints, IsEmpty());
    ASSERT_TRUE(clip.video && clip.audio);
    EXPECT_TRUE(isHeardAt(clip, 0.3));
    EXPECT_GT(clip.audio->levels(440, 1000, 0).tone, -20);
}

}  // namespace
}  // namespace velmora::test
