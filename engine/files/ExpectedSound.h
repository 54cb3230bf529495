// The sound that a plan's new track has to be heard as.
#pragma once

#include "engine/codecs/SeamCodecs.h"
#include "media/mp4/File.h"
#include "media/mp4/SoundSplice.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace velmora::engine {

/// Decodes the packets of one source, best one after the other.
class SourceSound {
public:
    using DecoderFactory = decltype(SeamCodecs::makePacketDecoder);

    /// All have to live as long as this.
    SourceSound(mp4::File& file, const AudioFormat& format, const std::vector<mp4::Sample>& packets, const DecoderFactory& makeDecoder)
        : file_(file)
        , format_(format)
        , packets_(packets)
        , makeDecoder_(makeDecoder)
    {
    }

    /// Puts the frames of the media from `begin` on into `frames`, which is left as it is where there are none.
    Result<void> read(std::int64_t begin, std::span<float> frames);

    Result<std::vector<std::byte>> packet(std::size_t number);

private:
    struct Decoded {
        std::size_t number = 0;
        std::vector<float> frames;
    };

    Result<const std::vector<float>*> decoded(std::size_t number);
    Result<void> decodeNext();

    mp4::File& file_;
    const AudioFormat& format_;
    const std::vector<mp4::Sample>& packets_;
    const DecoderFactory& makeDecoder_;
    std::unique_ptr<PacketDecoder> decoder_;
    std::size_t next_ = 0;
    std::deque<Decoded> latest_;
};

class ExpectedSound {
public:
    /// `sources` by the number of the source; all have to live as long as this.
    ExpectedSound(const mp4::SoundSplice& splice, std::vector<SourceSound>& sources, std::size_t channelCount)
        : splice_(splice)
        , sources_(sources)
        , channelCount_(channelCount)
    {
    }

    /// A packet's worth of frames, interleaved, from `time` on.
    Result<std::vector<float>> framesFrom(std::int64_t time);

private:
    const mp4::SoundSplice& splice_;
    std::vector<SourceSound>& sources_;
    const std::size_t channelCount_;
};

}  // namespace velmora::engine
