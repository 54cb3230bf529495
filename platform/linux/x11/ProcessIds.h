// Which process a window belongs to.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::linux_backend {

/// What is known of a window's process.
struct ProcessHints {
    std::int32_t announced = 0;  ///< _NET_WM_PID; 0: none
    std::int32_t connected = 0;  ///< the client at the other end of the server's socket (X-Resource); 0: unknown
    std::string machine;  ///< WM_CLIENT_MACHINE; may be empty
};

/// The process in this machine's own numbering; 0 when it is unknown or on another machine.
[[nodiscard]] std::int32_t resolveProcessId(const ProcessHints& hints);

/// True when `machine` names this host (`host`): the same name, or one is the other without its domain.
[[nodiscard]] bool isSameMachine(std::string_view machine, std::string_view host);

/// The name of the executable of a process; empty when it cannot be told.
[[nodiscard]] std::string executableName(std::int32_t processId);

}  // namespace velmora::linux_backend
