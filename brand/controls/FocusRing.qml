import QtQuick
import Velmora.Brand

// Lies around `target`, which is its parent or a sibling.
Rectangle {
    property Item target: parent
    property real targetRadius: Theme.controlRadius

    anchors.fill: target
    anchors.margins: -4
    radius: targetRadius + 4
    color: "transparent"
    border.width: 2
    border.color: Theme.focusRing
}
