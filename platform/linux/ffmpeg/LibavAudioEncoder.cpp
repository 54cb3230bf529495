#include "platform/linux/ffmpeg/LibavAudioEncoder.h"

#include "platform/linux/ffmpeg/LibavDifferences.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <utility>

namespace velmora::linux_backend {

namespace {

/// What the encoder remembers of sound is its last three blocks, and how well it kept its bit rate, which is at the end of its scale
/// after a few packets of next to nothing.
constexpr std::int64_t blocksOfSound = 16;

}  // namespace

Result<std::unique_ptr<engine::AudioEncoder>> LibavAudioEncoder::create(const platform::AudioOutputSettings& settings)
{
    constexpr std::int64_t greatestChannelCount = 8;
    if (settings.format != FourCharacterCode{"aac "} || settings.channelCount < 1 || settings.channelCount > greatestChannelCount
        || settings.sampleRate < 1 || settings.sampleRate > INT32_MAX || settings.bitRate < 1)
        return soundEncodingFailure(AVERROR(EINVAL));
    auto context = openSoundEncoder({"aac", AV_SAMPLE_FMT_FLTP, settings.sampleRate, profileAacLow}, settings);
    if (!context)
        return fail(context.error());
    auto frame = makeSoundFrame(**context);
    if (!frame)
        return fail(frame.error());
    return std::unique_ptr<engine::AudioEncoder>{new LibavAudioEncoder(std::move(*context), std::move(*frame))};
}

LibavAudioEncoder::LibavAudioEncoder(AvCodecContext context, AvFrame frame)
    : LibavSoundEncoder(std::move(context), FourCharacterCode{"mp4a"})
    , frame_(std::move(frame))
{
}

Result<void> LibavAudioEncoder::encode(std::span<const float> frames, std::vector<Packet>& packets)
{
    assert(!ended_);
    const auto channelCount = this->channelCount();
    assert(frames.size() % channelCount == 0);
    while (!frames.empty()) {
        if (filled_ == 0) {
            // The encoder may still hold the block that was sent last.
            if (const int error = av_frame_make_writable(frame_.get()))
                return soundEncodingFailure(error);
        }
        const auto count = std::min(frames.size() / channelCount, static_cast<std::size_t>(context().frame_size - filled_));
        for (std::size_t channel = 0; channel < channelCount; ++channel) {
            float* plane = reinterpret_cast<float*>(frame_->extended_data[channel]) + filled_;
            for (std::size_t i = 0; i < count; ++i)
                plane[i] = engine::encodableSample(frames[i * channelCount + channel]);
            isSilent_ = isSilent_ && std::all_of(plane, plane + count, [](float value) { return value == 0; });
        }
        filled_ += static_cast<int>(count);
        frames = frames.subspan(count * channelCount);
        if (filled_ == context().frame_size) {
            if (auto encoded = encodeBlock(packets); !encoded)
                return encoded;
        }
    }
    return {};
}

Result<void> LibavAudioEncoder::flush(std::vector<Packet>& packets)
{
    if (ended_)
        return {};
    if (filled_ > 0) {
        const std::vector<float> silence(static_cast<std::size_t>(context().frame_size - filled_) * channelCount(), 0.0F);
        if (auto encoded = encode(silence, packets); !encoded)
            return encoded;
    }
    ended_ = true;
    if (encodedBlocks_ == 0)
        return {};
    return sendBlock(nullptr, packets);
}

Result<void> LibavAudioEncoder::encodeBlock(std::vector<Packet>& packets)
{
    filled_ = 0;
    const bool isSilent = std::exchange(isSilent_, true);
    if (isSilent && isPacketKnown()) {
        packets.push_back({lastPacket_, context().frame_size});
        return {};
    }
    silentBlocks_ = isSilent ? silentBlocks_ + 1 : 0;
    frame_->pts = encodedBlocks_++ * context().frame_size;
    return sendBlock(frame_.get(), packets);
}

bool LibavAudioEncoder::isPacketKnown() const
{
    return silentBlocks_ >= blocksOfSound && isLastRepeated_;
}

Result<void> LibavAudioEncoder::sendBlock(const AVFrame* frame, std::vector<Packet>& packets)
{
    const auto before = packets.size();
    if (auto sent = send(frame, packets); !sent)
        return sent;
    for (auto i = before; i < packets.size(); ++i) {
        isLastRepeated_ = std::ranges::equal(packets[i].data.bytes, lastPacket_.bytes);
        lastPacket_ = packets[i].data;
    }
    return {};
}

}  // namespace velmora::linux_backend
