import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// Something that is on or off at once, with what it is before it.
T.Switch {
    id: toggle

    implicitWidth: label.implicitWidth + spacing + indicator.implicitWidth
    implicitHeight: Theme.compactHeight
    spacing: Theme.gap
    opacity: enabled ? 1 : Theme.disabledOpacity
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.description: Theme.availability(enabled)
    Accessible.onPressAction: toggle.press()
    Accessible.onToggleAction: toggle.press()
    Keys.onReturnPressed: event => event.isAutoRepeat || toggle.press()
    Keys.onEnterPressed: event => event.isAutoRepeat || toggle.press()

    function press() {
        if (!enabled)
            return;
        toggle.toggle();
        toggle.clicked();
    }

    contentItem: Label {
        id: label

        rightPadding: toggle.indicator.width + toggle.spacing
        verticalAlignment: Text.AlignVCenter
        text: toggle.text
        elide: Text.ElideRight
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }

    indicator: RoundedRectangle {
        readonly property color surfaceColor: toggle.checked ? Theme.coral : Theme.obsidian

        implicitWidth: 40
        implicitHeight: 22
        x: toggle.width - width
        y: (toggle.height - height) / 2
        radius: height / 2
        color: toggle.down ? Theme.pressed(surfaceColor) : toggle.hovered ? Theme.hovered(surfaceColor) : surfaceColor
        borderWidth: toggle.checked ? 0 : 1
        borderColor: Theme.controlBorder

        RoundedRectangle {
            x: toggle.checked ? parent.width - width - 3 : 3
            anchors.verticalCenter: parent.verticalCenter
            width: 16
            height: 16
            radius: 8
            color: toggle.checked ? Theme.onCoral : Theme.secondaryText
        }
        FocusRing {
            visible: toggle.visualFocus
            targetRadius: parent.radius
        }
    }
}
