#include "platform/linux/x11/ServerMemory.h"

#include "platform/linux/kernel/AnonymousMemory.h"
#include "platform/linux/kernel/FileDescriptor.h"

#include <cassert>
#include <cstring>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

/// What the X server has mapped too.
class SharedBlock : public engine::MemoryBlock {
public:
    using engine::MemoryBlock::MemoryBlock;

    void giveBack(std::size_t offset, std::size_t size) override { madvise(data() + offset, size, MADV_REMOVE); }
};

class FileBlock final : public SharedBlock {
public:
    /// Null on failure.
    static std::shared_ptr<engine::MemoryBlock> map(int descriptor, std::size_t size)
    {
        void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        if (memory == MAP_FAILED)
            return nullptr;
        return std::make_shared<FileBlock>(static_cast<std::byte*>(memory), size);
    }

    FileBlock(std::byte* memory, std::size_t size) : SharedBlock(memory, size) { }
    ~FileBlock() override { munmap(data(), size()); }
};

class SystemVBlock final : public SharedBlock {
public:
    SystemVBlock(std::byte* memory, std::size_t size) : SharedBlock(memory, size) { }
    ~SystemVBlock() override { shmdt(data()); }
};

class SystemVSegment {
public:
    explicit SystemVSegment(std::size_t size) : id_(shmget(IPC_PRIVATE, size, IPC_CREAT | 0600)) { }
    ~SystemVSegment()
    {
        if (id_ >= 0)
            shmctl(id_, IPC_RMID, nullptr);
    }
    SystemVSegment(const SystemVSegment&) = delete;
    SystemVSegment& operator=(const SystemVSegment&) = delete;

    [[nodiscard]] int id() const { return id_; }

private:
    int id_;
};

bool passesDescriptors(const Connection& connection)
{
    const auto version = connection.reply(xcb_shm_query_version_reply, xcb_shm_query_version(connection.xcb()));
    return version && (version->major_version > 1 || version->minor_version >= 2);
}

}  // namespace

Result<std::unique_ptr<ServerMemory>> ServerMemory::allocate(const Connection& connection, std::size_t size, ImageTransport best)
{
    const auto owned = [&connection](std::shared_ptr<engine::MemoryBlock> block, ImageTransport transport, xcb_shm_seg_t segment) {
        return std::unique_ptr<ServerMemory>(new ServerMemory(connection, std::move(block), transport, segment));
    };
    const bool shared = connection.isLocal() && connection.has(xcb_shm_id);

    if (shared && best == ImageTransport::fileDescriptor && passesDescriptors(connection)) {
        FileDescriptor file{memfd_create("velmora-pictures", MFD_CLOEXEC)};
        if (file && ftruncate(file.get(), static_cast<off_t>(size)) == 0) {
            if (auto block = FileBlock::map(file.get(), size)) {
                const auto segment = connection.newId();
                // xcb closes the descriptor once it is sent.
                if (connection.succeeded(xcb_shm_attach_fd_checked(connection.xcb(), segment, file.release(), 0)))
                    return owned(std::move(block), ImageTransport::fileDescriptor, segment);
            }
        }
    }
    if (shared && best != ImageTransport::socket) {
        const SystemVSegment memory{size};
        void* address = memory.id() >= 0 ? shmat(memory.id(), nullptr, 0) : reinterpret_cast<void*>(-1);
        if (address != reinterpret_cast<void*>(-1)) {
            auto block = std::make_shared<SystemVBlock>(static_cast<std::byte*>(address), size);
            const auto segment = connection.newId();
            if (connection.succeeded(xcb_shm_attach_checked(connection.xcb(), segment, static_cast<std::uint32_t>(memory.id()), 0)))
                return owned(std::move(block), ImageTransport::systemV, segment);
        }
    }
    auto block = allocateAnonymousMemory(size);
    if (!block)
        return fail(std::move(block.error()));
    return owned(std::move(*block), ImageTransport::socket, XCB_NONE);
}

ServerMemory::~ServerMemory()
{
    if (segment_ != XCB_NONE)
        xcb_shm_detach(connection_.xcb(), segment_);
}

std::optional<std::uint32_t> ServerMemory::fetch(xcb_drawable_t drawable, PixelRect part, std::size_t offset)
{
    constexpr std::uint32_t allPlanes = ~std::uint32_t{0};
    const auto bytes = static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height) * 4;
    assert(!part.isEmpty() && offset + bytes <= block_->size());
    const auto x = static_cast<std::int16_t>(part.x);
    const auto y = static_cast<std::int16_t>(part.y);
    const auto width = static_cast<std::uint16_t>(part.width);
    const auto height = static_cast<std::uint16_t>(part.height);
    if (segment_ != XCB_NONE) {
        const auto cookie = xcb_shm_get_image(connection_.xcb(), drawable, x, y, width, height, allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP,
            segment_, static_cast<std::uint32_t>(offset));
        if (!connection_.reply(xcb_shm_get_image_reply, cookie))
            return std::nullopt;
        return cookie.sequence;
    }
    const auto cookie = xcb_get_image(connection_.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, x, y, width, height, allPlanes);
    const auto image = connection_.reply(xcb_get_image_reply, cookie);
    if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < bytes)
        return std::nullopt;
    std::memcpy(block_->data() + offset, xcb_get_image_data(image.get()), bytes);
    return cookie.sequence;
}

}  // namespace velmora::linux_backend
