import QtQuick
import Velmora.Brand

// The mark and the name beside it, `height` high.
Row {
    id: lockup

    height: 40
    spacing: height * 0.32

    Accessible.role: Accessible.Graphic
    Accessible.name: "Velmora"

    BrandLogoMark {
        anchors.verticalCenter: parent.verticalCenter
        size: lockup.height
    }

    Row {
        anchors.verticalCenter: parent.verticalCenter

        Text {
            text: "VEL"
            textFormat: Text.PlainText
            color: Theme.text
            font: Theme.lockupFont(lockup.height, true)
        }

        Text {
            text: "MORA"
            textFormat: Text.PlainText
            color: Theme.text
            font: Theme.lockupFont(lockup.height, false)
        }
    }
}
