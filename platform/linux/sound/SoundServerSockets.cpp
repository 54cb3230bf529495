#include "platform/linux/sound/SoundServerSockets.h"

#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace velmora::linux_backend {

namespace {

std::optional<std::filesystem::path> variable(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value ? std::optional<std::filesystem::path>{value} : std::nullopt;
}

std::optional<SoundServerSockets::Identity> identityOf(const std::optional<std::filesystem::path>& file)
{
    struct stat status { };
    if (!file || ::stat(file->c_str(), &status) != 0)
        return std::nullopt;
    return SoundServerSockets::Identity{
        status.st_dev, status.st_ino, std::int64_t{status.st_ctim.tv_sec} * 1'000'000'000 + status.st_ctim.tv_nsec};
}

}  // namespace

SoundServerSockets::SoundServerSockets() : isNamed_(variable("PULSE_SERVER") || variable("PIPEWIRE_REMOTE"))
{
    const auto runtime = variable("XDG_RUNTIME_DIR");
    if (const auto folder = variable("PULSE_RUNTIME_PATH"))
        pulse_ = *folder / "native";
    else if (runtime)
        pulse_ = *runtime / "pulse" / "native";
    if (const auto folder = variable("PIPEWIRE_RUNTIME_DIR"))
        pipeWire_ = *folder / "pipewire-0";
    else if (runtime)
        pipeWire_ = *runtime / "pipewire-0";
}

std::optional<SoundServerSockets::Identity> SoundServerSockets::pulse() const
{
    return identityOf(pulse_);
}

bool SoundServerSockets::isAnyThere() const
{
    return isNamed_ || identityOf(pulse_) || identityOf(pipeWire_);
}

}  // namespace velmora::linux_backend
