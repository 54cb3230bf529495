// A view in a window that is smaller than the view has to be: it keeps its size and scrolls.
import QtQuick
import Velmora.Brand

ScrollArea {
    id: area

    required property url source
    required property QtObject model
    required property size least

    reach: 0
    contentWidth: content.width
    contentHeight: content.height

    Loader {
        id: content

        width: Math.max(area.width, area.least.width)
        height: Math.max(area.height, area.least.height)
        Component.onCompleted: setSource(area.source, {
            "model": area.model
        })
    }
}
