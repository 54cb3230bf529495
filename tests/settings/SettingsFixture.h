// The settings, on top of fakes.
#pragma once

#include "platform/fake/FakeFolderChooser.h"
#include "settings/SettingsModel.h"
#include "tests/support/CoordinatorFixture.h"

namespace velmora::test {

struct SettingsFixture : CoordinatorFixture {
    void appear()
    {
        model.viewWillAppear();
        executor->runAll();
    }

    /// From the press to the answer.
    void choose(Result<std::optional<std::filesystem::path>> folderChosen)
    {
        model.chooseDestinationFolder();
        folderChooser->answer(std::move(folderChosen));
        executor->runAll();
    }

    void refuseShortcut()
    {
        hotKeyCenter->registerStatus = -9878;
        shortcutManager->registerAll();
    }

    void withdrawPermission(const char* reason = "")
    {
        access->isGranted = false;
        access->reason = reason;
        permissionManager->checkPermissions();
        executor->runAll();
    }

    std::shared_ptr<fake::FakeFolderChooser> folderChooser = std::make_shared<fake::FakeFolderChooser>();
    std::shared_ptr<fake::FakeLoginItem> loginItem = std::make_shared<fake::FakeLoginItem>();
    int walkthroughs = 0;
    bool hasTray = true;
    SettingsModel model{{
        .library = *library,
        .permissionManager = *permissionManager,
        .shortcutManager = *shortcutManager,
        .workspace = workspace,
        .fileManager = fileManager,
        .folderChooser = folderChooser,
        .loginItem = loginItem,
        .presentOnboarding = [this] { ++walkthroughs; },
        .hasTray = [this] { return hasTray; },
    }};
};

}  // namespace velmora::test
