// A button with a word, and a symbol before it if there is one.
import QtQuick
import QtQuick.Templates as T

T.Button {
    id: control

    property bool prominent: false
    property bool compact: false
    property string symbol: ""

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: compact ? Theme.compactHeight : Theme.controlHeight
    leftPadding: compact ? 11 : 17
    rightPadding: leftPadding
    opacity: enabled ? 1 : 0.45
    hoverEnabled: true
    font: compact ? Qt.font({ family: Theme.family, pixelSize: 12, weight: Font.DemiBold }) : Theme.emphasisFont
    Accessible.role: Accessible.Button
    Accessible.name: text
    Keys.onReturnPressed: click()
    Keys.onEnterPressed: click()

    contentItem: Item {
        implicitWidth: row.implicitWidth
        implicitHeight: row.implicitHeight

        Row {
            id: row

            anchors.centerIn: parent
            spacing: 8

            Image {
                anchors.verticalCenter: parent.verticalCenter
                visible: control.symbol !== ""
                source: control.symbol === "" ? "" : "image://symbol/" + control.symbol + "/F8FAFC"
                sourceSize: Qt.size(16, 16)
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: control.text
                font: control.font
                color: control.prominent ? "#FFFFFF" : Theme.primaryText
                textFormat: Text.PlainText
            }
        }
    }

    background: Rectangle {
        radius: control.compact ? Theme.compactRadius : Theme.controlRadius
        color: Theme.surface(control.prominent ? Theme.coral : Theme.card, control.hovered && control.enabled, control.down)
        border.width: control.prominent ? 0 : 1
        border.color: Theme.border

        FocusRing {
            visible: control.visualFocus
            controlRadius: parent.radius
        }
    }
}
