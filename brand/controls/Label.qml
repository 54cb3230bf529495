import QtQuick
import Velmora.Brand

Text {
    color: Theme.text
    font: Theme.bodyFont
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    // What is added lies beneath a line, where the last one needs nothing. Both depend on nothing that the layout of the text finds out:
    // what changes while it is being laid out starts it once more inside of itself.
    lineHeight: wrapMode === Text.NoWrap ? 1 : 1.15
    bottomPadding: (1 - lineHeight) * Theme.lineSpacing(font)
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
