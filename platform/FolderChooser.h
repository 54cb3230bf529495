// Seam: the dialog in which the user chooses a folder.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace velmora::platform {

/// What the dialog says and where it begins. Files cannot be chosen, and only one folder can; new ones can be made.
struct FolderPanel {
    std::string title;
    std::string prompt;  ///< the caption of the button that chooses
    std::filesystem::path directory;  ///< shown at first; need not exist
    std::uint64_t parentWindow = 0;  ///< the X11 window that the dialog belongs to; 0: none
};

/// Main thread only.
class FolderChooser {
public:
    /// The code of an error after which no other dialog needs to ask: the user has chosen, but not a folder on this computer.
    static constexpr int unusableChoice = 2;

    /// The folder; none if the user cancelled; an error if this desktop could not ask or its answer cannot be used.
    using Completion = UniqueFunction<void(Result<std::optional<std::filesystem::path>>)>;

    virtual ~FolderChooser() = default;

    /// Returns at once. `completion` is called once, possibly before this returns; never after the chooser is gone.
    virtual void chooseFolder(const FolderPanel& panel, Completion completion) = 0;
};

}  // namespace velmora::platform
