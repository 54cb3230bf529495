import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// A state that something has reached: a symbol and what it means. Assistive technology reads it out when it appears.
RowLayout {
    id: line

    property string symbol
    property color tint: Theme.granted
    property string text
    property color color: Theme.text

    spacing: Theme.gap

    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Symbol {
        Layout.alignment: Qt.AlignTop
        name: line.symbol
        color: line.tint
        size: Math.round(16 * Theme.textScale)
    }
    Label {
        Layout.fillWidth: true
        text: Theme.paragraphs(line.text)
        color: line.color
        maximumLineCount: 4
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
