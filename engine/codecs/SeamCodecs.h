// Encoding anew what lies at a seam between pieces of clips, whichever library does it.
#pragma once

#include "base/Result.h"
#include "engine/codecs/AudioEncoder.h"
#include "media/FormatDescription.h"
#include "media/SampleBuffer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace velmora::engine {

/// Decodes packets of AAC-LC, each after the one before it. Used on one thread.
class PacketDecoder {
public:
    virtual ~PacketDecoder() = default;

    /// The packet's frames, interleaved: of the first packet, its own half alone.
    virtual Result<std::vector<float>> decode(std::span<const std::byte> packet) = 0;
};

struct EncodedPictures {
    /// AVCDecoderConfigurationRecord (ISO 14496-15 5.3.3.1); the same for all pictures of one size and format, whatever they show.
    std::vector<std::byte> decoderConfiguration;
    /// In the order of presentation, with lengths of four bytes. The first is an IDR picture; no other is needed by what precedes it.
    std::vector<DataBlock> pictures;
};

/// Decodes H.264 and encodes some of its pictures anew, so well that no difference is seen. Used on one thread.
class PictureReencoder {
public:
    virtual ~PictureReencoder() = default;

    /// The next sample in decode order. Damaged ones are an error.
    virtual Result<void> add(std::span<const std::byte> sample, bool isEncoded) = 0;

    /// No sample follows. An error if a picture is missing.
    virtual Result<EncodedPictures> finish() = 0;
};

/// Each may be empty or fail where there is no such codec.
struct SeamCodecs {
    AudioEncoderFactory makeAudioEncoder;
    /// `format` is AAC-LC with its AudioSpecificConfig.
    std::function<Result<std::unique_ptr<PacketDecoder>>(const AudioFormat& format)> makePacketDecoder;
    /// `format` is H.264 with its parameter sets; those of the new pictures have the number `parameterSet`.
    std::function<Result<std::unique_ptr<PictureReencoder>>(const VideoFormat& format, int parameterSet)> makePictureReencoder;
};

}  // namespace velmora::engine
