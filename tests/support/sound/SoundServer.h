// A test's own sound servers, with a sink that plays to nobody.
#pragma once

#include "tests/support/sound/ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>

namespace velmora::test {

/// A directory that goes with its owner, and meanwhile is the home and runtime directory of this process and its children. The sound
/// servers of whoever runs the tests are then out of reach.
class PrivateSession {
public:
    PrivateSession();
    ~PrivateSession();
    PrivateSession(const PrivateSession&) = delete;
    PrivateSession& operator=(const PrivateSession&) = delete;

    [[nodiscard]] const std::filesystem::path& directory() const { return directory_; }

private:
    std::map<std::string, std::optional<std::string>> before_;
    std::filesystem::path directory_;
};

/// PipeWire with WirePlumber and the PulseAudio service, and a message bus, which WirePlumber needs.
class PipeWireServer {
public:
    /// Throws when the server does not become ready.
    explicit PipeWireServer(const PrivateSession& session);

    /// Ends the servers at once, as a crash would.
    void kill();
    void restart();

    [[nodiscard]] pid_t processID() const { return pipeWire_->processID(); }

private:
    void startPrograms();

    std::unique_ptr<ChildProcess> bus_;
    std::unique_ptr<ChildProcess> pipeWire_;
    std::unique_ptr<ChildProcess> wirePlumber_;
    std::unique_ptr<ChildProcess> pulse_;
};

/// A real PulseAudio server with two null sinks, "first" (the default) and "second".
class PulseServer {
public:
    explicit PulseServer(const PrivateSession& session);

    /// Ends the server at once, as a crash would.
    void kill() { server_->kill(); }
    void restart();

private:
    void startProgram();

    std::unique_ptr<ChildProcess> server_;
};

/// Runs a program to its end; returns its standard output.
std::string outputOf(std::vector<std::string> arguments);

/// A WAV file of `seconds` of a stereo sine at half of full scale.
void writeTone(const std::filesystem::path& file, double frequency, int seconds);

}  // namespace velmora::test
