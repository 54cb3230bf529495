import QtQuick
import Velmora.Brand

RoundedRectangle {
    id: badge

    property string text
    property color tint: Theme.granted

    implicitWidth: Math.ceil(label.implicitWidth) + 18
    implicitHeight: Math.round(23 * Theme.textScale)
    radius: 6
    color: Theme.withOpacity(badge.tint, 0.15)

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Text {
        id: label
        anchors.centerIn: parent
        text: badge.text
        textFormat: Text.PlainText
        color: badge.tint
        font: Theme.captionEmphasisFont
    }
}
