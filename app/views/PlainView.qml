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
        Label {
            Layout.fillWidth: true
            text: root.model.heading
            font: Theme.titleFont
            elide: Text.ElideMiddle
            wrapMode: Text.NoWrap
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Repeater {
            model: root.model.paragraphs

            Label {
                required property string modelData

                Layout.fillWidth: true
                text: modelData
                color: Theme.secondaryText
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
