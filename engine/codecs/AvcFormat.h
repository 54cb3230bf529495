// H.264 as files hold it (ISO 14496-15), from whatever form an encoder puts it out in.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace velmora::engine {

/// How the NAL units of a buffer follow each other.
enum class NalFraming {
    startCodes,  ///< ITU-T H.264 Annex B: 00 00 01 before each
    lengthPrefixed,  ///< ISO 14496-15 5.3.2: four bytes of length before each
};

/// The NAL units of `stream`, which they point into. None when lengths and buffer do not agree.
[[nodiscard]] std::optional<std::vector<std::span<const std::byte>>> nalUnits(std::span<const std::byte> stream, NalFraming framing);

/// The framing of what begins with `stream`. Four bytes 00 00 00 01 are a start code: no NAL unit of one byte begins a stream.
[[nodiscard]] NalFraming framingOf(std::span<const std::byte> stream);

/// The AVCDecoderConfigurationRecord (ISO 14496-15 5.3.3.1) with the parameter sets in `headers`, which is such a record already or a
/// stream of NAL units of either framing. None without a sequence and a picture parameter set.
[[nodiscard]] std::optional<std::vector<std::byte>> avcDecoderConfiguration(std::span<const std::byte> headers);

/// profile_idc of a record (ITU-T H.264 7.4.2.1.1); 100 is High.
[[nodiscard]] int avcProfile(std::span<const std::byte> decoderConfiguration);

/// An access unit with start codes, rewritten with four-byte lengths and without delimiters and parameter sets, which belong in the
/// decoder configuration.
[[nodiscard]] std::vector<std::byte> withLengthPrefixes(std::span<const std::byte> accessUnit);

}  // namespace velmora::engine
