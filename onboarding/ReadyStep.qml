import QtQuick
import QtQuick.Layouts
import Velmora.Brand

StepPage {
    id: page

    property bool hasSelectedWindow
    property string selectedWindowName
    property string readyCaption
    property string reopenCaption

    signal chooseWindow

    step: 4
    spacing: 22

    BrandLogoMark {
        Layout.alignment: Qt.AlignHCenter
        size: 72
        color: Theme.coral
        showGlow: true
    }
    Label {
        Layout.fillWidth: true
        text: "Select your first video window to begin clipping."
        font: Theme.headlineFont
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Card {
        Layout.fillWidth: true

        contentItem: ColumnLayout {
            spacing: 12

            ColumnLayout {
                Layout.fillWidth: true
                visible: page.hasSelectedWindow
                spacing: 4
                Accessible.role: Accessible.AlertMessage
                Accessible.name: "Active Video Window: " + Theme.oneLine(page.selectedWindowName)

                Label {
                    Layout.fillWidth: true
                    text: "Active Video Window:"
                    color: Theme.secondaryText
                    horizontalAlignment: Text.AlignHCenter
                }
                LineLabel {
                    Layout.fillWidth: true
                    line: page.selectedWindowName
                    font: Theme.headlineFont
                    horizontalAlignment: Text.AlignHCenter
                }
            }
            ColumnLayout {
                visible: !page.hasSelectedWindow
                spacing: 4

                Label {
                    Layout.fillWidth: true
                    text: "No video window selected yet."
                    font: Theme.emphasisFont
                    horizontalAlignment: Text.AlignHCenter
                }
                Label {
                    Layout.fillWidth: true
                    text: "Play a video in your browser or media player, then click below to choose it:"
                    color: Theme.secondaryText
                    horizontalAlignment: Text.AlignHCenter
                }
            }
            TextButton {
                Layout.alignment: Qt.AlignHCenter
                text: page.hasSelectedWindow ? "Change Window..." : "Choose Video Window to Clip..."
                onClicked: page.chooseWindow()
            }
            Label {
                Layout.fillWidth: true
                text: page.readyCaption
                color: Theme.secondaryText
                horizontalAlignment: Text.AlignHCenter
            }
        }
    }
    ColumnLayout {
        spacing: 4

        Caption {
            Layout.fillWidth: true
            text: "💡 Tip: You can reopen this guide anytime by clicking the Orbelle in your menu bar and selecting 'How to Use & Walkthrough...'."
            horizontalAlignment: Text.AlignHCenter
        }
        Caption {
            Layout.fillWidth: true
            text: page.reopenCaption
            color: Theme.tertiaryText
            horizontalAlignment: Text.AlignHCenter
        }
    }
}
