import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// A way to record: a picture on the left, which the view provides, and what to do.
Card {
    id: card

    required property string title
    property string description
    // Instead of the description, where some of its words are emphasised.
    property var emphasized
    property string caption
    default property alias picture: place.data

    Layout.fillWidth: true
    Accessible.name: title

    contentItem: RowLayout {
        spacing: 20

        Item {
            id: place

            Layout.fillHeight: true
            implicitWidth: 158
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 4

            Label {
                Layout.fillWidth: true
                text: card.title
                font: Theme.emphasisFont
            }
            Label {
                Layout.fillWidth: true
                text: card.emphasized ? card.emphasized.styled(Theme.text) : card.description
                textFormat: card.emphasized ? Text.StyledText : Text.PlainText
                color: Theme.secondaryText
                Accessible.name: card.emphasized ? card.emphasized.plain : card.description
            }
            Caption {
                Layout.fillWidth: true
                text: card.caption
                color: Theme.tertiaryText
            }
        }
    }
}
