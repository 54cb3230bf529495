// Reads values out of a fuzzer's bytes. Past their end everything is 0 and empty.
#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace velmora::fuzz {

class FuzzedInput {
public:
    explicit FuzzedInput(std::span<const std::uint8_t> bytes) : bytes_(bytes) { }

    [[nodiscard]] bool isAtEnd() const { return bytes_.empty(); }

    std::uint8_t byte()
    {
        if (bytes_.empty())
            return 0;
        const auto value = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return value;
    }

    /// From 0 to `count` - 1.
    unsigned choice(unsigned count) { return byte() % count; }

    /// A byte that says how many, then that many bytes of UTF-8.
    QString text()
    {
        const std::size_t wanted = byte();
        const auto size = std::min(wanted, bytes_.size());
        const auto part = bytes_.first(size);
        bytes_ = bytes_.subspan(size);
        return QString::fromUtf8(reinterpret_cast<const char*>(part.data()), static_cast<qsizetype>(part.size()));
    }

private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace velmora::fuzz
