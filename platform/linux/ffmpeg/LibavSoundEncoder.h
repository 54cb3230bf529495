// Encoding sound with libavcodec, as far as it is the same for every codec.
#pragma once

#include "engine/codecs/AudioEncoder.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

[[nodiscard]] tl::unexpected<Error> soundEncodingFailure(int averror);

struct SoundEncoderChoice {
    const char* name;  ///< libavcodec's
    AVSampleFormat samples;
    std::int64_t sampleRate = 0;
    std::optional<int> profile = std::nullopt;  ///< libavcodec's number
};

/// An encoder that is given as many channels and bits as the settings say; its header is in no packet, and the library's name neither: what
/// is encoded depends on the sound alone.
[[nodiscard]] Result<AvCodecContext> openSoundEncoder(const SoundEncoderChoice& choice, const platform::AudioOutputSettings& settings);

/// Memory for a packet's worth of sound.
[[nodiscard]] Result<AvFrame> makeSoundFrame(const AVCodecContext& context);

/// Used on one thread.
class LibavSoundEncoder : public engine::AudioEncoder {
public:
    [[nodiscard]] FormatDescriptionRef format() const final { return format_; }
    [[nodiscard]] std::int64_t primingFrames() const final { return context_->initial_padding; }

protected:
    /// Of an open encoder.
    LibavSoundEncoder(AvCodecContext context, FourCharacterCode codec);

    /// Null: none follows. Appends the packets that are ready.
    Result<void> send(const AVFrame* frame, std::vector<Packet>& packets);

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }
    [[nodiscard]] std::size_t channelCount() const { return static_cast<std::size_t>(context_->ch_layout.nb_channels); }

private:
    const AvCodecContext context_;
    const FormatDescriptionRef format_;
};

}  // namespace velmora::linux_backend
