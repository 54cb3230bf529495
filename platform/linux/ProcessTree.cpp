#include "platform/linux/ProcessTree.h"

#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr std::int32_t firstProcess = 1;
constexpr int deepestTree = 256;  // ends a walk through records that were torn by processes coming and going

template <typename Number>
bool parseNumber(std::string_view text, Number& number)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc{} && result.ptr == text.data() + text.size();
}

}  // namespace

std::optional<ProcessRecord> parseProcessStat(const std::string& text)
{
    // The name stands in brackets and may itself hold any character: what follows begins after the last bracket.
    const auto bracket = text.rfind(')');
    if (bracket == std::string::npos)
        return std::nullopt;
    std::string_view rest{text};
    rest.remove_prefix(bracket + 1);

    constexpr int parentField = 4;
    constexpr int startTimeField = 22;
    ProcessRecord record;
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

std::optional<ProcessRecord> readProcessRecord(std::int32_t processID)
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

ProcessTree::ProcessTree(std::int32_t root, Exclusion excluded, Reader reader)
    : root_(root)
    , excluded_(std::move(excluded))
    , reader_(std::move(reader))
{
    if (const auto record = reader_(root_)) {
        rootLived_ = true;
        rootStartTime_ = record->startTime;
    }
}

bool ProcessTree::contains(std::int32_t processID) const
{
    if (!rootLived_ || processID <= 0)
        return false;
    auto current = processID;
    auto record = reader_(current);
    for (int depth = 0; record && depth < deepestTree; ++depth) {
        if (current == root_)
            return record->startTime == rootStartTime_;
        if (current == firstProcess || (excluded_ && excluded_(current)))
            return false;
        const auto parent = record->parent;
        const auto parentRecord = reader_(parent);
        // A parent younger than its child is another process that was given the pid of one that ended meanwhile.
        if (!parentRecord || parentRecord->startTime > record->startTime)
            return false;
        current = parent;
        record = parentRecord;
    }
    return false;
}

std::int32_t topmostOfProgram(
    std::int32_t processID, const ProcessTree::Reader& reader, const std::function<std::string(std::int32_t)>& executable)
{
    const auto program = executable(processID);
    if (program.empty())
        return processID;
    auto topmost = processID;
    auto record = reader(topmost);
    for (int depth = 0; record && record->parent > firstProcess && depth < deepestTree; ++depth) {
        const auto parent = reader(record->parent);
        if (!parent || parent->startTime > record->startTime || executable(record->parent) != program)
            break;
        topmost = record->parent;
        record = parent;
    }
    return topmost;
}

}  // namespace velmora::linux_backend
