import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

T.Pane {
    id: card

    property color color: Theme.cardSlate

    implicitWidth: Math.max(implicitBackgroundWidth, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(implicitBackgroundHeight, implicitContentHeight + topPadding + bottomPadding)
    padding: Theme.largeGap
    // Only one that is about something is more than a surface.
    Accessible.ignored: Accessible.name === ""
    opacity: enabled ? 1 : Theme.disabledOpacity

    background: RoundedRectangle {
        radius: Theme.cardRadius
        color: card.color
        borderWidth: 1
        borderColor: Theme.borderSlate
    }
}
