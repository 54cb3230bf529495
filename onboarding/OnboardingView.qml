// The first-run walkthrough: five steps between a bar that says where you are and a bar that leads on.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Onboarding

Rectangle {
    id: root

    required property OnboardingModel model

    // A control that disappears leaves the keyboard to the button that leads on.
    function takeFocus(reason: int) {
        (root.model.isLastStep ? doneButton : nextButton).forceActiveFocus(reason);
    }
    function leavePermissionButtons(reason: int) {
        if (root.model.hasScreenRecordingPermission)
            root.takeFocus(reason);
    }

    color: Theme.obsidian

    // The steps that are not shown yet are made one by one behind the first frame, which waits only for the one that is.
    property bool isOnScreen: false
    property int madeSteps: 0

    component Step: Loader {
        required property int step

        anchors.fill: parent
        active: step === root.model.visibleStep || step < root.madeSteps
    }

    Connections {
        target: root.Window.window
        enabled: !root.isOnScreen

        function onFrameSwapped() {
            root.isOnScreen = true;
        }
    }
    Timer {
        interval: 20
        repeat: true
        running: root.isOnScreen && root.madeSteps < root.model.totalSteps
        onTriggered: ++root.madeSteps
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.leftMargin: Theme.windowMargin
            Layout.rightMargin: Theme.windowMargin
            Layout.preferredHeight: 52
            spacing: 10

            BrandLogoMark {
                size: 20
                color: Theme.coral
            }
            Label {
                Layout.fillWidth: true
                text: root.model.stepText
                color: Theme.secondaryText
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
            }
            Repeater {
                model: root.model.totalSteps

                RoundedRectangle {
                    required property int index

                    Layout.leftMargin: -4
                    implicitWidth: index === root.model.visibleStep ? 22 : 7
                    implicitHeight: 7
                    radius: 3.5
                    color: index > root.model.visibleStep ? Theme.borderSlate : index < root.model.visibleStep ? Theme.passed : Theme.coral
                }
            }
        }
        Separator {
            Layout.fillWidth: true
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true

            Step {
                step: 0
                sourceComponent: WelcomeStep {
                    visibleStep: root.model.visibleStep
                    caption: root.model.captions.welcome
                }
            }
            Step {
                step: 1
                sourceComponent: MenuBarStep {
                    visibleStep: root.model.visibleStep
                    placeCaption: root.model.captions.place
                    crowdedPlaceCaption: root.model.captions.crowdedPlace
                }
            }
            Step {
                step: 2
                sourceComponent: CommandsStep {
                    visibleStep: root.model.visibleStep
                    keyboardCaption: root.model.captions.keyboardMethod
                    menuCaption: root.model.captions.menuMethod
                    menuMethodText: root.model.menuMethodText
                }
            }
            Step {
                step: 3
                sourceComponent: PermissionStep {
                    visibleStep: root.model.visibleStep
                    isGranted: root.model.hasScreenRecordingPermission
                    explanation: root.model.permissionExplanation
                    privacyLines: root.model.privacyLines
                    onOpenSystemSettings: reason => {
                        root.model.openSystemSettings();
                        root.leavePermissionButtons(reason);
                    }
                    onCheckStatus: reason => {
                        root.model.checkStatus();
                        root.leavePermissionButtons(reason);
                    }
                }
            }
            Step {
                step: 4
                sourceComponent: ReadyStep {
                    visibleStep: root.model.visibleStep
                    readyCaption: root.model.captions.ready
                    reopenCaption: root.model.captions.reopen
                    hasSelectedWindow: root.model.hasSelectedWindow
                    selectedWindowName: root.model.selectedWindowName
                    onChooseWindow: root.model.chooseWindow()
                }
            }
        }

        Separator {
            Layout.fillWidth: true
        }
        RowLayout {
            Layout.leftMargin: Theme.windowMargin
            Layout.rightMargin: Theme.windowMargin
            // Larger text takes more lines beside the last button.
            Layout.preferredHeight: Math.max(68, remark.implicitHeight + 2 * Theme.gap)
            spacing: Theme.gap

            TextButton {
                visible: root.model.canGoBack
                text: "← Back"
                Accessible.description: root.model.stepText
                onClicked: {
                    root.model.back();
                    if (!visible)
                        root.takeFocus(focusReason);
                }
            }
            Caption {
                id: remark

                Layout.fillWidth: true
                Layout.leftMargin: Theme.gap
                horizontalAlignment: Text.AlignRight
                color: Theme.tertiaryText
                text: root.model.isLastStep ? root.model.captions.done : ""
                Accessible.ignored: text === ""
            }
            TextButton {
                visible: !root.model.isLastStep
                plain: true
                text: "Skip Walkthrough"
                onClicked: root.model.finishWalkthrough()
            }
            TextButton {
                id: nextButton

                visible: !root.model.isLastStep
                focus: true
                prominent: true
                text: "Next →"
                Accessible.description: root.model.stepText
                onClicked: {
                    root.model.next();
                    if (!visible)
                        root.takeFocus(focusReason);
                }
            }
            TextButton {
                id: doneButton

                visible: root.model.isLastStep
                prominent: true
                text: "Done & Start Clipping"
                Accessible.description: root.model.stepText
                onClicked: root.model.finishWalkthrough()
            }
        }
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.close()
    }
    Connections {
        target: root.model

        function onAppeared() {
            root.takeFocus(Qt.OtherFocusReason);
        }
    }
}
