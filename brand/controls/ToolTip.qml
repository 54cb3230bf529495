import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// What an icon means, in words, above it and inside the window.
T.ToolTip {
    id: tip

    x: parent ? Math.round((parent.width - implicitWidth) / 2) : 0
    y: -implicitHeight - 6
    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    margins: Theme.gap
    horizontalPadding: Theme.gap
    verticalPadding: 5
    delay: 500
    // What it belongs to shows and hides it; Escape is the window's.
    closePolicy: T.Popup.NoAutoClose

    contentItem: Text {
        text: tip.text
        textFormat: Text.PlainText
        color: Theme.text
        font: Theme.captionFont
        // The icon has it as its description.
        Accessible.ignored: true
    }

    background: RoundedRectangle {
        color: Theme.toolTip
        radius: Theme.compactRadius
        borderWidth: 1
        borderColor: Theme.controlBorder
    }
}
