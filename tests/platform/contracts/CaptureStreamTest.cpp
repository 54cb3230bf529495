// The contract of CaptureStream for the engine's streams on a desktop that is a drawing, and for those of a Mac around a system that is
// played.
#include "base/Mutex.h"
#include "engine/capture/CaptureStreams.h"
#include "platform/mac/MacCaptureStream.h"
#include "tests/engine/capture/ToyBackEnd.h"
#include "tests/platform/contracts/CaptureStreamContract.h"
#include "tests/platform/mac/ScriptedSystemStream.h"

#include <functional>
#include <optional>
#include <utility>

namespace velmora::test {
namespace {

using platform::CaptureStream;
using platform::StreamConfiguration;

/// A desktop of the toys, which streams keep: one that is released may go on a thread of its own, later.
struct Toys {
    void close(const Error& error)
    {
        MutexLock lock(mutex);
        if (stopped)
            stopped(error);
    }

    engine::ToyWindow window{64, 48};
    std::optional<Error> startError;
    Mutex mutex;
    std::function<void(const Error&)> stopped GUARDED_BY(mutex);
};

/// A source whose window can go.
class MortalVideo final : public engine::VideoSource {
public:
    MortalVideo(std::shared_ptr<Toys> toys, const StreamConfiguration& configuration)
        : toys_(std::move(toys))
        , source_(toys_->window, configuration, engine::PictureScalerFactory{})
    {
    }
    MortalVideo(const MortalVideo&) = delete;
    MortalVideo& operator=(const MortalVideo&) = delete;
    ~MortalVideo() override { forget(); }

    Result<void> start(Callbacks callbacks) override
    {
        if (toys_->startError)
            return fail(*toys_->startError);
        const auto stopped = std::make_shared<decltype(callbacks.stopped)>(std::move(callbacks.stopped));
        callbacks.stopped = [stopped](const Error& error) { (*stopped)(error); };
        {
            MutexLock lock(toys_->mutex);
            toys_->stopped = [stopped](const Error& error) { (*stopped)(error); };
        }
        return source_.start(std::move(callbacks));
    }
    Result<void> updateSize(std::int32_t width, std::int32_t height) override { return source_.updateSize(width, height); }
    void wantPicture() override { source_.wantPicture(); }
    void stop() override
    {
        forget();
        source_.stop();
    }

private:
    void forget()
    {
        MutexLock lock(toys_->mutex);
        toys_->stopped = nullptr;
    }

    const std::shared_ptr<Toys> toys_;
    engine::ToyVideoSource source_;
};

class ToyDesktop final : public CaptureDesktop {
public:
    std::shared_ptr<CaptureStream> makeStream(
        const StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        const auto streams = engine::makeCaptureStreams({
            .makeVideoSource = [toys = toys_](const platform::ContentFilter&,
                                   const StreamConfiguration& wanted) { return std::make_unique<MortalVideo>(toys, wanted); },
            .makeAudioSource = [] { return nullptr; },
            .shareableContent = nullptr,
        });
        return streams->makeStream(platform::ContentFilter::desktopIndependentWindow({}), configuration, std::move(delegate));
    }
    void draw() override { toys_->window.draw({{{0, 0, 8, 8}, ++colour_}}); }
    void closeWindow() override { toys_->close({"Toy", 1, "The window has gone.", nullptr}); }
    bool refuseStart(int code) override
    {
        toys_->startError = Error{"Toy", code, "There is no window.", nullptr};
        return true;
    }

private:
    const std::shared_ptr<Toys> toys_ = std::make_shared<Toys>();
    std::uint32_t colour_ = 0;
};

class MacDesktop final : public CaptureDesktop {
public:
    std::shared_ptr<CaptureStream> makeStream(
        const StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        return mac_backend::makeCaptureStream(
            std::make_unique<mac_backend::ScriptedSystemStream>(script_), configuration, std::move(delegate));
    }
    void draw() override
    {
        script_->system.sync([this] { script_->show(); });
    }
    void closeWindow() override
    {
        script_->system.sync([this] { script_->end(-3821); });
    }
    bool refuseStart(int code) override
    {
        script_->startError = Error{"Mac", code, "The user declined.", nullptr};
        return true;
    }
    [[nodiscard]] bool hasSound() const override { return true; }
    void play(int frames) override
    {
        mac_backend::CapturedSound sound{MediaTime{played_, 48000}, 48000, 2, {}};
        if (played_ == 0)
            sound.time = MediaTime{liveTime(MonotonicClock::now()).converted(48000).value, 48000};
        played_ = sound.time.value + frames;
        for (int frame = 0; frame < frames; ++frame)
            sound.samples.insert(sound.samples.end(), {0.5F, -0.25F});
        script_->system.sync([&] { script_->play(sound); });
    }

private:
    const std::shared_ptr<mac_backend::SystemStreamScript> script_ = std::make_shared<mac_backend::SystemStreamScript>();
    std::int64_t played_ = 0;
};

INSTANTIATE_TEST_SUITE_P(BackEnds, CaptureStreamContract,
    testing::Values(NamedDesktop{"EngineOnToys", [] { return std::make_unique<ToyDesktop>(); }},
        NamedDesktop{"MacOnAScript", [] { return std::make_unique<MacDesktop>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
