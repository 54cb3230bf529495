#include "engine/files/ExpectedSound.h"

#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace velmora::engine {

namespace {

constexpr auto packetFrames = mp4::SoundSplice::packetFrames;

/// Two that overlap a packet of another grid, and the one before for a step back.
constexpr std::size_t mostKept = 3;

}  // namespace

Result<std::vector<std::byte>> SourceSound::packet(std::size_t number)
{
    const auto& sample = packets_[number];
    std::vector<std::byte> bytes(sample.size);
    const auto complete = file_.readAt(sample.offset, bytes);
    if (!complete)
        return fail(complete.error());
    if (!*complete)
        return fail(mp4::makeError(mp4::ErrorCode::damaged, "The file became shorter while it was being read."));
    return bytes;
}

Result<void> SourceSound::decodeNext()
{
    const auto bytes = packet(next_);
    if (!bytes)
        return fail(bytes.error());
    auto frames = decoder_->decode(*bytes);
    if (!frames)
        return fail(frames.error());
    if (frames->size() != static_cast<std::size_t>(packetFrames * format_.channelCount))
        return fail(mp4::makeError(mp4::ErrorCode::unsupported, "The file's sound has other channels than it says."));
    latest_.push_back({next_++, std::move(*frames)});
    if (latest_.size() > mostKept)
        latest_.pop_front();
    return {};
}

Result<const std::vector<float>*> SourceSound::decoded(std::size_t number)
{
    for (const auto& known : latest_) {
        if (known.number == number)
            return &known.frames;
    }
    if (!decoder_ || number != next_) {
        auto made = makeDecoder_(format_);
        if (!made)
            return fail(made.error());
        decoder_ = std::move(*made);
        latest_.clear();
        // A packet is whole only behind the one before it.
        next_ = number > 0 ? number - 1 : 0;
    }
    while (next_ <= number) {
        if (const auto result = decodeNext(); !result)
            return fail(result.error());
    }
    return &latest_.back().frames;
}

Result<void> SourceSound::read(std::int64_t begin, std::span<float> frames)
{
    const auto channels = static_cast<std::size_t>(format_.channelCount);
    const auto end = begin + static_cast<std::int64_t>(frames.size() / channels);
    auto packet = std::upper_bound(packets_.begin(), packets_.end(), begin - packetFrames,
        [](std::int64_t time, const mp4::Sample& sample) { return time < sample.decodeTime; });
    for (; packet != packets_.end() && packet->decodeTime < end; ++packet) {
        const auto heard = decoded(static_cast<std::size_t>(packet - packets_.begin()));
        if (!heard)
            return fail(heard.error());
        const auto from = std::max(begin, packet->decodeTime);
        const auto to = std::min(end, packet->decodeTime + packetFrames);
        const auto source = std::span{**heard}.subspan(
            static_cast<std::size_t>(from - packet->decodeTime) * channels, static_cast<std::size_t>(to - from) * channels);
        std::copy(source.begin(), source.end(), frames.begin() + (from - begin) * static_cast<std::int64_t>(channels));
    }
    return {};
}

Result<std::vector<float>> ExpectedSound::framesFrom(std::int64_t time)
{
    std::vector<float> frames(static_cast<std::size_t>(packetFrames) * channelCount_, 0.0F);
    for (const auto& span : splice_.spans) {
        const auto from = std::max(time, span.extendsBack ? std::numeric_limits<std::int64_t>::min() : span.begin);
        const auto to = std::min(time + packetFrames, span.extendsOn ? std::numeric_limits<std::int64_t>::max() : span.end);
        if (from >= to)
            continue;
        const auto heard = std::span{frames}.subspan(
            static_cast<std::size_t>(from - time) * channelCount_, static_cast<std::size_t>(to - from) * channelCount_);
        if (const auto result = sources_[span.source].read(from + span.mediaOffset, heard); !result)
            return fail(result.error());
    }
    return frames;
}

}  // namespace velmora::engine
