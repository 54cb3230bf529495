#include "platform/linux/kernel/BoundedQuestions.h"

#include "base/MonotonicClock.h"
#include "platform/linux/kernel/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

struct Asked {
    pid_t process = -1;
    FileDescriptor answer;
    std::string text;
};

/// Never returns.
[[noreturn]] void answer(const Question& question, int descriptor)
{
    // Whoever asked may be killed; and what it has blocked, so that it can end in order, is to end this at once.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const auto text = question();
    std::string_view rest = text;
    while (!rest.empty()) {
        const auto written = ::write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            ::_exit(EXIT_FAILURE);
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    // No destructor, no buffer: they are those of the process that asked.
    ::_exit(EXIT_SUCCESS);
}

Asked ask(const Question& question)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    FileDescriptor reading{ends[0]};
    const FileDescriptor writing{ends[1]};
    const pid_t process = ::fork();
    if (process == 0)
        answer(question, writing.get());
    return process > 0 ? Asked{process, std::move(reading), {}} : Asked{};
}

/// Reads what has come; false at the end of it.
bool read(Asked& asked)
{
    std::array<char, 4096> buffer{};
    const auto count = ::read(asked.answer.get(), buffer.data(), buffer.size());
    if (count > 0)
        asked.text.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

BoundedAnswer ended(Asked& asked)
{
    int status = 0;
    while (::waitpid(asked.process, &status, 0) < 0 && errno == EINTR) { }
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS)
        return {BoundedAnswer::End::answered, std::move(asked.text), 0};
    return {BoundedAnswer::End::died, {}, WIFSIGNALED(status) ? WTERMSIG(status) : 0};
}

}  // namespace

std::vector<BoundedAnswer> askWithin(std::span<const Question> questions, std::chrono::milliseconds patience)
{
    const auto deadline = MonotonicClock::now() + patience;
    std::vector<Asked> asked;
    std::vector<BoundedAnswer> answers(questions.size());
    for (const auto& question : questions)
        asked.push_back(ask(question));
    for (;;) {
        std::vector<pollfd> open;
        std::vector<std::size_t> numbers;
        for (std::size_t i = 0; i < asked.size(); ++i) {
            if (asked[i].process > 0) {
                open.push_back({asked[i].answer.get(), POLLIN, 0});
                numbers.push_back(i);
            }
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - MonotonicClock::now());
        if (open.empty() || left.count() <= 0)
            break;
        if (::poll(open.data(), open.size(), static_cast<int>(left.count()) + 1) < 0 && errno != EINTR)
            break;
        for (std::size_t i = 0; i < open.size(); ++i) {
            auto& one = asked[numbers[i]];
            if (open[i].revents == 0 || read(one))
                continue;
            answers[numbers[i]] = ended(one);
            one.process = -1;
        }
    }
    for (std::size_t i = 0; i < asked.size(); ++i) {
        if (asked[i].process <= 0)
            continue;
        ::kill(asked[i].process, SIGKILL);
        // One that hangs in the kernel does not end by that.
        ::waitpid(asked[i].process, nullptr, WNOHANG);
        answers[i] = {BoundedAnswer::End::late, {}, 0};
    }
    return answers;
}

}  // namespace velmora::linux_backend
