import QtQuick
import QtQuick.Layouts
import Velmora.Brand

RowLayout {
    id: bullet

    required property string symbol
    required property string title
    required property string body
    property string caption

    Layout.fillWidth: true
    spacing: Theme.largeGap

    Symbol {
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 2
        name: bullet.symbol
        color: Theme.coral
        size: 20
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2

        Label {
            Layout.fillWidth: true
            text: bullet.title
            font: Theme.emphasisFont
        }
        Label {
            Layout.fillWidth: true
            text: bullet.body
            color: Theme.secondaryText
        }
        Caption {
            Layout.fillWidth: true
            visible: text !== ""
            text: bullet.caption
            color: Theme.tertiaryText
        }
    }
}
