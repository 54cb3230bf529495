// The program itself, running in its desktop until the test ends, with a home of its own.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <QJsonObject>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

class TrayProgram {
public:
    struct Options {
        bool hasSeenTheWalkthrough = true;
        Environment environment = {};
        std::vector<std::string> launcher = {};  ///< a command that becomes the program when its arguments are the program
        std::function<void(const std::filesystem::path& home)> prepareHome = {};  ///< before the start
    };

    TrayProgram() : TrayProgram(Options{}) { }

    /// Waits until it answers commands.
    explicit TrayProgram(const Options& options);

    /// Quits it, and expects it to end well and without complaint.
    ~TrayProgram();
    TrayProgram(const TrayProgram&) = delete;
    TrayProgram& operator=(const TrayProgram&) = delete;

    /// Quits it and starts it again with what it has stored.
    void restart();

    /// Kills it, as if it had crashed.
    void crash();

    /// Waits until it ends by itself; returns how it ended.
    ProgramOutcome awaitEnd();

    /// After either: starts it again with what it has stored.
    void startAgain() { start(); }

    [[nodiscard]] const Environment& environment() const { return environment_; }

    /// Runs it once more with a command, as from a terminal.
    ProgramOutcome run(const std::vector<std::string>& arguments) { return runVelmora(arguments, environment_); }

    [[nodiscard]] QJsonObject status();
    [[nodiscard]] bool hasState(const char* state);
    [[nodiscard]] std::string lastSavedClip();

    /// Starts a recording of the chosen window, or ends the running one, with the real keys, and waits for the state.
    [[nodiscard]] bool startByShortcut();
    [[nodiscard]] bool saveByShortcut();

    [[nodiscard]] std::filesystem::path home() const { return home_.path(); }
    [[nodiscard]] std::filesystem::path clipsFolder() const { return home_.path() / "Movies" / "Velmora"; }
    [[nodiscard]] std::vector<std::filesystem::path> clips() const;

    /// Every file and link in its home, which also holds the folders for configuration, data, state and caches; sorted. Without the clips, and
    /// without the key for sound servers that libpulse makes for whoever uses it first.
    [[nodiscard]] std::vector<std::string> storedFiles() const;

    [[nodiscard]] pid_t processID() const { return program_->processID(); }
    void signal(int number) { program_->signal(number); }
    [[nodiscard]] bool isRunning() const { return program_->isRunning(); }

private:
    void start();
    void quit();
    void pressShortcut();

    TemporaryDirectory home_;
    Environment environment_;
    const std::vector<std::string> launcher_;
    std::optional<Program> program_;
    std::chrono::steady_clock::time_point shortcutWasTaken_;  ///< at the latest
};

/// Lets that much of the desktop's time go by, for what is recorded.
void record(std::chrono::milliseconds duration);

}  // namespace velmora::test
