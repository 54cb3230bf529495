import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// A row that fits in one line only at the usual size of text: where it is larger, in a window that has no more room, the whole row is made
// smaller.
RowLayout {
    Layout.minimumWidth: Theme.textScale > 1 ? 0 : -1
    transformOrigin: Item.TopLeft
    scale: width > 0 ? Math.min(1, width / implicitWidth) : 1
}
