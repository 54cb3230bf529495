#include "media/mp4/File.h"

#include <cassert>

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

}  // namespace velmora::mp4
