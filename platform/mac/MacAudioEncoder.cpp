#include "platform/mac/MacAudioEncoder.h"

#include <AudioToolbox/AudioToolbox.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace velmora::mac_backend {

namespace {

constexpr UInt32 framesPerPacket = 1024;

/// "If there is no data currently available": any error will do, and this one comes back as it is.
constexpr OSStatus nothingForNow = 0x56454C4D;

struct Dispose {
    void operator()(AudioConverterRef converter) const { AudioConverterDispose(converter); }
};
using Converter = std::unique_ptr<std::remove_pointer_t<AudioConverterRef>, Dispose>;

Error refused(OSStatus status)
{
    return {"Velmora.AudioEncoder", status, "The sound could not be encoded.", nullptr};
}

/// AudioSpecificConfig of AAC-LC (ISO 14496-3 1.6.2.1); none where it has no number for the rate or the channels.
std::optional<std::vector<std::byte>> configurationOf(const platform::AudioOutputSettings& settings)
{
    constexpr std::array<std::int64_t, 13> rates{96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};
    constexpr unsigned lowComplexity = 2;
    const auto* const rate = std::find(rates.begin(), rates.end(), settings.sampleRate);
    // Six channels and fewer are their own number.
    if (rate == rates.end() || settings.channelCount < 1 || settings.channelCount > 6)
        return std::nullopt;
    const unsigned bits =
        lowComplexity << 11 | static_cast<unsigned>(rate - rates.begin()) << 7 | static_cast<unsigned>(settings.channelCount) << 3;
    return std::vector{static_cast<std::byte>(bits >> 8), static_cast<std::byte>(bits & 0xFF)};
}

class MacAudioEncoder final : public engine::AudioEncoder {
public:
    MacAudioEncoder(Converter converter, FormatDescriptionRef format, std::int64_t primingFrames, std::size_t greatestPacket)
        : converter_(std::move(converter))
        , format_(std::move(format))
        , primingFrames_(primingFrames)
        , greatestPacket_(greatestPacket)
    {
    }

    [[nodiscard]] FormatDescriptionRef format() const override { return format_; }
    [[nodiscard]] std::int64_t primingFrames() const override { return primingFrames_; }

    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override
    {
        for (const float each : frames)
            waiting_.push_back(engine::encodableSample(each));
        return convert(packets);
    }

    Result<void> flush(std::vector<Packet>& packets) override
    {
        if (std::exchange(hasEnded_, true))
            return {};
        return convert(packets);
    }

private:
    [[nodiscard]] std::size_t channelCount() const { return static_cast<std::size_t>(format_->audio()->channelCount); }

    /// All packets that what waits is enough for; at the end all that are left.
    Result<void> convert(std::vector<Packet>& packets)
    {
        hasBegun_ = hasBegun_ || !waiting_.empty();
        // The converter may have its priming ready before it has been given anything.
        if (!hasBegun_)
            return {};
        for (;;) {
            std::vector<std::byte> bytes(greatestPacket_);
            AudioBufferList list{1, {{static_cast<UInt32>(channelCount()), static_cast<UInt32>(bytes.size()), bytes.data()}}};
            AudioStreamPacketDescription description{};
            UInt32 count = 1;
            const OSStatus status =
                AudioConverterFillComplexBuffer(converter_.get(), &MacAudioEncoder::provide, this, &count, &list, &description);
            if (count > 0) {
                bytes.resize(list.mBuffers[0].mDataByteSize);
                packets.push_back({DataBlock::owning(std::move(bytes)), framesPerPacket});
            }
            if (status == nothingForNow || (status == noErr && count == 0))
                return {};
            if (status != noErr)
                return fail(refused(status));
        }
    }

    /// What is handed over is not to be touched before the next call: so it is kept apart from what comes in.
    static OSStatus provide(AudioConverterRef, UInt32* count, AudioBufferList* list, AudioStreamPacketDescription**, void* encoder)
    {
        auto& self = *static_cast<MacAudioEncoder*>(encoder);
        const std::size_t channels = self.channelCount();
        const auto samples = std::min(std::size_t{*count} * channels, self.waiting_.size());
        const auto end = self.waiting_.begin() + static_cast<std::ptrdiff_t>(samples);
        self.given_.assign(self.waiting_.begin(), end);
        self.waiting_.erase(self.waiting_.begin(), end);
        *count = static_cast<UInt32>(samples / channels);
        list->mBuffers[0] = {static_cast<UInt32>(channels), static_cast<UInt32>(samples * sizeof(float)), self.given_.data()};
        return samples == 0 && !self.hasEnded_ ? nothingForNow : noErr;
    }

    const Converter converter_;
    const FormatDescriptionRef format_;
    const std::int64_t primingFrames_;
    const std::size_t greatestPacket_;
    std::vector<float> waiting_;
    std::vector<float> given_;
    bool hasBegun_ = false;
    bool hasEnded_ = false;
};

template <typename Value>
OSStatus get(AudioConverterRef converter, AudioConverterPropertyID property, Value& value)
{
    UInt32 size = sizeof value;
    return AudioConverterGetProperty(converter, property, &size, &value);
}

}  // namespace

Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings)
{
    constexpr OSStatus wrongParameter = -50;
    auto configuration = configurationOf(settings);
    if (settings.format.value != kAudioFormatMPEG4AAC || !configuration || settings.bitRate < 1 || settings.bitRate > UINT32_MAX)
        return fail(refused(wrongParameter));

    const auto channels = static_cast<UInt32>(settings.channelCount);
    const auto bytesPerFrame = static_cast<UInt32>(channels * sizeof(float));
    AudioStreamBasicDescription input{};
    input.mSampleRate = static_cast<Float64>(settings.sampleRate);
    input.mFormatID = kAudioFormatLinearPCM;
    input.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
    input.mBytesPerPacket = bytesPerFrame;
    input.mFramesPerPacket = 1;
    input.mBytesPerFrame = bytesPerFrame;
    input.mChannelsPerFrame = channels;
    input.mBitsPerChannel = 32;
    AudioStreamBasicDescription output{};
    output.mSampleRate = input.mSampleRate;
    output.mFormatID = kAudioFormatMPEG4AAC;
    output.mFramesPerPacket = framesPerPacket;
    output.mChannelsPerFrame = channels;

    AudioConverterRef made = nullptr;
    if (const OSStatus status = AudioConverterNew(&input, &output, &made); status != noErr)
        return fail(refused(status));
    Converter converter{made};
    const auto bitRate = static_cast<UInt32>(settings.bitRate);
    if (const OSStatus status = AudioConverterSetProperty(made, kAudioConverterEncodeBitRate, sizeof bitRate, &bitRate); status != noErr)
        return fail(refused(status));
    AudioConverterPrimeInfo priming{};
    if (const OSStatus status = get(made, kAudioConverterPrimeInfo, priming); status != noErr)
        return fail(refused(status));
    UInt32 greatestPacket = 0;
    if (const OSStatus status = get(made, kAudioConverterPropertyMaximumOutputPacketSize, greatestPacket); status != noErr)
        return fail(refused(status));

    auto format = std::make_shared<const FormatDescription>(AudioFormat{"mp4a", static_cast<std::int32_t>(settings.sampleRate),
        static_cast<std::int32_t>(settings.channelCount), std::move(*configuration)});
    return std::make_unique<MacAudioEncoder>(std::move(converter), std::move(format), priming.leadingFrames, greatestPacket);
}

}  // namespace velmora::mac_backend
