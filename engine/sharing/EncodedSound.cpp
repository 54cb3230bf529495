#include "engine/sharing/EncodedSound.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace velmora::engine {

namespace {

/// Below so many bits a second one channel sounds better than two.
constexpr std::int64_t leastForTwoChannels = 48000;

/// Blocks that follow each other belong together although their times are rounded.
constexpr double toleratedGap = 0.01;

/// Puts blocks where they belong on the clip's time line, and hands the line to the encoder.
class SoundLine {
public:
    SoundLine(const ClipSource& source, ClipCodecs& codecs, std::int64_t bitRate, std::int32_t channelCount, mp4::File& file,
        std::int32_t timescale)
        : source_(source)
        , codecs_(codecs)
        , bitRate_(bitRate)
        , channelCount_(channelCount)
        , file_(file)
        , timescale_(timescale)
    {
    }

    Result<void> add(const SoundDecoder::Block& block)
    {
        if (block.frames.empty())
            return {};
        if (!encoder_) {
            if (auto begun = begin(block.sampleRate); !begun)
                return begun;
        }
        if (block.sampleRate != sampleRate_)
            return fail("Velmora.Share", 0, "The clip's sound changes its sample rate, which this program cannot encode anew.");
        const std::int64_t stated = std::llround(static_cast<double>(block.time) * sampleRate_ / timescale_);
        const bool follows = next_ && static_cast<double>(std::llabs(*next_ - stated)) <= toleratedGap * sampleRate_;
        const auto begin = follows ? *next_ : stated;
        const auto channels = static_cast<std::size_t>(channelCount_);
        const auto count = static_cast<std::int64_t>(block.frames.size() / channels);
        next_ = begin + count;
        // Only what is played, and nothing twice.
        const auto first = std::max({begin, written_, begin_});
        const auto last = std::min(begin + count, end_);
        if (first >= last)
            return {};
        if (auto filled = silence(first); !filled)
            return filled;
        const std::span frames{block.frames};
        return encode(
            frames.subspan(static_cast<std::size_t>(first - begin) * channels, static_cast<std::size_t>(last - first) * channels));
    }

    Result<void> finish(EncodedSound& sound)
    {
        if (!encoder_)
            return {};
        if (auto filled = silence(end_); !filled)
            return filled;
        packets_.clear();
        if (auto flushed = encoder_->flush(packets_); !flushed)
            return flushed;
        if (auto stored = store(); !stored)
            return stored;
        sound.format = encoder_->format();
        sound.primingFrames = encoder_->primingFrames();
        // Some encoders know one sample rate only.
        sound.presentedFrames = written_ * sound.format->audio()->sampleRate / sampleRate_;
        sound.packetSizes = std::move(sizes_);
        sound.packetFrames = packetFrames_;
        sound.byteCount = byteCount_;
        return {};
    }

private:
    Result<void> begin(std::int32_t sampleRate)
    {
        sampleRate_ = sampleRate;
        const auto frames = [&](std::int64_t time) -> std::int64_t {
            return std::llround(static_cast<double>(time) * sampleRate / timescale_);
        };
        begin_ = std::max<std::int64_t>(0, frames(source_.soundBegin()));
        end_ = frames(source_.soundEnd());
        platform::AudioOutputSettings settings;
        settings.channelCount = channelCount_;
        settings.sampleRate = sampleRate;
        settings.bitRate = bitRate_;
        auto encoder = codecs_.makeAudioEncoder(settings);
        if (!encoder)
            return fail(encoder.error());
        encoder_ = std::move(*encoder);
        return {};
    }

    Result<void> silence(std::int64_t end)
    {
        constexpr std::int64_t most = 48000;
        while (written_ < end) {
            const auto count = std::min(end - written_, most);
            const std::vector<float> none(static_cast<std::size_t>(count * channelCount_), 0.0F);
            if (auto encoded = encode(none); !encoded)
                return encoded;
        }
        return {};
    }

    Result<void> encode(std::span<const float> frames)
    {
        written_ += static_cast<std::int64_t>(frames.size()) / channelCount_;
        packets_.clear();
        if (auto encoded = encoder_->encode(frames, packets_); !encoded)
            return encoded;
        return store();
    }

    Result<void> store()
    {
        for (const auto& packet : packets_) {
            if (auto written = file_.writeAt(byteCount_, packet.data.bytes); !written)
                return written;
            sizes_.push_back(static_cast<std::uint32_t>(packet.data.bytes.size()));
            byteCount_ += packet.data.bytes.size();
            packetFrames_ = packet.frames;
        }
        return {};
    }

    const ClipSource& source_;
    ClipCodecs& codecs_;
    const std::int64_t bitRate_;
    const std::int32_t channelCount_;
    mp4::File& file_;
    const std::int32_t timescale_;
    std::unique_ptr<AudioEncoder> encoder_;
    std::int32_t sampleRate_ = 0;
    std::int64_t begin_ = 0;
    std::int64_t end_ = 0;
    std::int64_t written_ = 0;
    std::optional<std::int64_t> next_;
    std::vector<AudioEncoder::Packet> packets_;
    std::vector<std::uint32_t> sizes_;
    std::int64_t packetFrames_ = 1024;
    std::uint64_t byteCount_ = 0;
};

}  // namespace

Result<std::unique_ptr<EncodedSound>> encodeSound(const ClipSource& source, ClipCodecs& codecs, std::int64_t bitRate,
    std::unique_ptr<mp4::File> file, const std::function<bool(double)>& progress)
{
    const auto channelCount = bitRate < leastForTwoChannels || source.sound()->channelCount == 1 ? 1 : 2;
    const auto samples = source.soundSamples();
    auto decoder = codecs.makeSoundDecoder(*source.sound(), channelCount);
    if (!decoder)
        return fail(decoder.error());
    auto sound = std::make_unique<EncodedSound>();
    sound->bitRate = bitRate;
    SoundLine line{source, codecs, bitRate, channelCount, *file, samples->timescale()};
    std::vector<SoundDecoder::Block> blocks;
    for (bool isEnd = false; !isEnd;) {
        const auto sample = samples->next();
        if (!sample)
            return fail(sample.error());
        isEnd = !*sample;
        blocks.clear();
        auto decoded = isEnd ? (*decoder)->finish(blocks) : (*decoder)->decode(**sample, blocks);
        if (!decoded)
            return fail(decoded.error());
        for (const auto& block : blocks) {
            if (auto added = line.add(block); !added)
                return fail(added.error());
        }
        if (!isEnd && !progress(static_cast<double>((*sample)->time) / std::max(1.0, source.seconds() * samples->timescale())))
            return nullptr;
    }
    if (auto finished = line.finish(*sound); !finished)
        return fail(finished.error());
    sound->file = std::move(file);
    return sound;
}

}  // namespace velmora::engine
