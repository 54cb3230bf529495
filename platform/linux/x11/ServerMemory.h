// Memory that an X server writes pictures into.
#pragma once

#include "base/Geometry.h"
#include "engine/pictures/MemoryBlock.h"
#include "platform/linux/x11/Connection.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <xcb/shm.h>

namespace velmora::linux_backend {

/// How pictures come from the server, best first.
enum class ImageTransport {
    fileDescriptor,  ///< a memory file, handed over the socket (MIT-SHM 1.2)
    systemV,  ///< a System V segment, marked for removal as soon as both sides have it (MIT-SHM 1.0)
    socket,  ///< within the reply: the only way to a server on another machine
};

/// A memory block and the server's hold on it. The connection must outlive this.
class ServerMemory {
public:
    /// Zeroed memory, shared in the best way that is no better than `best` and that the server accepts.
    static Result<std::unique_ptr<ServerMemory>> allocate(
        const Connection& connection, std::size_t size, ImageTransport best = ImageTransport::fileDescriptor);
    ~ServerMemory();
    ServerMemory(const ServerMemory&) = delete;
    ServerMemory& operator=(const ServerMemory&) = delete;

    [[nodiscard]] const std::shared_ptr<engine::MemoryBlock>& block() const { return block_; }
    [[nodiscard]] ImageTransport transport() const { return transport_; }

    /// Fetches `part` of `drawable` as packed rows of 4 bytes per pixel to `offset`: one request, so what arrives is one moment of
    /// the drawable. Returns that request's number; nothing when the server refused (the part is not inside, say).
    [[nodiscard]] std::optional<std::uint32_t> fetch(xcb_drawable_t drawable, PixelRect part, std::size_t offset);

private:
    ServerMemory(const Connection& connection, std::shared_ptr<engine::MemoryBlock> block, ImageTransport transport, xcb_shm_seg_t segment)
        : connection_(connection)
        , block_(std::move(block))
        , transport_(transport)
        , segment_(segment)
    {
    }

    const Connection& connection_;
    std::shared_ptr<engine::MemoryBlock> block_;
    ImageTransport transport_;
    xcb_shm_seg_t segment_;
};

}  // namespace velmora::linux_backend
