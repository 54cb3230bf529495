#include "platform/linux/pulse/PulseSoundStreams.h"

#include "platform/linux/pulse/PulseHandles.h"
#include "platform/linux/pulse/PulseProperties.h"

#include <string>
#include <string_view>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr pa_usec_t patience = 2'000'000;
constexpr const char* errorDomain = "Velmora.PulseSoundStreams";

/// One look at the server, or one after another as its streams change. The callbacks run on the loop's thread, under its lock.
class Look final : public engine::SoundStreamWatch {
public:
    explicit Look(Changed changed = {}) : changed_(std::move(changed)) { }
    ~Look() override
    {
        if (loop_)
            pa_threaded_mainloop_stop(loop_.get());
        if (timer_)
            api()->time_free(timer_);
        context_.reset();
    }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

    Result<std::vector<engine::SoundStream>> take();

private:
    pa_mainloop_api* api() { return pa_threaded_mainloop_get_api(loop_.get()); }
    void onState();
    void onServer(const pa_server_info* info);
    void onSinkInput(const pa_sink_input_info* info, int end);
    void list();
    void follow();
    void end(int error);

    const Changed changed_;  ///< empty: one look is enough
    bool isListing_ = false;
    bool hasChanged_ = false;  ///< since the list was asked for
    std::vector<engine::SoundStream> streams_;
    bool isOver_ = false;
    int error_ = PA_OK;
    PulseLoopHandle loop_;
    PulseContextHandle context_;
    pa_time_event* timer_ = nullptr;
};

Result<std::vector<engine::SoundStream>> Look::take()
{
    auto loop = makePulseLoop("velmora-streams");
    if (!loop)
        return fail(std::move(loop.error()));
    loop_ = std::move(*loop);
    auto context = makePulseContext(api());
    if (!context)
        return fail(std::move(context.error()));
    context_ = std::move(*context);
    pa_context_set_state_callback(
        context_.get(), [](pa_context*, void* self) { static_cast<Look*>(self)->onState(); }, this);
    if (pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return fail(errorDomain, pa_context_errno(context_.get()), "No PulseAudio server answers.");
    timer_ = pa_context_rttime_new(
        context_.get(), pa_rtclock_now() + patience,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) { static_cast<Look*>(self)->end(PA_ERR_TIMEOUT); }, this);
    if (pa_threaded_mainloop_start(loop_.get()) < 0)
        return fail(errorDomain, PA_ERR_INTERNAL, "The thread that asks PulseAudio did not start.");

    PulseLoopLock lock{loop_.get()};
    while (!isOver_)
        pa_threaded_mainloop_wait(loop_.get());
    if (error_ != PA_OK)
        return fail(errorDomain, error_, std::string{"PulseAudio was not asked: "} + pa_strerror(error_));
    return std::move(streams_);
}

void Look::onState()
{
    const auto state = pa_context_get_state(context_.get());
    if (!PA_CONTEXT_IS_GOOD(state)) {
        if (isOver_ && error_ == PA_OK && changed_)
            changed_({});
        return end(PA_ERR_CONNECTIONREFUSED);
    }
    if (state != PA_CONTEXT_READY)
        return;
    PulseOperationHandle{pa_context_get_server_info(
        context_.get(), [](pa_context*, const pa_server_info* info, void* self) { static_cast<Look*>(self)->onServer(info); }, this)};
}

void Look::onServer(const pa_server_info* info)
{
    if (!info || (info->server_name && std::string_view{info->server_name}.find("PipeWire") != std::string_view::npos))
        return end(info ? PA_ERR_NOTSUPPORTED : PA_ERR_UNKNOWN);
    if (changed_)
        follow();
    list();
}

/// Before the list, so that no stream falls between the two.
void Look::follow()
{
    pa_context_set_subscribe_callback(
        context_.get(),
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* data) {
            auto& self = *static_cast<Look*>(data);
            if (!std::exchange(self.hasChanged_, true) && !self.isListing_)
                self.list();
        },
        this);
    PulseOperationHandle{pa_context_subscribe(context_.get(), PA_SUBSCRIPTION_MASK_SINK_INPUT, nullptr, nullptr)};
}

void Look::list()
{
    isListing_ = true;
    hasChanged_ = false;
    streams_.clear();
    PulseOperationHandle{pa_context_get_sink_input_info_list(
        context_.get(),
        [](pa_context*, const pa_sink_input_info* input, int eol, void* self) { static_cast<Look*>(self)->onSinkInput(input, eol); },
        this)};
}

void Look::onSinkInput(const pa_sink_input_info* info, int eol)
{
    if (eol != 0) {
        isListing_ = false;
        if (eol > 0 && changed_)
            changed_(streams_);
        if (hasChanged_)
            list();
        return end(eol > 0 ? PA_OK : PA_ERR_UNKNOWN);
    }
    streams_.push_back({
        .identity = identityOf(*info),
        .mediaName = info->name ? info->name : "",
        .isPlaying = info->corked == 0,
        .isMuted = info->mute != 0 || (info->has_volume != 0 && pa_cvolume_is_muted(&info->volume) != 0),
        .isPassedThrough = info->format && pa_format_info_is_pcm(info->format) == 0,
    });
}

void Look::end(int error)
{
    if (isOver_)
        return;
    isOver_ = true;
    error_ = error;
    pa_threaded_mainloop_signal(loop_.get(), 0);
}

}  // namespace

Result<std::vector<engine::SoundStream>> listPulseSoundStreams()
{
    return Look{}.take();
}

Result<std::unique_ptr<engine::SoundStreamWatch>> watchPulseSoundStreams(engine::SoundStreamWatch::Changed changed)
{
    auto look = std::make_unique<Look>(std::move(changed));
    if (auto first = look->take(); !first)
        return fail(std::move(first.error()));
    return look;
}

bool isOfPipeWire(const Error& error)
{
    return error.domain == errorDomain && error.code == PA_ERR_NOTSUPPORTED;
}

}  // namespace velmora::linux_backend
