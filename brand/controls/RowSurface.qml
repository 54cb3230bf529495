import QtQuick
import Velmora.Brand

// What is under the content of a row that can be pressed.
RoundedRectangle {
    id: surface

    property bool highlighted: false
    property bool down: false
    property bool hovered: false
    property bool showsFocus: false
    readonly property color surfaceColor: highlighted ? Theme.selection : "transparent"

    radius: Theme.controlRadius
    color: down ? Theme.pressed(surfaceColor) : hovered ? Theme.hovered(surfaceColor) : surfaceColor
    borderWidth: highlighted ? 1 : 0
    borderColor: Theme.selectionBorder

    RoundedRectangle {
        anchors.fill: parent
        visible: surface.showsFocus
        radius: parent.radius
        color: "transparent"
        borderWidth: 2
        borderColor: Theme.focusRing
    }
}
