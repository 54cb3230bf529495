import QtQuick
import QtQuick.Layouts
import Velmora.Brand

ColumnLayout {
    id: heading

    required property string title
    required property string subtitle
    property string caption

    Layout.fillWidth: true
    spacing: 4

    Label {
        Layout.fillWidth: true
        text: heading.title
        font: Theme.titleFont
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Label {
        Layout.fillWidth: true
        text: heading.subtitle
        color: Theme.secondaryText
    }
    Caption {
        Layout.fillWidth: true
        visible: text !== ""
        text: heading.caption
        color: Theme.tertiaryText
    }
}
