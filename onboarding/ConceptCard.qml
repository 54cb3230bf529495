import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// One of the three things there are to know.
Card {
    id: card

    required property string symbol
    required property color accent
    required property int number
    required property string title
    required property string description

    Layout.fillWidth: true
    Accessible.name: title
    topPadding: 10
    bottomPadding: 10

    contentItem: RowLayout {
        spacing: Theme.largeGap

        RoundedRectangle {
            implicitWidth: 40
            implicitHeight: 40
            radius: 10
            color: Theme.withOpacity(card.accent, 0.16)

            Symbol {
                anchors.centerIn: parent
                name: card.symbol
                color: card.accent
                size: 20
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2

            Row {
                spacing: Theme.gap

                Label {
                    text: card.number
                    color: Theme.secondaryText
                    font: Theme.emphasisFont
                }
                Label {
                    text: card.title
                    font: Theme.emphasisFont
                }
            }
            Label {
                Layout.fillWidth: true
                text: card.description
                color: Theme.secondaryText
            }
        }
    }
}
