#include "tests/support/sound/ChildProcess.h"

#include "base/Mutex.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace velmora::test {

namespace {

// More than anybody reads, and all that most programs say.
constexpr std::size_t longestTranscript = 20'000;

/// Of the test program.
struct Transcripts {
    Mutex mutex;
    std::string ended GUARDED_BY(mutex);
    std::vector<const ChildProcess*> running GUARDED_BY(mutex);
};

Transcripts& transcripts()
{
    static Transcripts instance;
    return instance;
}

std::string joined(const std::vector<std::string>& arguments)
{
    std::string line;
    for (const auto& argument : arguments)
        line += (line.empty() ? "" : " ") + argument;
    return line;
}

std::string lastOf(std::string text)
{
    return text.size() <= longestTranscript ? text : "[…]" + text.substr(text.size() - longestTranscript);
}

std::string contentOf(int descriptor)
{
    std::string content;
    std::array<char, 4096> bytes{};
    for (ssize_t size = 0; (size = ::pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(content.size()))) > 0;)
        content.append(bytes.data(), static_cast<std::size_t>(size));
    return content;
}

std::string contentOf(const std::filesystem::path& file)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored))
        return {};
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

}  // namespace

std::string takeProgramTranscripts()
{
    auto& all = transcripts();
    MutexLock lock(all.mutex);
    auto text = std::exchange(all.ended, {});
    for (const auto* program : all.running)
        text += program->transcript();
    return text;
}

ChildProcess::ChildProcess(
    std::vector<std::string> arguments, std::map<std::string, std::string> environment, const std::filesystem::path& errorFile)
    : command_(joined(arguments))
    , errorFile_(errorFile)
{
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");

    // Everything is prepared before the fork: after it, with threads about, nothing may allocate.
    for (char** variable = environ; *variable; ++variable) {
        const std::string text{*variable};
        environment.emplace(text.substr(0, text.find('=')), text.substr(text.find('=') + 1));
    }
    std::vector<std::string> settings;
    for (const auto& [name, value] : environment)
        settings.push_back(name + "=" + value);
    std::vector<char*> argumentPointers;
    for (auto& argument : arguments)
        argumentPointers.push_back(argument.data());
    argumentPointers.push_back(nullptr);
    std::vector<char*> environmentPointers;
    for (auto& setting : settings)
        environmentPointers.push_back(setting.data());
    environmentPointers.push_back(nullptr);

    const bool quiet = ::getenv("VELMORA_TEST_VERBOSE") == nullptr;
    if (errorFile.empty() && quiet)
        messages_ = ::memfd_create("messages", MFD_CLOEXEC);
    processID_ = ::fork();
    if (processID_ < 0)
        throw std::runtime_error("no fork");
    if (processID_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::setpgid(0, 0);
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        if (!errorFile.empty())
            ::dup2(::open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
        else if (quiet)
            ::dup2(messages_, STDERR_FILENO);
        ::execvpe(argumentPointers[0], argumentPointers.data(), environmentPointers.data());
        ::_exit(127);
    }
    ::setpgid(processID_, processID_);  // here too, so that it has its group whichever of the two runs first
    ::close(in[0]);
    ::close(out[1]);
    input_ = in[1];
    output_ = out[0];
    auto& all = transcripts();
    MutexLock lock(all.mutex);
    all.running.push_back(this);
}

ChildProcess::~ChildProcess()
{
    kill();
    // What nobody read.
    ::fcntl(output_, F_SETFL, O_NONBLOCK);
    std::array<char, 4096> bytes{};
    for (ssize_t size = 0; (size = ::read(output_, bytes.data(), bytes.size())) > 0;)
        read_.append(bytes.data(), static_cast<std::size_t>(size));
    {
        auto& all = transcripts();
        MutexLock lock(all.mutex);
        std::erase(all.running, this);
        all.ended = lastOf(all.ended + transcript());
    }
    ::close(input_);
    ::close(output_);
    if (messages_ >= 0)
        ::close(messages_);
}

std::string ChildProcess::transcript() const
{
    const auto part = [](const char* name, const std::string& text) {
        return text.empty() ? std::string{} : std::string{name} + ":\n" + lastOf(text) + (text.ends_with('\n') ? "" : "\n");
    };
    return "--- " + command_ + " (" + end_ + ")\n" + part("output", read_)
        + part("messages", messages_ >= 0 ? contentOf(messages_) : contentOf(errorFile_));
}

void ChildProcess::send(const std::string& line)
{
    const auto text = line + "\n";
    if (::write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the child is not listening");
}

std::optional<std::string> ChildProcess::readLine(std::chrono::seconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        if (const auto end = buffered_.find('\n'); end != std::string::npos) {
            auto line = buffered_.substr(0, end);
            buffered_.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting{output_, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
            return std::nullopt;
        std::array<char, 4096> bytes{};
        const auto count = ::read(output_, bytes.data(), bytes.size());
        // Its last output may have no end of line.
        if (count <= 0)
            return buffered_.empty() ? std::nullopt : std::optional{std::exchange(buffered_, {})};
        buffered_.append(bytes.data(), static_cast<std::size_t>(count));
        read_.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void ChildProcess::terminate()
{
    if (processID_ <= 0)
        return;
    ::kill(processID_, SIGTERM);
    static_cast<void>(endsWithin(std::chrono::seconds{5}));
    kill();
}

void ChildProcess::signal(int number)
{
    if (processID_ > 0)
        ::kill(processID_, number);
}

bool ChildProcess::endsWithin(std::chrono::seconds timeout) const
{
    if (processID_ <= 0)
        return true;
    const int handle = static_cast<int>(::syscall(SYS_pidfd_open, processID_, 0));
    pollfd waiting{handle, POLLIN, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds{timeout}.count()));
    ::close(handle);
    return ready > 0;
}

void ChildProcess::kill()
{
    if (processID_ <= 0)
        return;
    // The whole group: what it started goes with it.
    ::kill(-processID_, SIGKILL);
    ::kill(processID_, SIGKILL);
    wait();
}

std::optional<int> ChildProcess::wait()
{
    if (processID_ <= 0)
        return std::nullopt;
    int status = 0;
    while (::waitpid(processID_, &status, 0) < 0 && errno == EINTR) { }
    processID_ = -1;
    end_ = WIFEXITED(status) ? "status " + std::to_string(WEXITSTATUS(status)) : "signal " + std::to_string(WTERMSIG(status));
    return WIFEXITED(status) ? std::optional{WEXITSTATUS(status)} : std::nullopt;
}

}  // namespace velmora::test
