// A clip's sound, encoded anew.
#pragma once

#include "engine/sharing/ClipSource.h"
#include "media/mp4/File.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace velmora::engine {

/// Packets lie one after the other in `file`, from its beginning on. The first one decodes to priming, and what follows that begins with the
/// clip.
struct EncodedSound {
    std::unique_ptr<mp4::File> file;
    FormatDescriptionRef format;
    std::vector<std::uint32_t> packetSizes;
    std::int64_t packetFrames = 1024;  ///< that each decodes to
    std::int64_t primingFrames = 0;
    std::int64_t presentedFrames = 0;
    std::int64_t bitRate = 0;  ///< as it was asked for
    std::uint64_t byteCount = 0;
};

/// Encodes what the clip plays, with silence where it has none, from its beginning on. `file` is empty. `progress` is called with values from
/// 0 to 1; false cancels, and gives null.
Result<std::unique_ptr<EncodedSound>> encodeSound(const ClipSource& source, ClipCodecs& codecs, std::int64_t bitRate,
    std::unique_ptr<mp4::File> file, const std::function<bool(double)>& progress);

}  // namespace velmora::engine
