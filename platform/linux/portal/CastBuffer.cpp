#include "platform/linux/portal/CastBuffer.h"

#include <cerrno>
#include <linux/dma-buf.h>
#include <spa/buffer/meta.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::linux_backend {

namespace {

PixelRect rectangle(const spa_region& region)
{
    return {
        region.position.x, region.position.y, static_cast<std::int32_t>(region.size.width), static_cast<std::int32_t>(region.size.height)};
}

bool isPlausible(const spa_region& region)
{
    constexpr std::int32_t limit = 32767;
    return region.position.x >= -limit && region.position.x <= limit && region.position.y >= -limit && region.position.y <= limit
        && region.size.width <= limit && region.size.height <= limit;
}

}  // namespace

Result<std::unique_ptr<CastBuffer>> CastBuffer::create(const spa_buffer& buffer)
{
    const auto unusable = [](int code) { return fail(posixError(code, "The memory of a shared picture")); };
    if (buffer.n_datas < 1)
        return unusable(EINVAL);
    const auto& data = buffer.datas[0];
    if (data.type != SPA_DATA_MemFd && data.type != SPA_DATA_DmaBuf) {
        if (!data.data)
            return unusable(EINVAL);
        return std::unique_ptr<CastBuffer>(new CastBuffer(buffer, static_cast<const std::byte*>(data.data), nullptr, 0));
    }
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t lead = data.mapoffset % page;
    const std::size_t size = lead + data.maxsize;
    const int descriptor = static_cast<int>(data.fd);
    // Reading past the end of a file would end this process.
    struct stat status { };
    if (data.type == SPA_DATA_MemFd
        && (fstat(descriptor, &status) != 0 || static_cast<std::uint64_t>(status.st_size) < std::uint64_t{data.mapoffset} + data.maxsize))
        return unusable(EINVAL);
    void* mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, static_cast<off_t>(data.mapoffset - lead));
    if (mapping == MAP_FAILED)
        return unusable(errno);
    return std::unique_ptr<CastBuffer>(new CastBuffer(buffer, static_cast<const std::byte*>(mapping) + lead, mapping, size));
}

CastBuffer::~CastBuffer()
{
    if (mapping_)
        munmap(mapping_, mappedSize_);
}

std::optional<CastPicture> CastBuffer::picture(const CastFormat& format) const
{
    const auto& data = buffer_.datas[0];
    const auto& chunk = *data.chunk;
    const auto* header = static_cast<const spa_meta_header*>(spa_buffer_find_meta_data(&buffer_, SPA_META_Header, sizeof(spa_meta_header)));
    if (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0)
        return std::nullopt;
    if ((static_cast<std::uint32_t>(chunk.flags) & SPA_CHUNK_FLAG_CORRUPTED) != 0 || chunk.size == 0)
        return std::nullopt;
    const auto rowBytes = static_cast<std::size_t>(format.width) * bytesPerPixel;
    const auto stride = chunk.stride == 0 ? rowBytes : static_cast<std::size_t>(std::max(0, chunk.stride));
    const auto needed = stride * static_cast<std::size_t>(format.height - 1) + rowBytes;
    if (stride < rowBytes || chunk.offset > data.maxsize || needed > data.maxsize - chunk.offset)
        return std::nullopt;

    const PixelRect whole{0, 0, format.width, format.height};
    CastPicture picture{data_ + chunk.offset, stride, whole, format.isRedFirst};
    const auto* crop =
        static_cast<const spa_meta_region*>(spa_buffer_find_meta_data(&buffer_, SPA_META_VideoCrop, sizeof(spa_meta_region)));
    if (crop && spa_meta_region_is_valid(crop) && isPlausible(crop->region)) {
        const auto content = rectangle(crop->region).intersected(whole);
        if (!content.isEmpty()) {
            picture.content = content;
            picture.isCropped = true;
        }
    }
    return picture;
}

CastNews CastBuffer::news() const
{
    CastNews news;
    const auto* header = static_cast<const spa_meta_header*>(spa_buffer_find_meta_data(&buffer_, SPA_META_Header, sizeof(spa_meta_header)));
    if (header && header->pts > 0)
        news.time = MonotonicTime{std::chrono::nanoseconds{header->pts}};
    if (const auto* damage = spa_buffer_find_meta(&buffer_, SPA_META_VideoDamage)) {
        const auto* regions = static_cast<const spa_meta_region*>(damage->data);
        for (std::size_t index = 0; index < damage->size / sizeof(spa_meta_region); ++index) {
            if (!spa_meta_region_is_valid(&regions[index]))
                break;
            if (isPlausible(regions[index].region))
                news.damage.push_back(rectangle(regions[index].region));
        }
    }
    return news;
}

void CastBuffer::beginReading() const
{
    synchronise(DMA_BUF_SYNC_START | DMA_BUF_SYNC_READ);
}

void CastBuffer::endReading() const
{
    synchronise(DMA_BUF_SYNC_END | DMA_BUF_SYNC_READ);
}

void CastBuffer::synchronise(std::uint64_t flags) const
{
    const auto& data = buffer_.datas[0];
    if (data.type != SPA_DATA_DmaBuf)
        return;
    dma_buf_sync sync{flags};
    while (ioctl(static_cast<int>(data.fd), DMA_BUF_IOCTL_SYNC, &sync) != 0 && (errno == EINTR || errno == EAGAIN)) { }
}

}  // namespace velmora::linux_backend
