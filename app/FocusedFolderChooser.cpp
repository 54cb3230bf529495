#include "app/FocusedFolderChooser.h"

#include <utility>

namespace velmora {

FocusedFolderChooser::FocusedFolderChooser(std::shared_ptr<platform::FolderChooser> desktopChooser,
    std::shared_ptr<platform::FolderChooser> ownChooser, std::function<std::uint64_t()> focusedWindow)
    : desktopChooser_(std::move(desktopChooser))
    , ownChooser_(std::move(ownChooser))
    , focusedWindow_(std::move(focusedWindow))
{
}

void FocusedFolderChooser::chooseFolder(const platform::FolderPanel& panel, Completion completion)
{
    auto placed = panel;
    placed.parentWindow = focusedWindow_();
    desktopChooser_->chooseFolder(placed,
        [ownChooser = ownChooser_, placed, completion = std::move(completion)](
            Result<std::optional<std::filesystem::path>> folder) mutable {
            if (folder || folder.error().code == platform::FolderChooser::unusableChoice)
                completion(std::move(folder));
            else
                ownChooser->chooseFolder(placed, std::move(completion));
        });
}

}  // namespace velmora
