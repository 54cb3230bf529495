// A dialog that a test answers.
#pragma once

#include "platform/FolderChooser.h"

#include <utility>
#include <vector>

namespace velmora::fake {

class FakeFolderChooser final : public platform::FolderChooser {
public:
    void chooseFolder(const platform::FolderPanel& panel, Completion completion) override
    {
        panels.push_back(panel);
        completions.push_back(std::move(completion));
    }

    /// Answers the panel that was asked for last.
    void answer(Result<std::optional<std::filesystem::path>> folder) { completions.back()(std::move(folder)); }

    std::vector<platform::FolderPanel> panels;
    std::vector<Completion> completions;
};

}  // namespace velmora::fake
