import QtQuick
import Velmora.Brand

// `status` is a CaptureStatus: what the capture is doing.
RoundedRectangle {
    id: badge

    required property var status

    implicitWidth: Math.ceil(row.implicitWidth) + 20
    implicitHeight: Math.round(23 * Theme.textScale)
    radius: 7
    color: Theme.withOpacity(badge.status.color, 0.15)

    Accessible.role: Accessible.StaticText
    Accessible.name: badge.status.label

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 6

        RoundedRectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 7
            height: 7
            radius: 3.5
            color: badge.status.color
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: badge.status.label
            textFormat: Text.PlainText
            color: Theme.text
            font: Theme.captionEmphasisFont
        }
    }
}
