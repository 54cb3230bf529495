import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// A row of a list: `highlighted` when it is the selected one, `text` what assistive technology says. The view gives the content.
T.ItemDelegate {
    id: row

    // The row of a list that has the focus shows it, whichever way the focus came.
    property bool showsFocus: visualFocus
    // What is left free at its right end, for the scroll bar of a list that has one.
    property real gutter: 0

    implicitWidth: Math.max(implicitBackgroundWidth + leftInset + rightInset, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftInset: 6
    rightInset: 6 + gutter
    leftPadding: 20
    rightPadding: 20 + gutter
    topPadding: 10
    bottomPadding: 10
    opacity: enabled ? 1 : Theme.disabledOpacity
    hoverEnabled: true
    // The current row has the keyboard within its list. On some desktops (GNOME's) Return presses a button, which would be this one: keys are
    // the list's first.
    Keys.forwardTo: ListView.view ? [ListView.view] : []

    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.selectable: true
    Accessible.selected: highlighted
    Accessible.onPressAction: row.enabled && row.clicked()

    background: RowSurface {
        highlighted: row.highlighted
        down: row.down
        hovered: row.hovered
        showsFocus: row.showsFocus
    }
}
