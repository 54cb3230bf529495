// A row of a list that can be chosen.
import QtQuick
import QtQuick.Templates as T

T.ItemDelegate {
    id: control

    property bool selected: false

    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 12
    rightPadding: 12
    topPadding: 8
    bottomPadding: 8
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    Accessible.role: Accessible.ListItem
    Accessible.selectable: true
    Accessible.selected: selected
    Accessible.onPressAction: click()

    background: Rectangle {
        radius: Theme.controlRadius
        color: control.selected ? Qt.alpha(Theme.coral, 0.14)
             : control.down ? Qt.alpha(Theme.primaryText, 0.03)
             : control.hovered ? Qt.alpha(Theme.primaryText, 0.06) : "transparent"
        border.width: control.selected ? 1 : 0
        border.color: Qt.alpha(Theme.coral, 0.55)
    }
}
