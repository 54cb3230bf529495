import QtQuick
import Velmora.Brand

Text {
    color: Theme.text
    font: Theme.bodyFont
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    // What is added is beneath each line, and the last one needs none. Neither depends on what the layout of the text finds out:
    // what changes during the layout would start it again from within itself.
    lineHeight: wrapMode === Text.NoWrap ? 1 : 1.15
    bottomPadding: (1 - lineHeight) * Theme.lineSpacing(font)
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
