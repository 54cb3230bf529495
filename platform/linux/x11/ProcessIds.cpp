#include "platform/linux/x11/ProcessIds.h"

#include "platform/linux/x11/Text.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace velmora::linux_backend {

namespace {

std::filesystem::path processFolder(std::int32_t processId)
{
    return std::filesystem::path("/proc") / std::to_string(processId);
}

std::string hostName()
{
    char name[HOST_NAME_MAX + 1] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

/// The process's number in the innermost PID namespace that it is in (proc(5), NSpid); 0 when it cannot be told.
std::int32_t innermostProcessId(std::int32_t processId)
{
    std::ifstream status(processFolder(processId) / "status");
    for (std::string line; std::getline(status, line);) {
        if (!line.starts_with("NSpid:"))
            continue;
        const auto start = line.find_last_of(" \t");
        return start == std::string::npos ? 0 : static_cast<std::int32_t>(std::strtol(line.c_str() + start, nullptr, 10));
    }
    return 0;
}

}  // namespace

bool isSameMachine(std::string_view machine, std::string_view host)
{
    const auto isShortOf = [](std::string_view shortName, std::string_view name) {
        return name.starts_with(shortName) && name.substr(shortName.size()).starts_with('.');
    };
    return machine == host || machine == "localhost" || isShortOf(machine, host) || isShortOf(host, machine);
}

std::int32_t resolveProcessId(const ProcessHints& hints)
{
    if (!hints.machine.empty() && !isSameMachine(hints.machine, hostName()))
        return 0;
    if (hints.announced <= 0)
        return hints.connected;
    // A sandboxed program announces its number within the sandbox.
    if (hints.connected > 0 && hints.connected != hints.announced && innermostProcessId(hints.connected) == hints.announced)
        return hints.connected;
    return hints.announced;
}

std::string executableName(std::int32_t processId)
{
    if (processId <= 0)
        return {};
    std::error_code error;
    const auto executable = std::filesystem::read_symlink(processFolder(processId) / "exe", error);
    if (!error) {
        // For a program that was replaced while it runs.
        constexpr std::string_view deleted = " (deleted)";
        auto name = executable.filename().string();
        if (name.ends_with(deleted))
            name.resize(name.size() - deleted.size());
        return validUtf8(name);
    }
    std::ifstream file(processFolder(processId) / "comm");
    std::string name;
    std::getline(file, name);
    return validUtf8(name);
}

}  // namespace velmora::linux_backend
