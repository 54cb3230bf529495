#include "platform/linux/ffmpeg/LibavOpusEncoder.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace velmora::linux_backend {

Result<std::unique_ptr<engine::AudioEncoder>> LibavOpusEncoder::create(const platform::AudioOutputSettings& settings)
{
    if (settings.channelCount < 1 || settings.channelCount > 2 || settings.sampleRate < 1 || settings.sampleRate > INT32_MAX
        || settings.bitRate < 1)
        return soundEncodingFailure(AVERROR(EINVAL));
    auto context = openSoundEncoder({opusEncoderName, AV_SAMPLE_FMT_FLT, sampleRate}, settings);
    if (!context)
        return fail(context.error());

    SwrContext* made = nullptr;
    int error = swr_alloc_set_opts2(&made, &(*context)->ch_layout, AV_SAMPLE_FMT_FLT, sampleRate, &(*context)->ch_layout, AV_SAMPLE_FMT_FLT,
        static_cast<int>(settings.sampleRate), 0, nullptr);
    AvResampler resampler{made};
    if (error >= 0)
        error = swr_init(resampler.get());
    if (error < 0)
        return soundEncodingFailure(error);

    return std::unique_ptr<engine::AudioEncoder>{new LibavOpusEncoder(std::move(*context), std::move(resampler))};
}

LibavOpusEncoder::LibavOpusEncoder(AvCodecContext context, AvResampler resampler)
    : LibavSoundEncoder(std::move(context), FourCharacterCode{"Opus"})
    , resampler_(std::move(resampler))
{
}

Result<void> LibavOpusEncoder::encode(std::span<const float> frames, std::vector<Packet>& packets)
{
    limited_.resize(frames.size());
    std::transform(frames.begin(), frames.end(), limited_.begin(), engine::encodableSample);
    return resample(limited_.data(), static_cast<int>(frames.size() / channelCount()), packets);
}

Result<void> LibavOpusEncoder::flush(std::vector<Packet>& packets)
{
    if (auto resampled = resample(nullptr, 0, packets); !resampled)
        return resampled;
    const auto block = static_cast<std::size_t>(context().frame_size) * channelCount();
    if (!pending_.empty()) {
        pending_.resize(block, 0.0F);
        if (auto encoded = resample(nullptr, 0, packets); !encoded)
            return encoded;
    }
    return sentFrames_ > 0 ? send(nullptr, packets) : Result<void>{};
}

/// No frames: what the resampler still has comes out.
Result<void> LibavOpusEncoder::resample(const float* frames, int count, std::vector<Packet>& packets)
{
    const int room = swr_get_out_samples(resampler_.get(), count);
    if (room < 0)
        return soundEncodingFailure(room);
    const auto before = pending_.size();
    pending_.resize(before + static_cast<std::size_t>(room) * channelCount());
    auto* out = reinterpret_cast<std::uint8_t*>(pending_.data() + before);
    const auto* in = reinterpret_cast<const std::uint8_t*>(frames);
    const int converted = swr_convert(resampler_.get(), &out, room, frames ? &in : nullptr, count);
    if (converted < 0)
        return soundEncodingFailure(converted);
    pending_.resize(before + static_cast<std::size_t>(converted) * channelCount());

    const auto block = static_cast<std::size_t>(context().frame_size) * channelCount();
    std::size_t done = 0;
    for (; pending_.size() - done >= block; done += block) {
        const auto frame = makeSoundFrame(context());
        if (!frame)
            return fail(frame.error());
        (*frame)->pts = sentFrames_;
        std::memcpy((*frame)->data[0], pending_.data() + done, block * sizeof(float));
        sentFrames_ += context().frame_size;
        if (auto sent = send(frame->get(), packets); !sent)
            return sent;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(done));
    return {};
}

}  // namespace velmora::linux_backend
