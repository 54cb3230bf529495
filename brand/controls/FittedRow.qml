import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// A row of buttons that has room for their texts at the usual size only: where text is larger, in a window that is no wider for it, it is
// made as much smaller as all of them need.
RowLayout {
    id: row

    // Those in it, which take their `fit` from it.
    required property list<TextButton> buttons

    // How wide it can be. Not the width that a layout gives it: buttons that became smaller while they are laid out would be too late.
    required property real room

    readonly property real fit: {
        let usualWidth = 0;
        for (let i = 0; i < buttons.length; ++i)
            usualWidth += buttons[i].usualWidth;
        return room > 0 ? Math.min(1, (room - buttons.length * spacing) / usualWidth) : 1;
    }

    Layout.minimumWidth: Theme.textScale > 1 ? 0 : -1
}
