// The walkthrough, on top of fakes.
#pragma once

#include "onboarding/OnboardingModel.h"
#include "tests/support/CoordinatorFixture.h"

#include <QUrl>

// Generated. Referring to it brings the module into the program, where it registers its types before main.
extern void qml_register_types_Velmora_Onboarding();

namespace velmora::test {

struct OnboardingFixture : CoordinatorFixture {
    OnboardingFixture()
    {
        static void (*volatile types)() = &qml_register_types_Velmora_Onboarding;
        [[maybe_unused]] const auto linked = types;
    }

    void appear()
    {
        model.viewWillAppear();
        executor->runAll();
    }

    void withdrawPermission(const char* reason = "")
    {
        access->isGranted = false;
        access->answer = false;
        access->reason = reason;
        permissionManager->checkPermissions();
        executor->runAll();
    }

    void refuseShortcut()
    {
        hotKeyCenter->registerStatus = -9878;
        shortcutManager->registerAll();
        executor->runAll();
    }

    void chooseWindow(const char* title)
    {
        const CapturedWindowInfo window{
            .id = 7, .title = title, .appName = "Player", .bundleID = "player", .frame = {0, 0, 640, 480}, .isOnScreen = true};
        addLiveWindow(window);
        coordinator->selectWindowAndStartCapture(window);
        executor->runAll();
    }

    /// What is true as long as a test changes nothing.
    [[nodiscard]] static WalkthroughFacts facts()
    {
        return {.hasTray = true,
            .shortcutKeys = QStringLiteral("Alt+Super+C"),
            .hasSelectedWindow = false,
            .hasScreenRecordingPermission = true};
    }

    static inline const QUrl view{QStringLiteral("qrc:/Velmora/Onboarding/OnboardingView.qml")};
    static constexpr QSize size{640, 530};

    std::shared_ptr<fake::FakeUserDefaults> userDefaults = std::make_shared<fake::FakeUserDefaults>();
    bool hasTray = true;
    int pickers = 0;
    OnboardingModel model{{
        .coordinator = *coordinator,
        .permissionManager = *permissionManager,
        .shortcutManager = *shortcutManager,
        .userDefaults = userDefaults,
        .presentWindowPicker = [this] { ++pickers; },
        .hasTray = [this] { return hasTray; },
    }};
};

}  // namespace velmora::test
