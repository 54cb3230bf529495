#include "tests/support/recording/RecordedClip.h"

#include "base/Mutex.h"
#include "platform/linux/ffmpeg/AvHandles.h"
#include "tests/support/Spectrum.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <span>
#include <utility>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

namespace velmora::test {

namespace {

using linux_backend::AvCodecContext;
using linux_backend::AvFrame;
using linux_backend::AvPacket;
using AvInput = std::unique_ptr<AVFormatContext, linux_backend::AvFree<AVFormatContext, avformat_close_input>>;

/// What libav logs as errors, from any of its threads, between construction and destruction.
class Complaints {
public:
    Complaints()
    {
        MutexLock lock(mutex());
        lines().clear();
        av_log_set_callback(&Complaints::add);
    }
    ~Complaints() { av_log_set_callback(av_log_default_callback); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    static std::vector<std::string> take()
    {
        MutexLock lock(mutex());
        return std::exchange(lines(), {});
    }

private:
    static Mutex& mutex()
    {
        static Mutex instance;
        return instance;
    }
    static std::vector<std::string>& lines()
    {
        static std::vector<std::string> instance;
        return instance;
    }
    static void add(void* source, int level, const char* format, va_list arguments)
    {
        if (level > AV_LOG_ERROR)
            return;
        std::array<char, 512> line{};
        int printPrefix = 1;
        av_log_format_line(source, level, format, arguments, line.data(), static_cast<int>(line.size()), &printPrefix);
        MutexLock lock(mutex());
        lines().emplace_back(line.data());
    }
};

std::string text(const char* value)
{
    return value ? value : "";
}

double seconds(std::int64_t value, AVRational base)
{
    return value == AV_NOPTS_VALUE ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(value) * av_q2d(base);
}

double bitsPerSecond(const std::vector<ClipPacket>& packets, double duration)
{
    std::int64_t bytes = 0;
    for (const auto& packet : packets)
        bytes += packet.bytes;
    return duration > 0 ? static_cast<double>(bytes) * 8 / duration : 0;
}

ClipPacket describe(const AVPacket& packet, AVRational base)
{
    return {seconds(packet.pts, base), packet.pts, packet.dts, packet.size, (packet.flags & AV_PKT_FLAG_KEY) != 0};
}

/// One track's decoder, and what comes out of it.
class Track {
public:
    explicit Track(const AVStream& stream)
        : stream_(stream)
        , context_(avcodec_alloc_context3(avcodec_find_decoder(stream.codecpar->codec_id)))
    {
        avcodec_parameters_to_context(context_.get(), stream.codecpar);
        context_->pkt_timebase = stream.time_base;
        context_->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM;
        avcodec_open2(context_.get(), nullptr, nullptr);
    }

    [[nodiscard]] const AVStream& stream() const { return stream_; }
    [[nodiscard]] const AVCodecContext& decoder() const { return *context_; }

    template <typename Take>
    void decode(const AVPacket* packet, const Take& take)
    {
        if (avcodec_send_packet(context_.get(), packet) < 0)
            av_log(nullptr, AV_LOG_ERROR, "a packet could not be decoded\n");
        const AvFrame frame{av_frame_alloc()};
        while (avcodec_receive_frame(context_.get(), frame.get()) == 0) {
            if (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0)
                av_log(nullptr, AV_LOG_ERROR, "a damaged frame\n");
            take(*frame);
        }
    }

private:
    const AVStream& stream_;
    linux_backend::AvCodecContext context_;
};

ClipPicture describe(const AVFrame& frame, AVRational base, const std::vector<PicturePart>& parts, const LookAtPicture& look)
{
    ClipPicture picture;
    picture.time = seconds(frame.best_effort_timestamp, base);
    picture.width = frame.width;
    picture.height = frame.height;
    const PictureView luma{
        reinterpret_cast<const std::byte*>(frame.data[0]), static_cast<std::size_t>(frame.linesize[0]), frame.width, frame.height, 1};
    picture.brightness = detail::meanOfBlock(luma, {0, 0, frame.width, frame.height});
    if (parts.empty())
        picture.reading = readFrameNumber(luma);
    for (std::size_t i = 0; i < parts.size() && !picture.reading.isReadable(); ++i) {
        picture.reading = readFrameNumber(luma, parts[i]);
        picture.part = i;
    }
    if (look)
        look(luma, picture);
    return picture;
}

void append(ClipAudio& audio, const AVFrame& frame, AVRational base)
{
    if (frame.format != AV_SAMPLE_FMT_FLTP) {
        av_log(nullptr, AV_LOG_ERROR, "sound in a format that this reader does not know\n");
        return;
    }
    if (audio.samples.empty())
        audio.start = seconds(frame.pts, base);
    for (int i = 0; i < frame.nb_samples; ++i) {
        for (int channel = 0; channel < frame.ch_layout.nb_channels; ++channel)
            audio.samples.push_back(reinterpret_cast<const float*>(frame.extended_data[channel])[i]);
    }
}

ClipVideo describeVideo(const Track& track)
{
    const auto& parameters = *track.stream().codecpar;
    return {
        .codec = text(avcodec_get_name(parameters.codec_id)),
        .profile = text(avcodec_profile_name(parameters.codec_id, parameters.profile)),
        .width = parameters.width,
        .height = parameters.height,
        .reorderedFrames = parameters.video_delay,
        .primaries = text(av_color_primaries_name(parameters.color_primaries)),
        .transfer = text(av_color_transfer_name(parameters.color_trc)),
        .matrix = text(av_color_space_name(parameters.color_space)),
        .range = text(av_color_range_name(parameters.color_range)),
        .pixelFormat = text(av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters.format))),
        .start = seconds(track.stream().start_time, track.stream().time_base),
        .duration = seconds(track.stream().duration, track.stream().time_base),
        .packets = {},
        .pictures = {},
    };
}

ClipAudio describeAudio(const Track& track)
{
    const auto& parameters = *track.stream().codecpar;
    return {
        .codec = text(avcodec_get_name(parameters.codec_id)),
        .sampleRate = parameters.sample_rate,
        .channelCount = parameters.ch_layout.nb_channels,
        .duration = seconds(track.stream().duration, track.stream().time_base),
        .packets = {},
        .samples = {},
    };
}

std::unique_ptr<Track> firstTrack(AVFormatContext& input, AVMediaType type)
{
    const int index = av_find_best_stream(&input, type, -1, -1, nullptr, 0);
    return index < 0 ? nullptr : std::make_unique<Track>(*input.streams[index]);
}

AvInput openInput(const std::filesystem::path& file)
{
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, file.c_str(), nullptr, nullptr) < 0)
        return nullptr;
    AvInput input{opened};
    return avformat_find_stream_info(input.get(), nullptr) < 0 ? nullptr : std::move(input);
}

void readAll(AVFormatContext& input, RecordedClip& clip, const std::vector<PicturePart>& parts, const LookAtPicture& look)
{
    const auto video = firstTrack(input, AVMEDIA_TYPE_VIDEO);
    const auto audio = firstTrack(input, AVMEDIA_TYPE_AUDIO);
    if (video)
        clip.video = describeVideo(*video);
    if (audio)
        clip.audio = describeAudio(*audio);
    const auto takePicture = [&](const AVFrame& frame) {
        clip.video->pictures.push_back(describe(frame, video->stream().time_base, parts, look));
    };
    const auto takeSound = [&](const AVFrame& frame) { append(*clip.audio, frame, audio->stream().time_base); };

    const AvPacket packet{av_packet_alloc()};
    while (av_read_frame(&input, packet.get()) == 0) {
        if (video && packet->stream_index == video->stream().index) {
            clip.video->packets.push_back(describe(*packet, video->stream().time_base));
            video->decode(packet.get(), takePicture);
        } else if (audio && packet->stream_index == audio->stream().index) {
            clip.audio->packets.push_back(describe(*packet, audio->stream().time_base));
            audio->decode(packet.get(), takeSound);
        }
        av_packet_unref(packet.get());
    }
    if (video)
        video->decode(nullptr, takePicture);
    if (audio)
        audio->decode(nullptr, takeSound);
}

/// Where a signal rises above `level`, half a second or more after the last time. A clip may begin in the middle of one, so none counts at
/// its very beginning.
template <typename Loudness>
std::vector<double> onsets(std::size_t count, const Loudness& loudness, double level)
{
    std::vector<double> times;
    for (std::size_t i = 0; i < count; ++i) {
        const auto [time, value] = loudness(i);
        if (value > level && (times.empty() || time - times.back() > 0.5))
            times.push_back(time);
    }
    std::erase_if(times, [](double time) { return time < 0.15; });
    return times;
}

}  // namespace

double ClipVideo::bitRate() const
{
    return bitsPerSecond(packets, duration);
}

double ClipAudio::bitRate() const
{
    return bitsPerSecond(packets, duration);
}

ClipAudio::Levels ClipAudio::levels(double tone, double other, int channel) const
{
    const auto channels = static_cast<std::size_t>(channelCount);
    // Short enough to lie between the gaps that a player leaves on a machine with too much to do.
    const auto window = static_cast<std::size_t>(sampleRate) / 8;
    Levels best;
    for (std::size_t begin = 0; begin + window <= frames(); begin += window / 2) {
        const std::span<const float> part{samples.data() + begin * channels, window * channels};
        const auto level = [&](double frequency) {
            return decibels(amplitudeAt(part, channels, static_cast<std::size_t>(channel), sampleRate, frequency));
        };
        const double wanted = level(tone);
        // Without a tone there is nothing to compare with.
        if (wanted > -40 && level(other) - wanted < best.otherAgainstTone)
            best = {wanted, level(other) - wanted};
    }
    return best;
}

RecordedClip readClip(const std::filesystem::path& file, const std::vector<PicturePart>& parts, const LookAtPicture& look)
{
    RecordedClip clip;
    const Complaints complaints;
    if (const auto input = openInput(file)) {
        clip.opened = true;
        clip.duration = seconds(input->duration, {1, AV_TIME_BASE});
        readAll(*input, clip, parts, look);
    }
    clip.complaints = Complaints::take();
    return clip;
}

std::vector<std::string> topLevelBoxes(const std::filesystem::path& file)
{
    std::vector<std::string> types;
    std::ifstream stream{file, std::ios::binary};
    const auto end = std::filesystem::file_size(file);
    for (std::uint64_t position = 0; position < end;) {
        std::array<unsigned char, 16> header{};
        stream.seekg(static_cast<std::streamoff>(position));
        stream.read(reinterpret_cast<char*>(header.data()), header.size());
        stream.clear();
        const auto number = [&](std::size_t begin, std::size_t count) {
            std::uint64_t value = 0;
            for (std::size_t i = begin; i < begin + count; ++i)
                value = value << 8U | header[i];
            return value;
        };
        auto size = number(0, 4);
        if (size == 1)
            size = number(8, 8);
        else if (size == 0)
            size = end - position;
        if (size < 8 || size > end - position) {
            types.emplace_back("?");
            break;
        }
        types.emplace_back(header.begin() + 4, header.begin() + 8);
        position += size;
    }
    return types;
}

std::vector<double> beepsAgainstFlashes(const RecordedClip& clip)
{
    if (!clip.video || !clip.audio)
        return {};
    const auto& pictures = clip.video->pictures;
    const auto flashes = onsets(
        pictures.size(),
        [&](std::size_t i) {
            return std::pair{pictures[i].time, double(pictures[i].brightness)};
        },
        128);
    const auto& audio = *clip.audio;
    const auto channels = static_cast<std::size_t>(audio.channelCount);
    const auto beeps = onsets(
        audio.frames(),
        [&](std::size_t i) {
            return std::pair{audio.secondsOf(i), std::abs(double(audio.samples[i * channels]))};
        },
        0.2);
    std::vector<double> offsets;
    for (const double flash : flashes) {
        const auto nearest =
            std::min_element(beeps.begin(), beeps.end(), [&](double a, double b) { return std::abs(a - flash) < std::abs(b - flash); });
        if (nearest != beeps.end() && std::abs(*nearest - flash) < 0.5)
            offsets.push_back(*nearest - flash);
    }
    return offsets;
}

double median(std::vector<double> values)
{
    if (values.empty())
        return std::numeric_limits<double>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace velmora::test
