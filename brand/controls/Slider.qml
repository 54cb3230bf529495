import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

T.Slider {
    id: slider

    property color tint: Theme.coral
    // What assistive technology says.
    property string text
    // Whether keys move the handle by stepSize; else stepped() says how a key or assistive technology would.
    property bool stepsByItself: true
    // What the whole groove stands for, of which the handle may have only the part between `from` and `to`.
    property real grooveFrom: from
    property real grooveTo: to
    property real tintFrom: from
    property real tintTo: value

    readonly property real handleSize: 16

    // Under the names by which Qt tells assistive technology of them.
    readonly property real minimumValue: from
    readonly property real maximumValue: to

    signal stepped(int direction)

    // From the groove's beginning to that value, where the middle of the handle has it.
    function offset(of: real): real {
        const part = (of - grooveFrom) / (grooveTo - grooveFrom);
        return Math.max(0, Math.min(1, part)) * (width - handleSize);
    }

    implicitWidth: 200
    implicitHeight: 24
    leftPadding: offset(from)
    rightPadding: width - handleSize - offset(to)
    opacity: enabled ? 1 : Theme.disabledOpacity
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.Slider
    Accessible.name: text
    Accessible.description: Theme.availability(enabled)
    Accessible.onIncreaseAction: slider.stepsByItself ? slider.increase() : slider.stepped(1)
    Accessible.onDecreaseAction: slider.stepsByItself ? slider.decrease() : slider.stepped(-1)
    Keys.enabled: !stepsByItself
    Keys.onRightPressed: slider.stepped(1)
    Keys.onLeftPressed: slider.stepped(-1)

    background: RoundedRectangle {
        x: slider.handleSize / 2
        y: slider.topPadding + (slider.availableHeight - height) / 2
        width: slider.width - slider.handleSize
        height: 4
        radius: 2
        color: Theme.groove

        RoundedRectangle {
            x: slider.offset(slider.tintFrom)
            width: Math.max(0, slider.offset(slider.tintTo) - x)
            height: parent.height
            radius: parent.radius
            color: slider.tint
        }
    }

    handle: Item {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: slider.topPadding + (slider.availableHeight - height) / 2
        width: slider.handleSize
        height: slider.handleSize

        RoundedRectangle {
            anchors.centerIn: parent
            visible: slider.hovered && slider.enabled
            width: 24
            height: 24
            radius: 12
            color: Theme.withOpacity(Theme.studioWhite, 0.12)
        }

        RoundedRectangle {
            y: 1
            width: parent.width
            height: parent.height
            radius: width / 2
            color: "#59000000"
        }

        RoundedRectangle {
            anchors.fill: parent
            radius: width / 2
            color: slider.pressed ? Theme.pressed(Theme.studioWhite) : Theme.studioWhite
        }

        FocusRing {
            visible: slider.visualFocus
            targetRadius: parent.width / 2
        }
    }
}
