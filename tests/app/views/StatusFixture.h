// The small window of a desktop without a tray, on top of fakes.
#pragma once

#include "app/menu/MenuBarController.h"
#include "app/views/StatusWindow.h"
#include "tests/support/CoordinatorFixture.h"

#include <memory>

namespace velmora::test {

struct NoStatusItem final : StatusItem {
    void setToolTip(const std::string&) override { }
    void setMenuDelegate(MenuDelegate) override { }
    void setImage(const MenuBarImage&) override { }
    void captionsChanged() override { }
    void popUpMenu() override { }
};

struct NoPresenter final : WindowPresenting {
    void presentOnboarding() override { }
    void presentWindowPicker() override { }
    void presentClipPreview(const std::filesystem::path&) override { }
    void presentPlayingClip(const std::filesystem::path&) override { }
    void presentSettings() override { }
    void presentClips() override { }
};

struct NoAlerts final : AlertPresenter {
    void present(Alert, UniqueFunction<void(std::size_t)>) override { }
};

struct StatusFixture : CoordinatorFixture {
    MenuBarController menuBar{
        {*coordinator, *library, workspace, std::make_shared<NoAlerts>(), std::make_shared<NoPresenter>(), [] {}, [] {}},
        std::make_unique<NoStatusItem>()};
    StatusModel model{menuBar, *coordinator};
};

}  // namespace velmora::test
