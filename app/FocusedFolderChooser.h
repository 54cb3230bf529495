// Which dialog asks for a folder.
#pragma once

#include "platform/FolderChooser.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace velmora {

/// Asks with the desktop's dialog, above the window that has the focus; with our own only where the desktop cannot ask.
class FocusedFolderChooser final : public platform::FolderChooser {
public:
    /// `focusedWindow` is the X11 window of ours that has the focus; 0: none.
    FocusedFolderChooser(std::shared_ptr<platform::FolderChooser> desktopChooser, std::shared_ptr<platform::FolderChooser> ownChooser,
        std::function<std::uint64_t()> focusedWindow);

    void chooseFolder(const platform::FolderPanel& panel, Completion completion) override;

private:
    const std::shared_ptr<platform::FolderChooser> desktopChooser_;
    const std::shared_ptr<platform::FolderChooser> ownChooser_;
    const std::function<std::uint64_t()> focusedWindow_;
};

}  // namespace velmora
