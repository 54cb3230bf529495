import QtQuick
import Velmora.Brand

// A glyph, as sharp as the screen is. Whatever it is part of says what it means.
Image {
    id: symbol

    property string name
    property color color: Theme.text
    property real size: 18

    width: size
    height: size
    sourceSize: Qt.size(size, size)
    source: Theme.symbolSource(symbol.name, symbol.color)
    Accessible.ignored: true
}
