import QtQuick
import Velmora.Brand

Text {
    color: Theme.text
    font: Theme.bodyFont
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    // What is added lies beneath a line, where a single one needs nothing.
    lineHeight: lineCount > 1 ? 1.15 : 1
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
