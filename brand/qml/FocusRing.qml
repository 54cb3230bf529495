// The ring around the control that has the keyboard.
import QtQuick

Rectangle {
    property real controlRadius: 0

    anchors.fill: parent
    anchors.margins: -4
    radius: controlRadius + 4
    color: "transparent"
    border.width: 2
    border.color: Qt.alpha(Theme.coral, 0.7)
}
