import QtQuick
import QtQuick.Layouts
import Velmora.Brand

StepPage {
    id: page

    property bool isGranted
    property string explanation
    property var privacyLines

    // With the way in which the pressed button had got the keyboard focus.
    signal openSystemSettings(reason: int)
    signal checkStatus(reason: int)

    step: 3

    StepHeading {
        title: "macOS Screen Recording Permission"
        subtitle: "Velmora needs your approval to capture the specific video window you choose."
        caption: page.isGranted ? "On this computer: the desktop's permission to record the screen." : ""
    }
    Card {
        Layout.fillWidth: true
        topPadding: 12
        bottomPadding: 12

        contentItem: ColumnLayout {
            spacing: 12

            ColumnLayout {
                Layout.fillWidth: true
                visible: page.isGranted
                spacing: 4
                Accessible.role: Accessible.AlertMessage
                Accessible.name: granted.text

                Label {
                    id: granted

                    Layout.fillWidth: true
                    text: "Permission is Granted! ✅"
                    color: Theme.granted
                    font: Theme.headlineFont
                }
                Label {
                    Layout.fillWidth: true
                    text: "Velmora is fully authorized to capture your chosen video window."
                    color: Theme.secondaryText
                }
            }
            RowLayout {
                visible: !page.isGranted
                spacing: Theme.largeGap

                Symbol {
                    Layout.alignment: Qt.AlignTop
                    name: "lock.shield.fill"
                    color: Theme.tip
                    size: 40
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 4

                    Label {
                        Layout.fillWidth: true
                        text: "Permission Required by macOS"
                        font: Theme.headlineFont
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "Click the button below to open macOS System Settings and allow Velmora under Screen & System Audio Recording."
                        color: Theme.secondaryText
                    }
                    Caption {
                        Layout.fillWidth: true
                        text: "On this desktop: its own privacy settings, where it has any."
                        color: Theme.tertiaryText
                    }
                    Caption {
                        Layout.fillWidth: true
                        visible: text !== ""
                        text: page.explanation
                    }
                }
            }
            FittedRow {
                id: buttons

                visible: !page.isGranted
                spacing: Theme.gap
                buttons: [openButton, checkButton]
                room: page.width - 2 * Theme.windowMargin - 2 * Theme.largeGap

                TextButton {
                    id: openButton

                    text: "Open System Settings"
                    fit: buttons.fit
                    onClicked: page.openSystemSettings(focusReason)
                }
                TextButton {
                    id: checkButton

                    text: "I've Granted It — Check Status"
                    fit: buttons.fit
                    onClicked: page.checkStatus(focusReason)
                }
                Item {
                    Layout.fillWidth: true
                }
            }
        }
    }
    Card {
        Layout.fillWidth: true
        topPadding: 12
        bottomPadding: 12

        contentItem: RowLayout {
            spacing: Theme.largeGap

            Symbol {
                Layout.alignment: Qt.AlignTop
                name: "shield.lefthalf.filled"
                color: Theme.granted
                size: 20
            }
            Column {
                Layout.fillWidth: true
                spacing: 4

                Label {
                    width: parent.width
                    text: "Your Privacy is 100% Guaranteed"
                    font: Theme.emphasisFont
                }
                Repeater {
                    model: page.privacyLines

                    Item {
                        id: line

                        required property var modelData

                        width: parent.width
                        height: words.height

                        Caption {
                            text: "•"
                            Accessible.ignored: true
                        }
                        Caption {
                            id: words

                            x: 12
                            width: parent.width - x
                            text: line.modelData.styled(Theme.text)
                            textFormat: Text.StyledText
                            Accessible.name: line.modelData.plain
                        }
                    }
                }
                Caption {
                    width: parent.width
                    text: "“Your Mac” is this computer."
                    color: Theme.tertiaryText
                }
            }
        }
    }
}
