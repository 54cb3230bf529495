// Opening the program's windows, for those who need one.
#pragma once

#include <filesystem>

namespace velmora {

/// Main thread only. Each opens its window or brings the open one to the front; a preview is a new window each time.
class WindowPresenting {
public:
    virtual ~WindowPresenting() = default;

    virtual void presentOnboarding() = 0;
    virtual void presentWindowPicker() = 0;
    virtual void presentClipPreview(const std::filesystem::path& clip) = 0;
    virtual void presentPlayingClip(const std::filesystem::path& clip) = 0;  ///< the preview, which plays from the beginning at once
    virtual void presentSettings() = 0;
    virtual void presentClips() = 0;
};

}  // namespace velmora
