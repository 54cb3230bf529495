// The windows that can be captured where only the user may choose them: through the desktop's portal.
#pragma once

#include "base/SerialQueue.h"
#include "engine/codecs/PictureScaler.h"
#include "engine/pictures/VideoSource.h"
#include "engine/sound/AudioSource.h"
#include "engine/sound/SoundingApplications.h"
#include "platform/ShareableContent.h"
#include "platform/StreamConfiguration.h"
#include "platform/WindowRequests.h"
#include "platform/linux/portal/WindowGrants.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::linux_backend {

struct PortalShareableContentOptions {
    std::string busAddress = {};  ///< empty: the session bus
    std::filesystem::path grantsFile = WindowGrants::usualFile();
    std::chrono::milliseconds firstPicturePatience{10'000};  ///< for a shared window to show itself
    std::chrono::milliseconds unclaimedPatience{10'000};  ///< for a granted window to be captured
    /// What is playing now. May wait; called on a thread of its own. None: nothing can play.
    std::function<Result<std::vector<engine::SoundStream>>()> listSoundStreams = {};
};

/// Lists an entry for the desktop's own chooser, and the windows that the user has granted before. A desktop gives neither title nor
/// application of a window, so an entry says when it was granted; its frame has the size that the window had then. Every entry needs a
/// request, which shares the window, asking the user where the desktop wants that; from then on it is on the screen, until its stream
/// or the desktop ends the sharing. One window is shared at a time. There are no displays and no applications.
///
/// Whose sound was chosen for a window is kept with its grant.
class PortalShareableContent final : public platform::ShareableContentProvider, public platform::WindowRequests {
public:
    /// The entry for the desktop's chooser.
    static constexpr std::uint32_t chooserID = 1;

    explicit PortalShareableContent(std::shared_ptr<Executor> mainExecutor, PortalShareableContentOptions options = {});
    ~PortalShareableContent() override;
    PortalShareableContent(const PortalShareableContent&) = delete;
    PortalShareableContent& operator=(const PortalShareableContent&) = delete;

    /// On any thread; completes before it returns.
    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) override;
    [[nodiscard]] platform::WindowRequests* requests() override { return this; }

    [[nodiscard]] bool needsRequest(std::uint32_t windowID) const override;
    void requestWindow(std::uint32_t windowID, RequestCompletion completion) override;
    void getSoundChoices(std::uint32_t windowID, SoundCompletion completion) override;
    void chooseSound(std::uint32_t windowID, const platform::SoundChoice& choice) override;
    void giveBackWindow(std::uint32_t windowID) override;

    /// Whose sound goes with the window that was granted last; none: it has no sound. Main thread.
    [[nodiscard]] std::optional<engine::AudioTarget> audioTarget(std::uint32_t windowID) const;

    /// Pictures of the window that was granted last; its start fails when `windowID` is another. Main thread.
    [[nodiscard]] std::unique_ptr<engine::VideoSource> makeVideoSource(
        std::uint32_t windowID, const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler);

private:
    class State;
    std::shared_ptr<State> state_;
};

}  // namespace velmora::linux_backend
