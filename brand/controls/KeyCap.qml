import QtQuick
import Velmora.Brand

// One key of a shortcut: its glyph and, beneath, its name on this keyboard.
Item {
    id: key

    property string glyph
    property string name
    property bool prominent: false

    readonly property color edge: prominent ? Theme.coral : Theme.borderSlate

    implicitWidth: Math.max(44, Math.ceil(nameLabel.implicitWidth) + 20)
    implicitHeight: Math.round(40 * Theme.textScale)

    Accessible.role: Accessible.StaticText
    Accessible.name: name === "" ? glyph : name

    RoundedRectangle {
        anchors.fill: parent
        radius: 8
        color: key.edge
    }

    RoundedRectangle {
        anchors.fill: parent
        anchors.margins: 1
        anchors.bottomMargin: 3
        radius: 7
        color: Theme.obsidian

        Column {
            anchors.centerIn: parent
            spacing: -1

            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: key.glyph
                textFormat: Text.PlainText
                color: Theme.text
                font: key.name === "" ? Theme.headlineFont : Theme.panelTitleFont
            }

            Text {
                id: nameLabel
                anchors.horizontalCenter: parent.horizontalCenter
                visible: text !== ""
                text: key.name
                textFormat: Text.PlainText
                color: Theme.tertiaryText
                font: Theme.captionFont
            }
        }
    }
}
