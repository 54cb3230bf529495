// What kind of AAC a track holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmora::mp4 {

/// Whether an AudioSpecificConfig (ISO 14496-3 1.6.2.1) describes AAC-LC and nothing on top of it. Only there does a packet need no more
/// than the one before it: the other kinds carry state over many (long-term prediction, spectral band replication).
[[nodiscard]] bool isPlainAacLc(std::span<const std::byte> configuration);

/// How many frames a second AAC-LC is decoded to; 0 where the configuration does not say. Of another kind of AAC it is not the answer.
[[nodiscard]] std::int32_t sampleRateOf(std::span<const std::byte> configuration);

/// How many frames are in a packet of AAC-LC: 1024, or 960. Only for a configuration that isPlainAacLc().
[[nodiscard]] std::int32_t packetFramesOf(std::span<const std::byte> configuration);

/// Whether a decoder that was set up with one of these decodes the other's packets of AAC-LC: kind, rate, channels and length of a packet.
[[nodiscard]] bool describesSameStream(std::span<const std::byte> a, std::span<const std::byte> b);

}  // namespace velmora::mp4
