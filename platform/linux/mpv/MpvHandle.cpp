#include "platform/linux/mpv/MpvHandle.h"

#include "platform/linux/mpv/MpvPlayer.h"

#include <array>
#include <malloc.h>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

constexpr std::array<std::pair<const char*, const char*>, 29> options{{
    // Nothing of the user's, nothing from elsewhere, nothing kept.
    {"config", "no"},
    {"load-scripts", "no"},
    {"ytdl", "no"},
    {"terminal", "no"},
    {"input-default-bindings", "no"},
    {"input-vo-keyboard", "no"},
    {"osc", "no"},
    {"osd-level", "0"},
    {"sub-auto", "no"},
    {"audio-file-auto", "no"},
    {"cover-art-auto", "no"},
    {"audio-display", "no"},
    {"access-references", "no"},
    {"load-unsafe-playlists", "no"},
    {"demuxer-lavf-o", "protocol_whitelist=file"},
    // A file is a movie or it is refused: a text file may be a list of other files.
    {"demuxer", "lavf"},
    {"demuxer-lavf-format", "mov"},
    {"save-position-on-quit", "no"},
    {"resume-playback", "no"},
    // The file stays open past its end, paused, and it begins paused.
    {"keep-open", "yes"},
    {"pause", "yes"},
    {"hr-seek", "yes"},
    // Times are those in the file.
    {"rebase-start-time", "no"},
    {"hwdec", "no"},
    // What draws in memory cannot turn pictures: a clip that has to be turned would end the program.
    {"video-rotate", "no"},
    {"vo", "libmpv"},
    {"cache", "no"},
    // Without a sound server the pictures play all the same.
    {"audio-fallback-to-null", "yes"},
    {"audio-client-name", "Velmora"},
}};

/// Scripts of its own, each on a thread with an interpreter, for keys and profiles that there are none of here. Not every version has them
/// all under these names.
constexpr std::array<const char*, 5> ownScripts{
    "load-stats-overlay", "load-osd-console", "load-console", "load-select", "load-auto-profiles"};

}  // namespace

Error mpvError(int code)
{
    return {std::string{mpvErrorDomain}, code, mpv_error_string(code), {}};
}

Result<std::unique_ptr<MpvHandle>> MpvHandle::create(std::function<void()> wakeUp, std::function<void()> pictureChanged)
{
    std::unique_ptr<MpvHandle> handle{new MpvHandle{std::move(wakeUp), std::move(pictureChanged)}};
    if (const auto initialized = handle->initialize(); !initialized)
        return fail(initialized.error());
    return handle;
}

MpvHandle::MpvHandle(std::function<void()> wakeUp, std::function<void()> pictureChanged)
    : wakeUp_(std::move(wakeUp))
    , pictureChanged_(std::move(pictureChanged))
{
}

Result<void> MpvHandle::initialize()
{
    core_ = mpv_create();
    if (!core_)
        return fail(mpvError(MPV_ERROR_NOMEM));
    for (const auto& [name, value] : options) {
        if (const int status = mpv_set_option_string(core_, name, value); status < 0)
            return fail(mpvError(status));
    }
    for (const auto* name : ownScripts) {
        if (const int status = mpv_set_option_string(core_, name, "no"); status < 0 && status != MPV_ERROR_OPTION_NOT_FOUND)
            return fail(mpvError(status));
    }
    if (const int status = mpv_initialize(core_); status < 0)
        return fail(mpvError(status));
    mpv_set_wakeup_callback(
        core_, [](void* self) { static_cast<MpvHandle*>(self)->wakeUp_(); }, this);

    std::array<mpv_render_param, 2> parameters{{
        {MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_SW)},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    }};
    if (const int status = mpv_render_context_create(&renderer_, core_, parameters.data()); status < 0)
        return fail(mpvError(status));
    mpv_render_context_set_update_callback(
        renderer_, [](void* self) { static_cast<MpvHandle*>(self)->pictureChanged_(); }, this);
    return {};
}

MpvHandle::~MpvHandle()
{
    if (renderer_) {
        mpv_render_context_set_update_callback(renderer_, nullptr, nullptr);
        mpv_render_context_free(renderer_);
    }
    if (core_) {
        mpv_set_wakeup_callback(core_, nullptr, nullptr);
        mpv_terminate_destroy(core_);
    }
    // Its threads have freed some ten megabytes, here and there among what stays; glibc gives only whole ends back by itself.
    ::malloc_trim(0);
}

void MpvHandle::command(std::initializer_list<const char*> arguments, std::uint64_t number)
{
    std::vector<const char*> terminated{arguments};
    terminated.push_back(nullptr);
    mpv_command_async(core_, number, terminated.data());
}

void MpvHandle::setText(const char* property, const std::string& value)
{
    auto* text = const_cast<char*>(value.c_str());
    mpv_set_property_async(core_, 0, property, MPV_FORMAT_STRING, &text);
}

void MpvHandle::setFlag(const char* property, bool value)
{
    int flag = value ? 1 : 0;
    mpv_set_property_async(core_, 0, property, MPV_FORMAT_FLAG, &flag);
}

void MpvHandle::setNumber(const char* property, double value)
{
    mpv_set_property_async(core_, 0, property, MPV_FORMAT_DOUBLE, &value);
}

bool MpvHandle::flag(const char* property) const
{
    int value = 0;
    return mpv_get_property(core_, property, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
}

std::optional<double> MpvHandle::number(const char* property) const
{
    double value = 0;
    if (mpv_get_property(core_, property, MPV_FORMAT_DOUBLE, &value) < 0)
        return std::nullopt;
    return value;
}

bool MpvHandle::hasNextPicture() const
{
    mpv_render_frame_info picture{};
    return mpv_render_context_get_info(renderer_, {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &picture}) >= 0
        && (picture.flags & MPV_RENDER_FRAME_INFO_PRESENT) != 0;
}

}  // namespace velmora::linux_backend
