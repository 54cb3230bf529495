import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

T.BusyIndicator {
    id: indicator

    property real size: 24
    property color color: Theme.secondaryText
    property string text

    implicitWidth: size
    implicitHeight: size

    Accessible.role: Accessible.Indicator
    Accessible.name: text

    contentItem: Item {
        id: spokes

        property int step: 0

        visible: indicator.running

        // Steps instead of a rotation: ten small pictures a second, not sixty.
        Timer {
            running: spokes.visible && !Theme.reducesMotion
            interval: 100
            repeat: true
            onTriggered: spokes.step = (spokes.step + 1) % 8
        }

        Repeater {
            model: 8

            Item {
                required property int index

                anchors.fill: parent
                rotation: index * 45
                opacity: 1 - 0.11 * ((spokes.step - index + 8) % 8)

                Rectangle {
                    x: (parent.width - width) / 2
                    width: indicator.size / 10
                    height: indicator.size * 0.28
                    radius: width / 2
                    antialiasing: true
                    color: indicator.color
                }
            }
        }
    }
}
