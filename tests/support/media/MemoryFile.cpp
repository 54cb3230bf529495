#include "tests/support/media/MemoryFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace velmora::test {

MemoryFile::MemoryFile(const std::vector<std::byte>& content)
{
    static_cast<void>(writeAt(0, content));
    writeCount = 0;
}

Result<std::size_t> MemoryFile::writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes)
{
    if (beforeWrite)
        beforeWrite();
    const auto number = writeCount++;
    if (number == faults.failingWrite || (faults.lasting && number > faults.failingWrite))
        return fail(posixError(faults.errnoValue, "memory"));
    auto count = std::min(bytes.size(), faults.largestTransfer);
    const auto room = std::max(faults.capacity, allocated_);
    if (offset + count > room) {
        if (offset >= room)
            return fail(posixError(ENOSPC, "memory"));
        count = static_cast<std::size_t>(room - offset);
    }
    if (journal)
        journal->push_back({Operation::Kind::write, offset, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)}});
    for (std::size_t done = 0; done < count;) {
        const auto page = (offset + done) / pageSize;
        const auto inPage = static_cast<std::size_t>((offset + done) % pageSize);
        const auto length = std::min(pageSize - inPage, count - done);
        const auto part = bytes.subspan(done, length);
        auto known = pages_.find(page);
        const bool zeros = part[0] == std::byte{0} && std::memcmp(part.data(), part.data() + 1, length - 1) == 0;
        if (known == pages_.end() && !zeros)
            known = pages_.emplace(page, std::vector<std::byte>(pageSize)).first;
        if (known != pages_.end())
            std::copy(part.begin(), part.end(), known->second.begin() + static_cast<std::ptrdiff_t>(inPage));
        done += length;
    }
    size_ = std::max(size_, offset + count);
    return count;
}

Result<std::size_t> MemoryFile::readSomeAt(std::uint64_t offset, std::span<std::byte> bytes)
{
    if (readCount++ == faults.failingRead)
        return fail(posixError(EIO, "memory"));
    if (offset >= size_)
        return std::size_t{0};
    const auto inPage = static_cast<std::size_t>(offset % pageSize);
    const auto count = std::min({bytes.size(), pageSize - inPage, static_cast<std::size_t>(size_ - offset), faults.largestTransfer});
    const auto page = pages_.find(offset / pageSize);
    if (page == pages_.end())
        std::fill_n(bytes.begin(), count, std::byte{0});
    else
        std::copy_n(page->second.begin() + static_cast<std::ptrdiff_t>(inPage), count, bytes.begin());
    return count;
}

Result<void> MemoryFile::truncate(std::uint64_t size)
{
    if (journal)
        journal->push_back({Operation::Kind::truncate, size, {}});
    size_ = size;
    pages_.erase(pages_.upper_bound(size / pageSize), pages_.end());
    if (const auto last = pages_.find(size / pageSize); last != pages_.end())
        std::fill(last->second.begin() + static_cast<std::ptrdiff_t>(size % pageSize), last->second.end(), std::byte{0});
    return {};
}

Result<void> MemoryFile::allocate(std::uint64_t size)
{
    if (size > faults.capacity)
        return fail(posixError(ENOSPC, "memory"));
    if (journal && size > size_)
        journal->push_back({Operation::Kind::truncate, size, {}});
    allocated_ = size;
    size_ = std::max(size_, size);
    return {};
}

Result<void> MemoryFile::sync()
{
    if (syncCount++ == faults.failingSync)
        return fail(posixError(EIO, "memory"));
    if (journal)
        journal->push_back({Operation::Kind::sync, 0, {}});
    return {};
}

std::vector<std::byte> MemoryFile::content()
{
    std::vector<std::byte> bytes(static_cast<std::size_t>(size_));
    const auto complete = readAt(0, bytes);
    static_cast<void>(complete);
    return bytes;
}

void MemoryFile::saveTo(const std::filesystem::path& path)
{
    {
        std::ofstream stream{path, std::ios::binary | std::ios::trunc};
        for (const auto& [page, bytes] : pages_) {
            const auto offset = page * pageSize;
            if (offset >= size_)
                continue;
            stream.seekp(static_cast<std::streamoff>(offset));
            stream.write(reinterpret_cast<const char*>(bytes.data()),
                static_cast<std::streamsize>(std::min<std::uint64_t>(pageSize, size_ - offset)));
        }
    }
    std::filesystem::resize_file(path, size_);
}

}  // namespace velmora::test
