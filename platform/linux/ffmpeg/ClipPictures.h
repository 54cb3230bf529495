// A clip's pictures on their way to another encoder: decoded, those that are wanted, in another size.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdint>
#include <functional>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace velmora::linux_backend {

inline constexpr const char* picturesNotDecoded = "The clip's pictures could not be decoded";

/// For a decoder or an encoder of clips.
[[nodiscard]] int clipThreads();

/// The part of a clip, in ticks of engine::pictureTimescale, and when there is a picture.
struct ClipPart {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    engine::PictureTiming timing;
};

/// Takes a decoded picture and the times at which it is encoded, one at least, counted from the part's beginning. False: no more is wanted.
using ShowPicture = std::function<Result<bool>(AVFrame&, const std::vector<std::int64_t>&)>;

/// Shows the pictures of a part in their order, each once the next is known. False: `progress` or `show` wanted no more. Fails where there
/// was no picture.
Result<bool> showPictures(AvCodecContext decoder, engine::CodedSamples& source, const ClipPart& part,
    const engine::PictureProgress& progress, const ShowPicture& show);

/// Pictures a second that an encoder is told to plan with.
[[nodiscard]] int plannedRate(const engine::PictureTiming& timing);

/// Says of an encoder's pictures, or of one that was scaled, what the clip's first picture and its file say of theirs, in limited range.
template <typename Described>
void setColour(Described& described, const AVFrame& first, const ColourDescription& file)
{
    described.color_range = AVCOL_RANGE_MPEG;
    const auto known = [](int stream, int ofFile) { return stream != AVCOL_PRI_UNSPECIFIED ? stream : ofFile; };
    described.color_primaries = static_cast<AVColorPrimaries>(known(first.color_primaries, file.primaries));
    described.color_trc = static_cast<AVColorTransferCharacteristic>(known(first.color_trc, file.transfer));
    described.colorspace = static_cast<AVColorSpace>(known(first.colorspace, file.matrix));
    // What was red, green and blue becomes BT.709.
    if (const auto* layout = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(first.format));
        layout && (layout->flags & AV_PIX_FMT_FLAG_RGB) != 0)
        described.colorspace = AVCOL_SPC_BT709;
}

/// Makes pictures of any layout 4:2:0 with limited range, in one size.
class FrameScaler {
public:
    FrameScaler(std::int32_t width, std::int32_t height) : width_(width), height_(height) { }

    /// `frame` itself where it is that already. Null: out of memory, or a layout that libswscale does not know.
    AvFrame scale(AVFrame& frame);

private:
    const std::int32_t width_;
    const std::int32_t height_;
    AvScaler scaler_;
    int sourceWidth_ = 0;
    int sourceHeight_ = 0;
    AVPixelFormat sourceFormat_ = AV_PIX_FMT_NONE;
    bool sourceIsFullRange_ = false;
};

}  // namespace velmora::linux_backend
