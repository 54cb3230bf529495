import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// A group of settings under its title.
ColumnLayout {
    id: section

    required property string title
    default property alias content: column.data

    Layout.fillWidth: true
    spacing: 10

    Label {
        text: section.title
        color: Theme.secondaryText
        font: Theme.captionEmphasisFont
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Card {
        Layout.fillWidth: true
        Accessible.name: section.title

        contentItem: ColumnLayout {
            id: column

            spacing: 12
        }
    }
}
