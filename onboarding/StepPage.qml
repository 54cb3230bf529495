import QtQuick
import QtQuick.Layouts
import Velmora.Brand

// One step's body, in the middle of the space between the bars, scrolling where it does not fit. Steps are blocks below each other.
ScrollArea {
    id: page

    required property int step
    required property int visibleStep
    property real spacing: 20
    default property alias content: column.data

    readonly property bool isCurrent: step === visibleStep

    x: isCurrent ? 0 : step < visibleStep ? -24 : 24
    width: parent.width
    height: parent.height
    contentHeight: Math.max(height, column.implicitHeight + 2 * Theme.gap)
    opacity: isCurrent ? 1 : 0
    visible: opacity > 0
    enabled: isCurrent
    activeFocusOnTab: contentHeight > height
    onIsCurrentChanged: scrollTo(0)

    Behavior on opacity {
        enabled: !Theme.reducesMotion

        NumberAnimation {
            duration: Theme.motionDuration
            easing.type: Easing.InOutQuad
        }
    }
    Behavior on x {
        enabled: !Theme.reducesMotion

        NumberAnimation {
            duration: Theme.motionDuration
            easing.type: Easing.InOutQuad
        }
    }

    ColumnLayout {
        id: column

        x: Theme.windowMargin
        y: Math.round((page.contentHeight - implicitHeight) / 2)
        width: page.width - 2 * x
        spacing: page.spacing
    }
}
