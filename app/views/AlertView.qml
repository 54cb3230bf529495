// An alert: what happened, and what the user can answer.
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

    ColumnLayout {
        id: content

        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        spacing: Theme.largeGap

        RowLayout {
            spacing: Theme.largeGap

            BrandAppIconView {
                Layout.alignment: Qt.AlignTop
                size: 48
                showShadow: true

                RoundedRectangle {
                    x: 26
                    y: 24
                    width: 28
                    height: 28
                    radius: 14
                    visible: root.model.isWarning
                    color: Theme.obsidian
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "Warning"

                    Symbol {
                        anchors.centerIn: parent
                        name: "exclamationmark.triangle.fill"
                        color: Theme.tip
                        size: 22
                    }
                }
            }
            ScrollArea {
                id: scrolled

                Layout.fillWidth: true
                Layout.fillHeight: true
                // The bar is in the margin.
                Layout.rightMargin: -14
                implicitHeight: texts.implicitHeight
                contentHeight: texts.implicitHeight
                interactive: contentHeight > height
                activeFocusOnTab: contentHeight > height

                ColumnLayout {
                    id: texts

                    width: scrolled.width - 14
                    spacing: Theme.gap

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
                }
            }
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            Layout.fillWidth: false
            Layout.fillHeight: false
            layoutDirection: Qt.RightToLeft
            spacing: Theme.gap

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

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.press(root.model.buttons.length - 1)
    }
}
