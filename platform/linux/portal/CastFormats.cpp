#include "platform/linux/portal/CastFormats.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>

namespace velmora::linux_backend {

namespace {

constexpr std::int64_t linearModifier = 0;  // DRM_FORMAT_MOD_LINEAR of drm_fourcc.h
constexpr std::int32_t damageRectangles = 16;

const spa_pod* formatParameter(spa_pod_builder& builder, std::uint32_t framesPerSecond, bool isLinear)
{
    spa_pod_frame object{};
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(
        &builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), 0);
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(
            5, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_RGBA),
        0);
    if (isLinear) {
        // Mandatory: whoever does not know about modifiers takes the other offer, shared memory.
        spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY);
        spa_pod_builder_long(&builder, linearModifier);
    }
    spa_rectangle usual{1280, 720};
    spa_rectangle smallest{1, 1};
    spa_rectangle largest{largestSide, largestSide};
    spa_fraction variable{0, 1};
    spa_fraction rate{framesPerSecond, 1};
    spa_fraction slowest{1, 1};
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&usual, &smallest, &largest),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&variable, &variable, &rate), SPA_FORMAT_VIDEO_maxFramerate,
        SPA_POD_CHOICE_RANGE_Fraction(&rate, &slowest, &rate), 0);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

const spa_pod* metaParameter(spa_pod_builder& builder, spa_meta_type type, std::size_t size)
{
    return static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(type), SPA_PARAM_META_size, SPA_POD_Int(static_cast<std::int32_t>(size))));
}

}  // namespace

const std::vector<const spa_pod*>& CastParameters::formats(std::uint32_t framesPerSecond)
{
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes_.data(), static_cast<std::uint32_t>(bytes_.size()));
    parameters_ = {formatParameter(builder, framesPerSecond, false), formatParameter(builder, framesPerSecond, true)};
    return parameters_;
}

const std::vector<const spa_pod*>& CastParameters::buffers(const CastFormat& format)
{
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes_.data(), static_cast<std::uint32_t>(bytes_.size()));
    // One of them is always ours, the newest, so that it can be read again.
    auto types = 1 << SPA_DATA_MemFd | 1 << SPA_DATA_MemPtr;
    if (format.isLinear)
        types |= 1 << SPA_DATA_DmaBuf;
    const auto* buffers = static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,
        SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(4, 3, 16), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int(types)));
    const auto* damage = static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
        SPA_PARAM_META_type, SPA_POD_Id(SPA_META_VideoDamage), SPA_PARAM_META_size,
        SPA_POD_CHOICE_RANGE_Int(static_cast<std::int32_t>(sizeof(spa_meta_region)) * damageRectangles,
            static_cast<std::int32_t>(sizeof(spa_meta_region)), static_cast<std::int32_t>(sizeof(spa_meta_region)) * damageRectangles)));
    parameters_ = {buffers, metaParameter(builder, SPA_META_Header, sizeof(spa_meta_header)),
        metaParameter(builder, SPA_META_VideoCrop, sizeof(spa_meta_region)), damage};
    return parameters_;
}

std::optional<CastFormat> parseCastFormat(const spa_pod* parameter)
{
    spa_video_info info{};
    if (spa_format_parse(parameter, &info.media_type, &info.media_subtype) < 0 || info.media_type != SPA_MEDIA_TYPE_video
        || info.media_subtype != SPA_MEDIA_SUBTYPE_raw || spa_format_video_raw_parse(parameter, &info.info.raw) < 0)
        return std::nullopt;
    const auto& raw = info.info.raw;
    if (raw.size.width < 1 || raw.size.height < 1 || raw.size.width > largestSide || raw.size.height > largestSide)
        return std::nullopt;
    CastFormat format{static_cast<std::int32_t>(raw.size.width), static_cast<std::int32_t>(raw.size.height), false,
        spa_pod_find_prop(parameter, nullptr, SPA_FORMAT_VIDEO_modifier) != nullptr && raw.modifier == linearModifier};
    switch (raw.format) {
    case SPA_VIDEO_FORMAT_BGRx:
    case SPA_VIDEO_FORMAT_BGRA:
        return format;
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_RGBA:
        format.isRedFirst = true;
        return format;
    default:
        return std::nullopt;
    }
}

}  // namespace velmora::linux_backend
