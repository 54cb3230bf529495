import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

T.ScrollBar {
    id: bar

    // How far it is scrolled, as assistive technology asks for it by these names.
    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    readonly property real value: size < 1 ? Math.max(0, Math.min(1, position / (1 - size))) : 0

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: 2
    minimumSize: 0.08
    visible: size < 1 && policy !== T.ScrollBar.AlwaysOff
    hoverEnabled: true
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.ScrollBar
    Accessible.name: qsTr("Scroll bar")

    contentItem: RoundedRectangle {
        implicitWidth: 6
        implicitHeight: 6
        radius: 3
        color: bar.pressed ? Theme.secondaryText : bar.hovered ? Theme.tertiaryText : Theme.controlBorder
    }
}
