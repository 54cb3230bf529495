// Something is under way.
import QtQuick

Item {
    id: root

    property bool running: true

    implicitWidth: 28
    implicitHeight: 28
    Accessible.role: Accessible.ProgressBar
    Accessible.name: "Busy"

    Repeater {
        model: 8

        Rectangle {
            required property int index

            readonly property real angle: index * Math.PI / 4

            x: root.width / 2 + Math.sin(angle) * 10 - width / 2
            y: root.height / 2 - Math.cos(angle) * 10 - height / 2
            width: 5
            height: 5
            radius: 2.5
            color: Theme.secondaryText
            opacity: 0.25 + 0.75 * ((index + 8 - step.value) % 8) / 7
        }
    }

    Timer {
        id: step

        property int value: 0

        interval: 90
        repeat: true
        running: root.running && root.visible
        onTriggered: value = (value + 1) % 8
    }
}
