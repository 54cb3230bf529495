// The settings: where clips are saved, the shortcut, the permission.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Settings

Rectangle {
    id: root

    required property SettingsModel model

    color: Theme.obsidian

    ScrollArea {
        id: scrolled

        anchors.fill: parent
        focus: true
        contentHeight: form.implicitHeight + 2 * Theme.windowMargin

        ColumnLayout {
            id: form

            x: Theme.windowMargin
            y: Theme.windowMargin
            width: parent.width - 2 * x
            spacing: 20

            RowLayout {
                spacing: Theme.largeGap

                BrandAppIconView {
                    Layout.alignment: Qt.AlignTop
                    Layout.topMargin: 2
                    size: 60
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 4

                    Label {
                        text: "Velmora"
                        font: Theme.titleFont
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "macOS Native Instant Video Capture"
                        color: Theme.secondaryText
                    }
                    Caption {
                        Layout.fillWidth: true
                        text: "The Orbelle • Obsidian Slate & Electric Coral edition"
                        color: Theme.tertiaryText
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "On this computer: native to Linux"
                        color: Theme.tertiaryText
                    }
                }
            }

            SettingsSection {
                title: "Clips Storage"

                Label {
                    text: "Saved Clips Folder:"
                }
                RowLayout {
                    spacing: Theme.gap

                    RoundedRectangle {
                        Layout.fillWidth: true
                        implicitHeight: Theme.controlHeight
                        radius: Theme.controlRadius
                        color: Theme.obsidian
                        borderWidth: 1
                        borderColor: Theme.borderSlate

                        LineLabel {
                            anchors.fill: parent
                            anchors.leftMargin: 12
                            anchors.rightMargin: 12
                            verticalAlignment: Text.AlignVCenter
                            line: root.model.savedClipsFolder
                            elide: Text.ElideMiddle
                        }
                    }
                    TextButton {
                        text: "Change..."
                        Accessible.description: "Saved Clips Folder: " + Theme.oneLine(root.model.savedClipsFolder)
                        onClicked: root.model.chooseDestinationFolder()
                    }
                    TextButton {
                        text: "Open"
                        Accessible.description: "Saved Clips Folder: " + Theme.oneLine(root.model.savedClipsFolder)
                        onClicked: root.model.openFolder()
                    }
                }
                StatusLine {
                    Layout.fillWidth: true
                    visible: root.model.folderError !== ""
                    symbol: "exclamationmark.triangle.fill"
                    tint: Theme.tip
                    text: root.model.folderError
                }
                Column {
                    Layout.fillWidth: true
                    spacing: 4

                    Caption {
                        width: parent.width
                        text: "Clips are saved locally in MP4 format with timestamps and will never overwrite existing files."
                    }
                    Caption {
                        width: parent.width
                        text: "Another folder that you choose holds until Velmora ends."
                        color: Theme.tertiaryText
                    }
                }
            }

            SettingsSection {
                title: "Help & Walkthrough"

                Label {
                    Layout.fillWidth: true
                    text: "Need a refresher on how Velmora works or where to find it?"
                }
                Column {
                    Layout.fillWidth: true
                    spacing: 4

                    Caption {
                        width: parent.width
                        text: "Revisit the 5-step first-time walkthrough anytime to learn about the menu bar icon, keyboard shortcuts, and clipping tips."
                    }
                    Caption {
                        width: parent.width
                        text: root.model.hasTray ? "On this desktop the menu bar icon is in your panel's tray." : "This desktop has no tray: a small window takes the place of the menu bar icon."
                        color: Theme.tertiaryText
                    }
                }
                TextButton {
                    text: "Open First-Time Walkthrough..."
                    onClicked: root.model.openWalkthrough()
                }
            }

            SettingsSection {
                title: "Keyboard & Mouse Controls"

                RowLayout {
                    spacing: Theme.gap

                    Label {
                        Layout.fillWidth: true
                        Layout.alignment: Qt.AlignTop
                        text: "Start / Stop Recording"
                    }
                    ColumnLayout {
                        spacing: 2

                        Label {
                            Layout.alignment: Qt.AlignRight
                            text: "Option + Command + C"
                            font: Theme.emphasisFont
                        }
                        Label {
                            Layout.alignment: Qt.AlignRight
                            text: root.model.shortcutKeys
                            color: Theme.tertiaryText
                        }
                    }
                }
                StatusLine {
                    Layout.fillWidth: true
                    visible: root.model.isShortcutRegistered
                    symbol: "checkmark.circle.fill"
                    text: "Shortcut active and listening system-wide"
                }
                Column {
                    Layout.fillWidth: true
                    visible: !root.model.isShortcutRegistered
                    spacing: 4

                    StatusLine {
                        width: parent.width
                        symbol: "exclamationmark.triangle.fill"
                        tint: Theme.tip
                        text: root.model.shortcutErrorMessage
                    }
                    Caption {
                        x: 24
                        width: parent.width - x
                        visible: text !== ""
                        text: root.model.shortcutHelp
                    }
                }
                Column {
                    Layout.fillWidth: true
                    spacing: 4

                    Caption {
                        width: parent.width
                        text: "💡 Prefer using your mouse? You can trigger recording directly by clicking the Orbelle icon in your top menu bar."
                    }
                    Caption {
                        width: parent.width
                        text: root.model.hasTray ? "On this desktop: in your panel's tray." : "This desktop has no tray: trigger it in Velmora's small window."
                        color: Theme.tertiaryText
                    }
                }
            }

            SettingsSection {
                title: "Privacy & Permissions"

                Column {
                    Layout.fillWidth: true
                    spacing: 4

                    Label {
                        width: parent.width
                        text: "All capture and encoding is strictly 100% local on your Mac. No network calls, telemetry, or external analytics."
                    }
                    Label {
                        width: parent.width
                        text: "“Your Mac” is this computer."
                        color: Theme.tertiaryText
                    }
                }
                RowLayout {
                    spacing: Theme.gap

                    // As high as the button, so that nothing moves when the permission is granted.
                    Label {
                        Layout.fillWidth: true
                        Layout.preferredHeight: Theme.controlHeight
                        verticalAlignment: Text.AlignVCenter
                        text: "Screen Recording Permission:"
                        wrapMode: Text.NoWrap
                    }
                    StatusLine {
                        Layout.fillWidth: false
                        visible: root.model.hasScreenRecordingPermission
                        symbol: "checkmark.circle.fill"
                        text: "Granted"
                        color: Theme.granted
                    }
                    TextButton {
                        visible: !root.model.hasScreenRecordingPermission
                        text: "Grant Access"
                        onClicked: root.model.grantAccess()
                    }
                }
                Caption {
                    Layout.fillWidth: true
                    visible: !root.model.hasScreenRecordingPermission && text !== ""
                    text: root.model.permissionExplanation
                }
            }

            SettingsSection {
                title: "On this computer"

                Column {
                    Layout.fillWidth: true
                    spacing: 4

                    Switch {
                        width: parent.width
                        text: "Start at log-in"
                        checked: root.model.startsAtLogIn
                        enabled: root.model.canChangeLogIn
                        onClicked: {
                            root.model.setStartsAtLogIn(checked);
                            // What was not done is not shown.
                            checked = Qt.binding(() => root.model.startsAtLogIn);
                        }
                    }
                    Caption {
                        width: parent.width
                        text: "Velmora then waits in the background each time you log in. Nothing is recorded before you choose a window."
                    }
                }
                StatusLine {
                    Layout.fillWidth: true
                    visible: text !== ""
                    symbol: "exclamationmark.triangle.fill"
                    tint: Theme.tip
                    text: root.model.logInRemark
                }
                Column {
                    Layout.fillWidth: true
                    Layout.topMargin: 4
                    spacing: 4

                    Label {
                        width: parent.width
                        text: "Keys of your own"
                    }
                    Caption {
                        width: parent.width
                        text: root.model.keyAdvice
                    }
                }
                TextButton {
                    visible: root.model.canOpenKeySettings
                    text: "Open Keyboard Settings"
                    onClicked: root.model.openKeySettings()
                }
            }
        }
    }

    Shortcut {
        // Newer versions of Qt ask here too while a dialog of this window has the keys, and of two that want Escape neither has it. The window
        // counts as active then, but nothing in it has the focus.
        enabled: root.Window.activeFocusItem !== null
        sequence: "Escape"
        onActivated: root.model.close()
    }
    Connections {
        target: root.model

        function onAppeared() {
            scrolled.scrollTo(0);
            scrolled.forceActiveFocus();
        }
    }
}
