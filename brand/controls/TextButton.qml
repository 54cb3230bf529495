import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

T.Button {
    id: button

    // The one action that a window is about.
    property bool prominent: false
    // Without a surface, for what is better not done.
    property bool plain: false
    property bool compact: false
    property string symbol
    // The part of its usual size that its text has in a row without room for all of its texts.
    property real fit: 1
    // What assistive technology says.
    property string accessibleName: text

    readonly property font usualFont: compact ? Theme.captionEmphasisFont : Theme.emphasisFont
    readonly property int usualPadding: compact ? 11 : 16
    readonly property int usualSymbolSize: Math.round((compact ? 14 : 16) * Theme.textScale)
    readonly property real usualWidth: Math.ceil(Theme.lineWidth(usualFont, text) + 2 * usualPadding + (symbol === "" ? 0 : usualSymbolSize + Theme.gap))

    readonly property color surfaceColor: prominent ? Theme.coral : plain ? "transparent" : Theme.cardSlate
    readonly property color foreground: prominent ? Theme.onCoral : plain && !hovered ? Theme.secondaryText : Theme.text

    implicitWidth: Math.ceil(implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: compact ? Theme.compactHeight : Theme.controlHeight
    leftPadding: Math.floor(usualPadding * fit)
    rightPadding: leftPadding
    spacing: Math.floor(Theme.gap * fit)
    opacity: enabled ? 1 : Theme.disabledOpacity
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.Button
    Accessible.name: accessibleName
    Accessible.description: Theme.availability(enabled)
    Accessible.onPressAction: button.enabled && button.clicked()
    Keys.onReturnPressed: event => event.isAutoRepeat || button.clicked()
    Keys.onEnterPressed: event => event.isAutoRepeat || button.clicked()

    contentItem: Item {
        implicitWidth: row.implicitWidth
        implicitHeight: row.implicitHeight

        Row {
            id: row
            anchors.centerIn: parent
            spacing: button.spacing

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                visible: button.symbol !== ""
                name: button.symbol
                color: button.foreground
                size: Math.floor(button.usualSymbolSize * button.fit)
            }

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: button.text
                textFormat: Text.PlainText
                color: button.foreground
                font: Theme.smaller(button.usualFont, button.fit)
            }
        }
    }

    background: RoundedRectangle {
        radius: button.compact ? Theme.compactRadius : Theme.controlRadius
        color: button.down ? Theme.pressed(button.surfaceColor) : button.hovered ? Theme.hovered(button.surfaceColor) : button.surfaceColor
        borderWidth: button.prominent || button.plain ? 0 : 1
        borderColor: Theme.controlBorder

        FocusRing {
            visible: button.visualFocus
            targetRadius: parent.radius
        }
    }
}
