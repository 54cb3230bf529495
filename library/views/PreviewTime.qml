// A time in whole seconds, and as a caption beside it the same with its tenths.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand

RowLayout {
    id: root

    property alias text: whole.text
    property alias tenths: caption.text
    // Up to the tenths: as much as `text` needs, or more where they stand in a column.
    readonly property real usualTextWidth: whole.implicitWidth
    property real textWidth: usualTextWidth

    spacing: Theme.gap

    TimeLabel {
        id: whole
        Layout.preferredWidth: root.textWidth
        color: Theme.secondaryText
    }
    TimeLabel {
        id: caption
        color: Theme.secondaryText
        font: Theme.captionFont
    }
}
