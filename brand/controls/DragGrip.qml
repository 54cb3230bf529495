import QtQuick
import Velmora.Brand

// A mark at which something is taken and dragged out of the window; `text` is what assistive technology says.
DragSource {
    id: grip

    property string text
    property string toolTip

    implicitWidth: 20
    implicitHeight: 24
    hoverEnabled: true
    cursorShape: pressed ? Qt.ClosedHandCursor : Qt.OpenHandCursor
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.Graphic
    Accessible.name: text
    Accessible.description: toolTip

    RoundedRectangle {
        anchors.fill: parent
        visible: grip.containsMouse
        radius: 5
        color: grip.pressed ? Theme.pressed("transparent") : Theme.hovered("transparent")
    }
    Symbol {
        anchors.centerIn: parent
        name: "grip"
        color: grip.containsMouse ? Theme.text : Theme.secondaryText
        size: 18
    }
    Loader {
        active: grip.containsMouse
        sourceComponent: ToolTip {
            parent: grip
            text: grip.toolTip
            visible: !grip.pressed
        }
    }
}
