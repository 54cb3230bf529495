// A program that a test runs beside itself.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmora::test {

/// What the programs started since the last call have said, whether they have ended or are still running. A test that fails
/// prints it (tests/support/FailureReport.cpp).
std::string takeProgramTranscripts();

/// Started by the constructor, in a process group of its own; killed with its group by the destructor, and alone when the test dies.
/// Its standard input and output belong to us.
class ChildProcess {
public:
    /// `arguments[0]` is looked up in PATH. `environment` is added to ours. Standard error goes to `errorFile`, "/dev/stdout" for
    /// the lines of readLine(); without one it is kept for the transcript, or shown at once if VELMORA_TEST_VERBOSE is set.
    explicit ChildProcess(std::vector<std::string> arguments, std::map<std::string, std::string> environment = {},
        const std::filesystem::path& errorFile = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] pid_t processID() const { return processID_; }

    /// Writes one line to its standard input.
    void send(const std::string& line);

    /// The next line of its standard output; none when it ends or the time is up.
    std::optional<std::string> readLine(std::chrono::seconds timeout = std::chrono::seconds{20});

    /// Asks it to end and waits; kills it if it does not within five seconds.
    void terminate();
    void kill();

    void signal(int number);

    /// Whether it has ended, once it has or the time is up.
    [[nodiscard]] bool endsWithin(std::chrono::seconds timeout) const;

    /// Waits until it ends by itself; returns the exit status, none when a signal ended it.
    std::optional<int> wait();

    /// The command, how it ended, and what it has written so far.
    [[nodiscard]] std::string transcript() const;

private:
    const std::string command_;
    const std::filesystem::path errorFile_;
    std::string read_;  ///< from its standard output
    int messages_ = -1;  ///< its standard error, if that is ours to keep
    std::string end_ = "still running";
    pid_t processID_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string buffered_;
};

}  // namespace velmora::test
