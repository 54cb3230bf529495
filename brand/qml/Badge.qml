// A word on a ground of its own colour.
import QtQuick

Rectangle {
    id: root

    property alias text: label.text
    property color tint: Theme.granted

    implicitWidth: label.implicitWidth + 18
    implicitHeight: label.implicitHeight + 10
    radius: 7
    color: Qt.alpha(tint, 0.15)
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Text {
        id: label

        anchors.centerIn: parent
        color: root.tint
        font: Qt.font({ family: Theme.family, pixelSize: 11, weight: Font.Bold })
        textFormat: Text.PlainText
    }
}
