#include "media/mp4/File.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace velmora::mp4 {

Result<void> File::writeAt(std::uint64_t offset, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const auto written = writeSomeAt(offset, bytes);
        if (!written)
            return fail(written.error());
        assert(*written > 0 && *written <= bytes.size());
        offset += *written;
        bytes = bytes.subspan(*written);
    }
    return {};
}

Result<bool> File::readAt(std::uint64_t offset, std::span<std::byte> bytes)
{
    while (!bytes.empty()) {
        const auto read = readSomeAt(offset, bytes);
        if (!read)
            return fail(read.error());
        if (*read == 0)
            return false;
        offset += *read;
        bytes = bytes.subspan(*read);
    }
    return true;
}

Result<std::size_t> File::copySomeFrom(File& source, std::uint64_t from, std::uint64_t to, std::size_t count, std::span<std::byte> buffer)
{
    assert(!buffer.empty());
    const auto read = source.readSomeAt(from, buffer.first(std::min(count, buffer.size())));
    if (!read)
        return fail(read.error());
    if (const auto written = writeAt(to, buffer.first(*read)); !written)
        return fail(written.error());
    return *read;
}

Result<bool> File::copyFrom(File& source, std::uint64_t from, std::uint64_t to, std::uint64_t count, std::span<std::byte> buffer)
{
    while (count > 0) {
        const auto some = static_cast<std::size_t>(std::min<std::uint64_t>(count, std::numeric_limits<std::size_t>::max()));
        const auto copied = copySomeFrom(source, from, to, some, buffer);
        if (!copied)
            return fail(copied.error());
        if (*copied == 0)
            return false;
        from += *copied;
        to += *copied;
        count -= *copied;
    }
    return true;
}

}  // namespace velmora::mp4
