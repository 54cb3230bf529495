// The program under test, run as a person or a script runs it, and other programs that run to their end.
#pragma once

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/sound/ChildProcess.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// However slow the machine is: only a failing test waits that long.
inline constexpr std::chrono::seconds patience{60};

using Environment = std::map<std::string, std::string>;

struct ProgramOutcome {
    std::optional<int> status;  ///< none when a signal ended it
    std::string output;
    std::string messages;  ///< standard error, without what follows
    std::string loss;  ///< the line there about pictures for which the machine was too slow, which it may be in any test; else empty

    [[nodiscard]] std::string lastLine() const;
};

/// One run of a program.
class Program {
public:
    explicit Program(std::vector<std::string> arguments, Environment environment = {});

    [[nodiscard]] pid_t processID() const { return process_.processID(); }
    [[nodiscard]] bool isRunning() const { return !process_.endsWithin(std::chrono::seconds{0}); }
    void signal(int number) { process_.signal(number); }

    /// Waits for its end; kills it, as if by a signal, if that does not come.
    ProgramOutcome finish();

private:
    TemporaryDirectory directory_;
    ChildProcess process_;
};

ProgramOutcome runProgram(std::vector<std::string> arguments, Environment environment = {});

/// `arguments`, preceded by the program under test.
std::vector<std::string> velmora(std::vector<std::string> arguments);
ProgramOutcome runVelmora(std::vector<std::string> arguments, Environment environment = {});

/// Polls until the condition holds; false if it never does.
bool waitUntil(const std::function<bool()>& condition);

/// CLOCK_MONOTONIC nanoseconds, in which the frames of a numbered window are timed.
std::int64_t monotonicNow();

struct ListedWindow {
    std::uint32_t id = 0;
    std::string title;
    std::string appName;
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool isOnScreen = false;
};

/// What `velmora windows --json` says, topmost first. Throws when it fails.
std::vector<ListedWindow> listWindows();

/// The window with that title, once it is listed as on the screen. Throws when it never is.
ListedWindow awaitWindow(const std::string& title);

/// `velmora record`, running.
class RecordingProcess {
public:
    /// `arguments` come after the window and the file.
    RecordingProcess(
        std::uint32_t window, std::filesystem::path file, const std::vector<std::string>& arguments = {}, Environment environment = {});

    [[nodiscard]] pid_t processID() const { return program_.processID(); }
    [[nodiscard]] const std::filesystem::path& file() const { return file_; }

    /// Waits for the file, or for the first fragment in it. False when it never comes.
    bool hasFile() const;
    bool hasFragment() const;

    void signal(int number) { program_.signal(number); }
    ProgramOutcome finish() { return program_.finish(); }

private:
    std::filesystem::path file_;
    Program program_;
};

/// Records to the end.
ProgramOutcome record(std::uint32_t window, const std::filesystem::path& file, double seconds, Environment environment = {});

}  // namespace velmora::test
