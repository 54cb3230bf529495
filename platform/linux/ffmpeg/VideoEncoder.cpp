#include "platform/linux/ffmpeg/VideoEncoder.h"

#include "engine/codecs/AvcFormat.h"
#include "platform/linux/ffmpeg/BitBudget.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <thread>
#include <utility>

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace velmora::linux_backend {

namespace {

using Layout = engine::Yuv420View::Layout;

// x264 can count real time (force-cfr=0), but then it holds every frame back until the next one shows how long it lasts: half a second
// in a still window. So it counts frames at the planned rate, and its buffer is filled before each frame by what the time since the
// frame before is worth (BitBudget). Its average rate cannot be changed while it runs, its buffer can: the buffer is what keeps the
// rate, and the constant quality is what pictures get that do not need all of it.
// Above the standard's greatest quantizer x264 leaves parts of a frame out rather than overdraw the buffer: after a burst of frames the
// bottom of a picture would show the frame before.
constexpr const char* x264Quality = "14";
// Its presets drop the faint differences that a camera's grain consists of, for the sake of less busy pictures: what a window plays is
// kept. A second picture to refer to and milder loop filtering cost little and gain more (docs/performance.md has the figures).
// All that the parameter sets tell is here, because they have to be the same with every effort.
constexpr const char* x264Parameters = "cabac=1:8x8dct=1:weightp=0:bframes=0:annexb=0:qpmin=12:qpmax=51:ref=2:deblock=-1,-1"
                                       ":no-dct-decimate=1:deadzone-inter=11:deadzone-intra=6";

/// What pictures may take on average. Bits are what costs most beside the size, so the least effort spends fewer.
std::int64_t spentRate(const VideoEncoderSettings& settings)
{
    return settings.effort == EncodingEffort::least ? settings.bitRate * 5 / 8 : settings.bitRate;
}

const std::vector<VideoEncoderCandidate::Option>& effortOptions(const VideoEncoderCandidate& candidate, EncodingEffort effort)
{
    switch (effort) {
    case EncodingEffort::least:
        return candidate.leastEffort;
    case EncodingEffort::low:
        return candidate.lowEffort;
    case EncodingEffort::normal:
        break;
    }
    return candidate.normalEffort;
}

std::span<const std::byte> bytes(const std::uint8_t* data, int size)
{
    return {reinterpret_cast<const std::byte*>(data), static_cast<std::size_t>(std::max(size, 0))};
}

FormatDescriptionRef makeFormat(const VideoEncoderSettings& settings, std::vector<std::byte> decoderConfiguration)
{
    VideoFormat format;
    format.codec = FourCharacterCode{"avc1"};
    format.width = settings.width;
    format.height = settings.height;
    format.colour = ColourDescription::bt709();
    format.decoderConfiguration = std::move(decoderConfiguration);
    return std::make_shared<const FormatDescription>(std::move(format));
}

class LibavVideoEncoder final : public VideoEncoder {
public:
    static tl::expected<std::unique_ptr<VideoEncoder>, AvError> open(
        const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings)
    {
        const AVCodec* codec = avcodec_find_encoder_by_name(candidate.name);
        if (!codec)
            return tl::unexpected(AVERROR_ENCODER_NOT_FOUND);
        std::unique_ptr<LibavVideoEncoder> encoder{
            new LibavVideoEncoder(settings, candidate, AvCodecContext{avcodec_alloc_context3(codec)})};
        if (!encoder->context_ || !encoder->received_)
            return tl::unexpected(AVERROR(ENOMEM));
        encoder->configure();
        if (const int error = encoder->openDevice(candidate.device))
            return tl::unexpected(error);
        if (const int error = encoder->openCodec(candidate, *codec))
            return tl::unexpected(error);
        if (candidate.headerOption) {
            VideoEncoderCandidate twin = candidate;
            twin.options.push_back(*std::exchange(twin.headerOption, std::nullopt));
            auto opened = open(twin, settings);
            if (!opened)
                return opened;
            encoder->format_ = (*opened)->format();
        }
        return encoder;
    }

    [[nodiscard]] Layout layout() const override { return layout_; }

    [[nodiscard]] bool alternatesKeyFrames() const override { return isSoftware_; }

    int encode(AVFrame& picture, std::int64_t presentationTime, bool asKeyFrame, std::vector<Packet>& packets) override
    {
        return encode(picture, presentationTime, asKeyFrame, budget_.earnedBy(presentationTime), packets);
    }

    [[nodiscard]] std::int64_t unspentBits(std::int64_t presentationTime) const override
    {
        return isSoftware_ ? budget_.unspent(presentationTime) : 0;
    }

    int takeOver(AVFrame& picture, std::int64_t presentationTime, std::int64_t unspentBits) override
    {
        if (!isSoftware_)
            return AVERROR(ENOSYS);
        std::vector<Packet> unseen;
        return encode(picture, presentationTime, true, budget_.missingTo(unspentBits), unseen);
    }

    int drain(std::vector<Packet>& packets) override
    {
        if (const int error = avcodec_send_frame(context_.get(), nullptr))
            return error;
        return receive(packets);
    }

    [[nodiscard]] FormatDescriptionRef format() const override { return format_; }

private:
    LibavVideoEncoder(const VideoEncoderSettings& settings, const VideoEncoderCandidate& candidate, AvCodecContext context)
        : settings_(settings)
        , layout_(candidate.layout)
        , isSoftware_(candidate.isSoftware)
        , budget_(settings.bitRate, spentRate(settings), settings.takesOver)
        , context_(std::move(context))
        , received_(av_packet_alloc())
    {
    }

    /// `earned`: the bits by which the rate control's buffer is filled.
    int encode(AVFrame& picture, std::int64_t presentationTime, bool asKeyFrame, std::int64_t earned, std::vector<Packet>& packets)
    {
        AVFrame* input = &picture;
        AvFrame uploaded;
        if (hardwareFrames_) {
            uploaded.reset(av_frame_alloc());
            if (!uploaded)
                return AVERROR(ENOMEM);
            if (const int error = av_hwframe_get_buffer(hardwareFrames_.get(), uploaded.get(), 0))
                return error;
            if (const int error = av_hwframe_transfer_data(uploaded.get(), &picture, 0))
                return error;
            input = uploaded.get();
        }
        input->pts = presentationTime;
        input->pict_type = asKeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
        input->color_range = context_->color_range;
        input->color_primaries = context_->color_primaries;
        input->color_trc = context_->color_trc;
        input->colorspace = context_->colorspace;
        input->chroma_location = context_->chroma_sample_location;

        // What a frame of the planned duration gets at this rate.
        if (isSoftware_)
            context_->rc_max_rate = earned * BitBudget::plannedFrameRate;

        const std::size_t packetsBefore = packets.size();
        int error = avcodec_send_frame(context_.get(), input);
        if (error == AVERROR(EAGAIN)) {
            if (const int receiveError = receive(packets))
                return receiveError;
            error = avcodec_send_frame(context_.get(), input);
        }
        if (!error)
            error = receive(packets);
        std::size_t spent = 0;
        for (std::size_t index = packetsBefore; index < packets.size(); ++index)
            spent += 8 * packets[index].data.bytes.size();
        budget_.encoded(presentationTime, earned, static_cast<std::int64_t>(spent));
        return error;
    }

    void configure()
    {
        AVCodecContext& c = *context_;
        c.width = settings_.width;
        c.height = settings_.height;
        c.pix_fmt = pixelFormat(layout_);
        c.time_base = {1, timescale};
        c.framerate = {BitBudget::plannedFrameRate, 1};
        c.sample_aspect_ratio = {1, 1};
        c.bit_rate = isSoftware_ ? 0 : settings_.bitRate;
        c.rc_max_rate = isSoftware_ ? settings_.bitRate : settings_.bitRate * 3 / 2;
        c.rc_buffer_size = static_cast<int>(std::min<std::int64_t>(BitBudget::capacity(settings_.bitRate), INT32_MAX));
        if (settings_.takesOver)
            c.rc_initial_buffer_occupancy = 1;
        c.gop_size = settings_.maxKeyFrameInterval;
        c.max_b_frames = 0;
        c.profile = profileH264High;
        c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        c.color_range = AVCOL_RANGE_MPEG;
        c.color_primaries = AVCOL_PRI_BT709;
        c.color_trc = AVCOL_TRC_BT709;
        c.colorspace = AVCOL_SPC_BT709;
        c.chroma_sample_location = AVCHROMA_LOC_CENTER;
        // Slices, because frame threads hold frames back. Two, because the captured program needs the other cores.
        c.thread_type = FF_THREAD_SLICE;
        c.thread_count = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 2U));
    }

    int openDevice(AVHWDeviceType type)
    {
        if (type == AV_HWDEVICE_TYPE_NONE)
            return 0;
        AVBufferRef* device = nullptr;
        if (const int error = av_hwdevice_ctx_create(&device, type, nullptr, nullptr, 0))
            return error;
        const AvBuffer ownedDevice{device};
        hardwareFrames_.reset(av_hwframe_ctx_alloc(device));
        if (!hardwareFrames_)
            return AVERROR(ENOMEM);
        auto& frames = *reinterpret_cast<AVHWFramesContext*>(hardwareFrames_->data);
        frames.format = hardwarePixelFormat(type);
        frames.sw_format = pixelFormat(layout_);
        frames.width = settings_.width;
        frames.height = settings_.height;
        frames.initial_pool_size = 8;  // references and what is being encoded; surfaces of a fixed pool
        if (const int error = av_hwframe_ctx_init(hardwareFrames_.get()))
            return error;
        context_->pix_fmt = frames.format;
        context_->hw_frames_ctx = av_buffer_ref(hardwareFrames_.get());
        return context_->hw_frames_ctx ? 0 : AVERROR(ENOMEM);
    }

    static AVPixelFormat hardwarePixelFormat(AVHWDeviceType type)
    {
        return type == AV_HWDEVICE_TYPE_VAAPI ? AV_PIX_FMT_VAAPI : AV_PIX_FMT_NONE;
    }

    int openCodec(const VideoEncoderCandidate& candidate, const AVCodec& codec)
    {
        AvDictionary options;
        for (const auto& option : candidate.options)
            options.set(option.name, option.value);
        for (const auto& option : effortOptions(candidate, settings_.effort))
            options.set(option.name, option.value);
        if (const int error = avcodec_open2(context_.get(), &codec, options.get()))
            return error;
        if (auto configuration = engine::avcDecoderConfiguration(bytes(context_->extradata, context_->extradata_size)))
            format_ = makeFormat(settings_, std::move(*configuration));
        return 0;
    }

    int receive(std::vector<Packet>& packets)
    {
        for (;;) {
            const int error = avcodec_receive_packet(context_.get(), received_.get());
            if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
                return 0;
            if (error)
                return error;
            if (const int takeError = take(packets))
                return takeError;
        }
    }

    int take(std::vector<Packet>& packets)
    {
        AvPacket packet{av_packet_alloc()};
        if (!packet)
            return AVERROR(ENOMEM);
        av_packet_move_ref(packet.get(), received_.get());
        const auto data = bytes(packet->data, packet->size);
        if (data.empty())
            return AVERROR_EXTERNAL;

        if (!framing_)
            framing_ = engine::framingOf(data);
        if (!format_) {
            auto configuration = engine::avcDecoderConfiguration(data);
            if (!configuration)
                return AVERROR_INVALIDDATA;
            format_ = makeFormat(settings_, std::move(*configuration));
        }

        Packet& out = packets.emplace_back();
        out.presentationTime = packet->pts;
        out.isKeyFrame = (packet->flags & AV_PKT_FLAG_KEY) != 0;
        if (*framing_ == engine::NalFraming::lengthPrefixed)
            out.data = {data, std::shared_ptr<const AVPacket>(std::move(packet))};
        else
            out.data = DataBlock::owning(engine::withLengthPrefixes(data));
        return 0;
    }

    const VideoEncoderSettings settings_;
    const Layout layout_;
    const bool isSoftware_;
    BitBudget budget_;
    AvBuffer hardwareFrames_;
    AvCodecContext context_;
    AvPacket received_;
    std::optional<engine::NalFraming> framing_;
    FormatDescriptionRef format_;
};

}  // namespace

const std::vector<VideoEncoderCandidate>& videoEncoderCandidates()
{
    // libx264 must not tell decoders that its frames come at a fixed rate (ITU-T H.264 E.2.1, fixed_frame_rate_flag).
    static const auto& x264HeaderParameters = *new std::string{x264Parameters + std::string{":force-cfr=0"}};
    // Each is told to hold no frame back and to make an IDR frame of every key frame that is asked for.
    static const auto& candidates = *new std::vector<VideoEncoderCandidate>{
        {.name = "h264_nvenc",
            .layout = Layout::nv12,
            .options = {{"preset", "p4"}, {"tune", "ll"}, {"profile", "high"}, {"rc", "vbr"}, {"zerolatency", "1"}, {"delay", "0"},
                {"rc-lookahead", "0"}, {"forced-idr", "1"}}},
        {.name = "h264_vaapi",
            .device = AV_HWDEVICE_TYPE_VAAPI,
            .layout = Layout::nv12,
            .options = {{"rc_mode", "VBR"}, {"async_depth", "1"}}},
        // Newer Intel graphics encode only in their low-power unit.
        {.name = "h264_vaapi",
            .label = "h264_vaapi (low power)",
            .device = AV_HWDEVICE_TYPE_VAAPI,
            .layout = Layout::nv12,
            .options = {{"rc_mode", "VBR"}, {"async_depth", "1"}, {"low_power", "1"}}},
        {.name = "h264_qsv",
            .layout = Layout::nv12,
            .options = {{"preset", "faster"}, {"profile", "high"}, {"async_depth", "1"}, {"look_ahead", "0"}, {"forced_idr", "1"}}},
        {.name = "h264_v4l2m2m", .layout = Layout::nv12},
        {.name = "libx264",
            .layout = Layout::i420,
            .options = {{"tune", "zerolatency"}, {"profile", "high"}, {"crf", x264Quality}, {"forced-idr", "1"},
                {"x264-params", x264Parameters}},
            .normalEffort = {{"preset", "superfast"}, {"aq-mode", "variance"}, {"aq-strength", "0.6"}},
            .lowEffort = {{"preset", "ultrafast"}, {"partitions", "i8x8"}, {"aq-mode", "variance"}, {"aq-strength", "0.6"}},
            .leastEffort = {{"preset", "ultrafast"}, {"aq-mode", "none"}},
            .isSoftware = true,
            .headerOption = VideoEncoderCandidate::Option{"x264-params", x264HeaderParameters.c_str()}},
    };
    return candidates;
}

tl::expected<std::unique_ptr<VideoEncoder>, AvError> openVideoEncoder(
    const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings)
{
    return LibavVideoEncoder::open(candidate, settings);
}

}  // namespace velmora::linux_backend
