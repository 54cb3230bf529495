// One open H.264 encoder.
#pragma once

#include "engine/codecs/ColourConversion.h"
#include "media/FormatDescription.h"
#include "media/SampleBuffer.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

namespace velmora::linux_backend {

/// An AVERROR; never 0.
using AvError = int;

/// How hard a software encoder tries, in order. The least is for what a machine cannot do otherwise: it spends five eighths of the bits too.
enum class EncodingEffort { least, low, normal };

struct VideoEncoderSettings {
    std::int32_t width = 0;  ///< even
    std::int32_t height = 0;  ///< even
    std::int64_t bitRate = 8'000'000;  ///< bits per second
    int maxKeyFrameInterval = 30;  ///< frames
    EncodingEffort effort = EncodingEffort::normal;
    bool takesOver = false;  ///< has no bits to spend until takeOver() says how many
};

/// Takes pictures in 4:2:0 at uneven times, puts out access units with four-byte lengths. No frame is reordered. Used on one thread.
class VideoEncoder {
public:
    /// Ticks per second of the time stamps below.
    static constexpr std::int32_t timescale = 1'000'000;

    struct Packet {
        std::int64_t presentationTime = 0;  ///< that of the picture
        bool isKeyFrame = false;
        DataBlock data;
    };

    virtual ~VideoEncoder() = default;

    /// The layout in which pictures are wanted.
    [[nodiscard]] virtual engine::Yuv420View::Layout layout() const = 0;

    /// Each packet comes out with its picture, and the idr_pic_id of the key frames (ITU-T H.264 7.4.3) alternates between two values, the
    /// first of which is the same in all encoders. One of another effort makes the same stream, to the byte of its parameter sets.
    [[nodiscard]] virtual bool alternatesKeyFrames() const { return false; }

    /// `picture` is only referred to: the encoder may keep a reference of its own. Times increase strictly. Finished packets, of this
    /// picture or of earlier ones, are appended to `packets`. 0 or an AVERROR.
    virtual int encode(AVFrame& picture, std::int64_t presentationTime, bool asKeyFrame, std::vector<Packet>& packets) = 0;

    /// How many bits a picture at this time could take at once, which is what its predecessors have left. 0 where that is not known.
    [[nodiscard]] virtual std::int64_t unspentBits([[maybe_unused]] std::int64_t presentationTime) const { return 0; }

    /// For an encoder that was opened to take over: encodes `picture`, whose key frame nobody is to see, and lets those that follow spend
    /// what the encoder before it had left. 0 or an AVERROR.
    virtual int takeOver(
        [[maybe_unused]] AVFrame& picture, [[maybe_unused]] std::int64_t presentationTime, [[maybe_unused]] std::int64_t unspentBits)
    {
        return AVERROR(ENOSYS);
    }

    /// Appends what is still inside. The encoder is used up afterwards.
    virtual int drain(std::vector<Packet>& packets) = 0;

    /// "avc1" with its configuration record. Null only before the first packet of an encoder that gives its parameter sets there.
    [[nodiscard]] virtual FormatDescriptionRef format() const = 0;
};

/// One way to encode, as libavcodec names it.
struct VideoEncoderCandidate {
    struct Option {
        const char* name;
        const char* value;
    };

    const char* name = nullptr;
    const char* label = nullptr;  ///< for people, where two candidates have one name; null: the name
    AVHWDeviceType device = AV_HWDEVICE_TYPE_NONE;  ///< whose memory the encoder reads; AV_HWDEVICE_TYPE_NONE: ours
    engine::Yuv420View::Layout layout = engine::Yuv420View::Layout::nv12;
    std::vector<Option> options = {};
    std::vector<Option> normalEffort = {};  ///< in addition, with this effort
    std::vector<Option> lowEffort = {};
    std::vector<Option> leastEffort = {};
    bool isSoftware = false;
    /// With this option as well, the encoder would encode the same, but describe it as wanted: the parameter sets are taken
    /// from an encoder that is opened with it and closed again.
    std::optional<Option> headerOption = std::nullopt;
};

/// All candidates, the preferred one first. Never destroyed.
[[nodiscard]] const std::vector<VideoEncoderCandidate>& videoEncoderCandidates();

/// Opens `candidate`. Fails with the AVERROR of the first step that is not possible on this machine.
tl::expected<std::unique_ptr<VideoEncoder>, AvError> openVideoEncoder(
    const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings);

}  // namespace velmora::linux_backend
