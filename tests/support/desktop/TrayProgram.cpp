#include "tests/support/desktop/TrayProgram.h"

#include "tests/support/desktop/Screen.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace velmora::test {

using namespace std::chrono_literals;

namespace {

/// All but what Qt says when assistive technology asks for a control that has gone since it was told of it, as a menu's row does when the menu
/// changes. No reader can know, and no program can help it.
std::string complaintsOf(const std::string& messages)
{
    std::istringstream lines{messages};
    std::string complaints;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("qt.accessibility.atspi: Could not find accessible on path: "))
            complaints += line + '\n';
    }
    return complaints;
}

}  // namespace

TrayProgram::TrayProgram(const Options& options) : environment_(options.environment), launcher_(options.launcher)
{
    environment_.insert(
        {{"HOME", home().string()}, {"XDG_CONFIG_HOME", (home() / "config").string()}, {"XDG_DATA_HOME", (home() / "data").string()},
            {"XDG_STATE_HOME", (home() / "state").string()}, {"XDG_CACHE_HOME", (home() / "cache").string()}});
    const auto configuration = home() / "config" / "velmora";
    std::filesystem::create_directories(configuration);
    if (options.hasSeenTheWalkthrough)
        std::ofstream{configuration / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
    if (options.prepareHome)
        options.prepareHome(home());
    start();
}

TrayProgram::~TrayProgram()
{
    quit();
}

void TrayProgram::restart()
{
    quit();
    start();
}

void TrayProgram::crash()
{
    program_->signal(SIGKILL);
    EXPECT_EQ(awaitEnd().status, std::nullopt);
}

ProgramOutcome TrayProgram::awaitEnd()
{
    auto outcome = program_->finish();
    program_.reset();
    return outcome;
}

void TrayProgram::start()
{
    auto command = launcher_;
    const auto program = velmora({});
    command.insert(command.end(), program.begin(), program.end());
    program_.emplace(std::move(command), environment_);
    if (!waitUntil([this] { return run({"status"}).status == 0 || !program_->isRunning(); }) || !program_->isRunning())
        throw std::runtime_error("the program does not answer");
}

void TrayProgram::quit()
{
    if (!program_)
        return;
    if (program_->isRunning())
        run({"quit"});
    const auto outcome = program_->finish();
    EXPECT_EQ(outcome.status, 0) << outcome.messages;
    EXPECT_EQ(complaintsOf(outcome.messages), "");
}

QJsonObject TrayProgram::status()
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(run({"status", "--json"}).output)).object();
}

bool TrayProgram::hasState(const char* state)
{
    return waitUntil([&] { return status().value(QStringLiteral("state")).toString() == QLatin1String{state}; });
}

std::string TrayProgram::lastSavedClip()
{
    return status().value(QStringLiteral("lastSavedClip")).toString().toStdString();
}

bool TrayProgram::startByShortcut()
{
    pressShortcut();
    const bool isRecording = hasState("recordingClip");
    shortcutWasTaken_ = std::chrono::steady_clock::now();
    return isRecording;
}

bool TrayProgram::saveByShortcut()
{
    const auto before = lastSavedClip();
    pressShortcut();
    const bool isSaved = waitUntil([&] { return lastSavedClip() != before; });
    shortcutWasTaken_ = std::chrono::steady_clock::now();
    return isSaved;
}

void TrayProgram::pressShortcut()
{
    // Two presses within half a second count as one, counted from when the program heard of the first.
    std::this_thread::sleep_until(shortcutWasTaken_ + 510ms);
    pressKeys({"alt+super+c"});
}

std::vector<std::filesystem::path> TrayProgram::clips() const
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::exists(clipsFolder())) {
        for (const auto& entry : std::filesystem::directory_iterator{clipsFolder()})
            files.push_back(entry.path());
    }
    return files;
}

std::vector<std::string> TrayProgram::storedFiles() const
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator{home()}) {
        const auto name = entry.path().lexically_relative(home()).string();
        if (!entry.is_directory() && entry.path().parent_path() != clipsFolder() && name != "config/pulse/cookie")
            files.push_back(name);
    }
    std::sort(files.begin(), files.end());
    return files;
}

void record(std::chrono::milliseconds duration)
{
    const auto end = monotonicNow() + std::chrono::nanoseconds{duration}.count();
    waitUntil([&] { return monotonicNow() >= end; });
}

}  // namespace velmora::test
