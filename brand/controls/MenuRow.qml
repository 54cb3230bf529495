import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// A row of a menu that is open in a window, `text` what assistive technology says. The view gives the content. Not a ListRow, because what
// a control of Qt's is to assistive technology is fixed by its kind.
T.MenuItem {
    id: row

    // The one command that a menu is about.
    property bool prominent: false

    leftInset: 6
    rightInset: 6
    leftPadding: 20
    rightPadding: 20
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.name: text
    Accessible.onPressAction: row.enabled && row.clicked()

    background: RowSurface {
        highlighted: row.prominent
        down: row.down
        hovered: row.hovered
        showsFocus: row.activeFocus
    }
}
