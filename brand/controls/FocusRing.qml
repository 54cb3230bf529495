import QtQuick
import Velmora.Brand

// Goes round `target`, which is its parent or a sibling.
RoundedRectangle {
    property Item target: parent
    property real targetRadius: Theme.controlRadius

    anchors.fill: target
    anchors.margins: -4
    radius: targetRadius + 4
    color: "transparent"
    borderWidth: 2
    borderColor: Theme.focusRing
}
