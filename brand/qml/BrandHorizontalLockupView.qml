// The mark and the product's name.
import QtQuick
import Velmora.Brand

Row {
    id: root

    height: 28
    spacing: height * 0.36
    Accessible.role: Accessible.Graphic
    Accessible.name: "Velmora"

    BrandLogoMark {
        anchors.verticalCenter: parent.verticalCenter
        size: root.height
    }
    Row {
        anchors.verticalCenter: parent.verticalCenter

        Text {
            text: "VEL"
            color: Theme.primaryText
            font: Qt.font({ family: Theme.family, pixelSize: root.height * 0.62, weight: Font.Bold, letterSpacing: root.height * 0.12 })
        }
        Text {
            text: "MORA"
            color: Theme.primaryText
            font: Qt.font({ family: Theme.family, pixelSize: root.height * 0.62, weight: Font.Light, letterSpacing: root.height * 0.12 })
        }
    }
}
