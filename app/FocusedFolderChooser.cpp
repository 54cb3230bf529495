#include "app/FocusedFolderChooser.h"

#include <utility>

namespace velmora {

FocusedFolderChooser::FocusedFolderChooser(std::shared_ptr<platform::FolderChooser> desktops, std::shared_ptr<platform::FolderChooser> own,
    std::function<std::uint64_t()> focusedWindow)
    : desktops_(std::move(desktops))
    , own_(std::move(own))
    , focusedWindow_(std::move(focusedWindow))
{
}

void FocusedFolderChooser::chooseFolder(const platform::FolderPanel& panel, Completion completion)
{
    auto placed = panel;
    placed.parentWindow = focusedWindow_();
    desktops_->chooseFolder(
        placed, [own = own_, placed, completion = std::move(completion)](Result<std::optional<std::filesystem::path>> folder) mutable {
            if (folder)
                completion(std::move(folder));
            else
                own->chooseFolder(placed, std::move(completion));
        });
}

}  // namespace velmora
