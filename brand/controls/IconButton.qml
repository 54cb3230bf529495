import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// A button that shows only a symbol; `text` is what assistive technology says.
T.Button {
    id: button

    property string symbol
    property real symbolSize: 18
    property color symbolColor: Theme.text
    property bool bordered: true
    // What is said when it is pointed at or has the keyboard.
    property string toolTip: text

    readonly property color surfaceColor: bordered ? Theme.cardSlate : "transparent"

    implicitWidth: bordered ? Theme.controlHeight : symbolSize + 8
    implicitHeight: implicitWidth
    opacity: enabled ? 1 : Theme.disabledOpacity
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: enabled ? toolTip : Theme.availability(enabled)
    Accessible.onPressAction: button.enabled && button.clicked()
    Keys.onReturnPressed: event => event.isAutoRepeat || button.clicked()
    Keys.onEnterPressed: event => event.isAutoRepeat || button.clicked()

    Loader {
        active: (button.hovered || button.visualFocus) && button.toolTip !== ""
        sourceComponent: ToolTip {
            parent: button
            text: button.toolTip
            visible: !button.down
        }
    }

    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: button.symbol
            color: button.symbolColor
            size: button.bordered ? Math.round(button.symbolSize * Theme.textScale) : button.symbolSize
        }
    }

    background: RoundedRectangle {
        radius: button.bordered ? Theme.controlRadius : width / 2
        color: button.down ? Theme.pressed(button.surfaceColor) : button.hovered ? Theme.hovered(button.surfaceColor) : button.surfaceColor
        borderWidth: button.bordered ? 1 : 0
        borderColor: Theme.controlBorder

        FocusRing {
            visible: button.visualFocus
            targetRadius: parent.radius
        }
    }
}
