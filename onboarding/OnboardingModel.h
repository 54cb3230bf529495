// What the first-run walkthrough shows and does.
#pragma once

#include "capture/CaptureCoordinator.h"
#include "onboarding/EmphasizedText.h"
#include "onboarding/WalkthroughCaptions.h"
#include "platform/UserDefaults.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQmlIntegration>

#include <functional>
#include <memory>

namespace velmora {

/// Five steps, and the permission and the chosen window, always up to date. Main thread only.
class OnboardingModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(int currentStep READ currentStep WRITE setCurrentStep NOTIFY currentStepChanged)
    Q_PROPERTY(int totalSteps READ totalSteps CONSTANT)
    Q_PROPERTY(int visibleStep READ visibleStep NOTIFY currentStepChanged)
    Q_PROPERTY(QString stepText READ stepText NOTIFY currentStepChanged)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY currentStepChanged)
    Q_PROPERTY(bool isLastStep READ isLastStep NOTIFY currentStepChanged)
    Q_PROPERTY(bool hasScreenRecordingPermission READ hasScreenRecordingPermission NOTIFY permissionChanged)
    Q_PROPERTY(QString permissionExplanation READ permissionExplanation NOTIFY permissionChanged)
    Q_PROPERTY(bool hasSelectedWindow READ hasSelectedWindow NOTIFY selectedWindowChanged)
    Q_PROPERTY(QString selectedWindowName READ selectedWindowName NOTIFY selectedWindowChanged)
    Q_PROPERTY(velmora::WalkthroughCaptions captions READ captions NOTIFY captionsChanged)
    Q_PROPERTY(velmora::EmphasizedText menuMethodText READ menuMethodText CONSTANT)
    Q_PROPERTY(QVariantList privacyLines READ privacyLines CONSTANT)

public:
    struct Services {
        CaptureCoordinator& coordinator;
        PermissionManager& permissionManager;
        KeyboardShortcutManager& shortcutManager;
        std::shared_ptr<platform::UserDefaults> userDefaults;
        std::function<void()> presentWindowPicker;

        /// Whether this desktop has a tray, now. Asked each time the walkthrough is shown, and by `trayChanged`.
        std::function<bool()> hasTray;
    };

    static constexpr int stepCount = 5;

    explicit OnboardingModel(Services services);

    /// From 0.
    [[nodiscard]] int currentStep() const { return currentStep_; }
    void setCurrentStep(int step);
    [[nodiscard]] static constexpr int totalSteps() { return stepCount; }

    /// The step whose body is shown; the first for a number that no step has.
    [[nodiscard]] int visibleStep() const { return currentStep_ >= 0 && currentStep_ < stepCount ? currentStep_ : 0; }

    /// "First-Time User Walkthrough • Step 1 of 5".
    [[nodiscard]] QString stepText() const;

    [[nodiscard]] bool canGoBack() const { return currentStep_ >= 1; }
    [[nodiscard]] bool isLastStep() const { return currentStep_ >= stepCount - 1; }

    [[nodiscard]] bool hasScreenRecordingPermission() const { return services_.permissionManager.hasScreenRecordingPermission(); }

    /// Why the screen cannot be recorded; may be empty. Plain text, like the name of the window.
    [[nodiscard]] QString permissionExplanation() const;

    [[nodiscard]] bool hasSelectedWindow() const { return services_.coordinator.selectedWindow().has_value(); }
    [[nodiscard]] QString selectedWindowName() const;

    /// What the steps' words mean on this computer, as it is now.
    [[nodiscard]] WalkthroughCaptions captions() const;

    /// Whether the walkthrough has ever been finished or skipped.
    [[nodiscard]] bool hasCompletedWalkthrough() const;

    [[nodiscard]] static EmphasizedText menuMethodText();

    /// The lines of the privacy box, without their bullets: an EmphasizedText each.
    [[nodiscard]] static QVariantList privacyLines();

    /// Called each time the walkthrough is shown.
    Q_INVOKABLE void viewWillAppear();

    /// The answer may be another one now: at the first start the walkthrough is there before the panel has said anything.
    void trayChanged();

    /// "Next →" and "← Back". They do nothing at the ends.
    Q_INVOKABLE void next();
    Q_INVOKABLE void back();

    /// "Open System Settings".
    Q_INVOKABLE void openSystemSettings();

    /// "I've Granted It — Check Status".
    Q_INVOKABLE void checkStatus() { services_.permissionManager.checkPermissions(); }

    /// "Choose Video Window to Clip..." and "Change Window...".
    Q_INVOKABLE void chooseWindow() { services_.presentWindowPicker(); }

    /// "Skip Walkthrough" and "Done & Start Clipping".
    Q_INVOKABLE void finishWalkthrough();

    /// Closes the window and remembers nothing.
    Q_INVOKABLE void close() { emit dismissed(); }

signals:
    void currentStepChanged();
    void permissionChanged();
    void selectedWindowChanged();
    void captionsChanged();

    /// The walkthrough is on the screen again.
    void appeared();

    /// The walkthrough is to be closed.
    void dismissed();

private:
    /// "Alt+Super+C": the shortcut as this keyboard, or this desktop, has it; empty if it could not be bound.
    [[nodiscard]] QString shortcutKeys() const;

    const Services services_;
    int currentStep_ = 0;
    bool hasTray_ = true;
};

}  // namespace velmora
