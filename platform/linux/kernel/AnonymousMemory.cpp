#include "platform/linux/kernel/AnonymousMemory.h"

#include <cerrno>
#include <sys/mman.h>

namespace velmora::linux_backend {

namespace {

class AnonymousMemory final : public engine::MemoryBlock {
public:
    AnonymousMemory(std::byte* data, std::size_t size) : engine::MemoryBlock(data, size) { }
    ~AnonymousMemory() override { munmap(data(), size()); }

    void giveBack(std::size_t offset, std::size_t size) override { madvise(data() + offset, size, MADV_DONTNEED); }
};

}  // namespace

Result<std::shared_ptr<engine::MemoryBlock>> allocateAnonymousMemory(std::size_t size)
{
    void* data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (data == MAP_FAILED)
        return fail(posixError(errno, "Memory for pictures"));
    return std::make_shared<AnonymousMemory>(static_cast<std::byte*>(data), size);
}

}  // namespace velmora::linux_backend
