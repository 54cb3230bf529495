// A scroll bar that takes no room.
import QtQuick
import QtQuick.Templates as T

T.ScrollBar {
    id: control

    implicitWidth: 8
    padding: 2
    visible: size < 1
    hoverEnabled: true

    contentItem: Rectangle {
        implicitWidth: 4
        radius: 2
        color: Theme.primaryText
        opacity: control.pressed ? 0.5 : control.hovered ? 0.4 : 0.22
    }
}
