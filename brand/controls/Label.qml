import QtQuick
import Velmora.Brand

Text {
    color: Theme.text
    font: Theme.bodyFont
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    // What is added lies beneath a line, where a single one needs nothing. No binding: a new height may change the width, and with it the
    // count, while the binding still runs.
    onLineCountChanged: lineHeight = lineCount > 1 ? 1.15 : 1
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
