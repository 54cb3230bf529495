#include "platform/linux/kernel/ProcessRecords.h"

#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace velmora::linux_backend {

namespace {

template <typename Number>
bool parseNumber(std::string_view text, Number& number)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc{} && result.ptr == text.data() + text.size();
}

}  // namespace

std::optional<engine::ProcessRecord> parseProcessStat(const std::string& text)
{
    // The name is in brackets and may itself hold any character: what follows begins after the last bracket.
    const auto bracket = text.rfind(')');
    if (bracket == std::string::npos)
        return std::nullopt;
    std::string_view rest{text};
    rest.remove_prefix(bracket + 1);

    constexpr int parentField = 4;
    constexpr int startTimeField = 22;
    engine::ProcessRecord record;
    for (int field = 3; field <= startTimeField; ++field) {
        const auto begin = rest.find_first_not_of(" \n");
        if (begin == std::string_view::npos)
            return std::nullopt;
        rest.remove_prefix(begin);
        const auto word = rest.substr(0, rest.find_first_of(" \n"));
        rest.remove_prefix(word.size());
        if (field == parentField && !parseNumber(word, record.parent))
            return std::nullopt;
        if (field == startTimeField && !parseNumber(word, record.startTime))
            return std::nullopt;
    }
    return record;
}

std::optional<engine::ProcessRecord> readProcessRecord(std::int32_t processID)
{
    if (processID <= 0)
        return std::nullopt;
    const std::string path = "/proc/" + std::to_string(processID) + "/stat";
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return std::nullopt;
    std::array<char, 1024> bytes{};
    const auto count = ::read(file, bytes.data(), bytes.size());
    ::close(file);
    if (count <= 0)
        return std::nullopt;
    return parseProcessStat(std::string{bytes.data(), static_cast<std::size_t>(count)});
}

std::uint64_t clockTicksSinceBoot()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const auto perSecond = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    constexpr std::uint64_t second = 1'000'000'000;
    return static_cast<std::uint64_t>(now.tv_sec) * perSecond + static_cast<std::uint64_t>(now.tv_nsec) * perSecond / second;
}

std::string readExecutable(std::int32_t processID)
{
    std::array<char, PATH_MAX> path{};
    const auto length = ::readlink(("/proc/" + std::to_string(processID) + "/exe").c_str(), path.data(), path.size());
    return length > 0 ? std::string{path.data(), static_cast<std::size_t>(length)} : std::string{};
}

engine::Processes systemProcesses()
{
    return {.record = readProcessRecord, .executable = readExecutable, .now = clockTicksSinceBoot, .own = ::getpid()};
}

}  // namespace velmora::linux_backend
