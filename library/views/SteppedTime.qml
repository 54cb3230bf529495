// A time with buttons that go one picture back and forwards. The keyboard has keys for that.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Library

RowLayout {
    id: root

    property alias text: time.text
    property alias tenths: time.tenths
    property alias usualTextWidth: time.usualTextWidth
    property alias textWidth: time.textWidth
    property alias backName: back.text
    property alias backToolTip: back.toolTip
    property alias forwardsName: forwards.text
    property alias forwardsToolTip: forwards.toolTip

    signal stepped(int direction)

    spacing: 0

    component StepButton: IconButton {
        symbolSize: 14
        symbolColor: Theme.secondaryText
        bordered: false
        focusPolicy: Qt.NoFocus
        autoRepeat: true
    }

    PreviewTime {
        id: time
    }
    Item {
        Layout.fillWidth: true
    }
    StepButton {
        id: back
        Layout.leftMargin: Theme.smallGap
        symbol: "chevron.left"
        onClicked: root.stepped(-1)
    }
    StepButton {
        id: forwards
        symbol: "chevron.right"
        onClicked: root.stepped(1)
    }
}
