#include "onboarding/OnboardingModel.h"

#include "onboarding/CompletedWalkthrough.h"

#include <utility>

namespace velmora {

OnboardingModel::OnboardingModel(Services services) : services_(std::move(services))
{
    connect(
        &services_.permissionManager, &PermissionManager::hasScreenRecordingPermissionChanged, this, &OnboardingModel::permissionChanged);
    const auto* shortcuts = &services_.shortcutManager;
    connect(shortcuts, &KeyboardShortcutManager::isRegisteredChanged, this, &OnboardingModel::captionsChanged);
    connect(shortcuts, &KeyboardShortcutManager::registrationErrorMessageChanged, this, &OnboardingModel::captionsChanged);
    connect(shortcuts, &KeyboardShortcutManager::keyTextChanged, this, &OnboardingModel::captionsChanged);
    connect(&services_.coordinator, &CaptureCoordinator::selectedWindowChanged, this, &OnboardingModel::selectedWindowChanged);
    connect(this, &OnboardingModel::selectedWindowChanged, this, &OnboardingModel::captionsChanged);
    connect(this, &OnboardingModel::permissionChanged, this, &OnboardingModel::captionsChanged);
}

void OnboardingModel::setCurrentStep(int step)
{
    if (currentStep_ == step)
        return;
    currentStep_ = step;
    emit currentStepChanged();
}

QString OnboardingModel::stepText() const
{
    return QStringLiteral("First-Time User Walkthrough • Step %1 of %2").arg(visibleStep() + 1).arg(stepCount);
}

QString OnboardingModel::permissionExplanation() const
{
    return QString::fromStdString(services_.permissionManager.screenRecordingExplanation());
}

QString OnboardingModel::selectedWindowName() const
{
    const auto& window = services_.coordinator.selectedWindow();
    return window ? QString::fromStdString(window->displayName()) : QString{};
}

WalkthroughCaptions OnboardingModel::captions() const
{
    return WalkthroughCaptions{WalkthroughFacts{
        .hasTray = hasTray_,
        .shortcutKeys = shortcutKeys(),
        .hasSelectedWindow = hasSelectedWindow(),
        .hasScreenRecordingPermission = hasScreenRecordingPermission(),
    }};
}

QString OnboardingModel::shortcutKeys() const
{
    if (services_.shortcutManager.isRefused())
        return {};
    const auto bound = services_.shortcutManager.boundKeys();
    return QString::fromStdString(bound.empty() ? "Alt+Super+" + services_.shortcutManager.keyText() : bound);
}

bool OnboardingModel::hasCompletedWalkthrough() const
{
    return services_.userDefaults->boolean(hasCompletedWalkthroughKey);
}

EmphasizedText OnboardingModel::menuMethodText()
{
    return EmphasizedText{"Don't want to memorize shortcuts? Just click the Orbelle icon in the top menu bar anytime and click "
                          "**'Start Recording Live Clip'**. Click again to stop and save."};
}

QVariantList OnboardingModel::privacyLines()
{
    const auto line = [](const auto& markdown) { return QVariant::fromValue(EmphasizedText{markdown}); };
    return {
        line("Velmora **only captures the single window you pick** — never your desktop, private tabs, or other apps."),
        line("**Zero cloud or internet access** — all encoding and saving happens offline directly on your Mac."),
        line("Microphone capture is completely disabled by default."),
    };
}

void OnboardingModel::viewWillAppear()
{
    services_.permissionManager.checkPermissions();
    trayChanged();
    emit appeared();
}

void OnboardingModel::trayChanged()
{
    hasTray_ = services_.hasTray();
    emit captionsChanged();
}

void OnboardingModel::next()
{
    if (!isLastStep())
        setCurrentStep(currentStep_ + 1);
}

void OnboardingModel::back()
{
    if (canGoBack())
        setCurrentStep(currentStep_ - 1);
}

void OnboardingModel::openSystemSettings()
{
    services_.permissionManager.requestScreenRecordingPermission();
    services_.permissionManager.openScreenRecordingSystemPreferences();
}

void OnboardingModel::finishWalkthrough()
{
    services_.userDefaults->setBoolean(hasCompletedWalkthroughKey, true);
    emit dismissed();
    if (!hasSelectedWindow() && hasScreenRecordingPermission())
        services_.presentWindowPicker();
}

}  // namespace velmora
