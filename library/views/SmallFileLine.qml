// How far a copy is that is made to fit, and the way to end it.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Library

RowLayout {
    id: root

    required property SmallFileStatus status

    visible: status.isShown
    spacing: 6

    LineLabel {
        Layout.fillWidth: true
        line: root.status.text
        font: Theme.captionFont
        color: Theme.secondaryText
        elide: Text.ElideRight
        Accessible.role: Accessible.StatusBar
        Accessible.name: text
    }
    TextButton {
        compact: true
        text: root.status.action
        accessibleName: text + " Small File"
        onClicked: root.status.act()
    }
}
