import QtQuick
import Velmora.Brand

// A time or a number that changes while it is looked at: every digit takes the same width, so nothing moves.
Row {
    id: label

    property string text
    property color color: Theme.secondaryText
    property font font: Theme.bodyFont

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    TextMetrics {
        id: widestDigit
        font: label.font
        text: "0"
    }

    Repeater {
        model: label.text.length

        Text {
            required property int index

            text: label.text.charAt(index)
            width: text >= "0" && text <= "9" ? Math.ceil(widestDigit.advanceWidth) : implicitWidth
            horizontalAlignment: Text.AlignHCenter
            textFormat: Text.PlainText
            color: label.color
            font: label.font
        }
    }
}
