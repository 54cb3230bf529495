// Where the session's sound servers listen, looked at without asking them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace velmora::linux_backend {

/// The files of both kinds of server, found by the environment of this process as libpulse and libpipewire do. A server that starts
/// makes its file anew; one that is killed leaves it behind.
class SoundServerSockets {
public:
    SoundServerSockets();

    /// Tells one file from the next with the same name.
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t number = 0;
        std::int64_t changed = 0;  ///< nanoseconds

        friend bool operator==(const Identity&, const Identity&) = default;
    };

    /// False where no server can ever be found: there is no runtime folder, and the environment names no server.
    [[nodiscard]] bool canBeFound() const { return isNamed_ || pulse_ || pipeWire_; }

    [[nodiscard]] std::optional<Identity> pulse() const;

    /// There is a file where a server of either kind would have one, or the environment names one, which may be anywhere.
    [[nodiscard]] bool isAnyThere() const;

private:
    bool isNamed_;
    std::optional<std::filesystem::path> pulse_;
    std::optional<std::filesystem::path> pipeWire_;
};

}  // namespace velmora::linux_backend
