// An alert: what happened, and what can be answered.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand

Rectangle {
    id: root

    required property AlertModel model

    implicitWidth: 420
    implicitHeight: content.implicitHeight + 2 * Theme.windowMargin
    color: Theme.obsidian
    Accessible.role: Accessible.AlertMessage
    Accessible.name: model.messageText
    Accessible.description: model.informativeText

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        spacing: 16

        BrandAppIconView {
            Layout.alignment: Qt.AlignTop
            size: 48
            showShadow: true
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 8

            Label {
                Layout.fillWidth: true
                text: root.model.messageText
                font: Theme.headlineFont
            }
            Label {
                Layout.fillWidth: true
                text: root.model.informativeText
                color: Theme.secondaryText
            }
            RowLayout {
                Layout.topMargin: 8
                Layout.alignment: Qt.AlignRight
                layoutDirection: Qt.RightToLeft
                spacing: 8

                Repeater {
                    model: root.model.buttons

                    TextButton {
                        required property int index
                        required property string modelData

                        text: modelData
                        prominent: index === 0
                        focus: index === 0
                        onClicked: root.model.press(index)
                    }
                }
            }
        }
    }

    Shortcut {
        sequences: ["Return", "Enter"]
        onActivated: root.model.press(0)
    }
    Shortcut {
        sequence: "Escape"
        onActivated: root.model.press(root.model.buttons.length - 1)
    }
}
