#include "benchmarks/peers/DisplayServer.h"

#include "platform/linux/x11/Connection.h"

#include <stdexcept>
#include <sys/socket.h>

namespace velmora::benchmarks {

pid_t displayServer()
{
    const auto connection = linux_backend::Connection::open();
    ucred peer{};
    socklen_t length = sizeof peer;
    if (!connection || ::getsockopt(xcb_get_file_descriptor((*connection)->xcb()), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0)
        throw std::runtime_error("the display's process is not known");
    return peer.pid;
}

}  // namespace velmora::benchmarks
