// A heading, paragraphs and buttons.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand

Rectangle {
    id: root

    required property PlainModel model

    color: Theme.obsidian

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        spacing: 20

        BrandHorizontalLockupView {
            height: 28
        }
        Text {
            Layout.fillWidth: true
            text: root.model.heading
            color: Theme.primaryText
            font: Theme.titleFont
            textFormat: Text.PlainText
            elide: Text.ElideMiddle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Repeater {
            model: root.model.paragraphs

            Text {
                required property string modelData

                Layout.fillWidth: true
                text: modelData
                color: Theme.secondaryText
                font: Theme.bodyFont
                lineHeight: 1.3
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        Item {
            Layout.fillHeight: true
        }
        RowLayout {
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
