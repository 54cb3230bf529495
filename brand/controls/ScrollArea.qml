import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// Scrolls what is taller than itself, by wheel and keyboard, and to the control that gets the focus.
Flickable {
    id: area

    // Between the control that gets the focus and the edge.
    property real reach: Theme.windowMargin

    function scrollTo(y: real) {
        contentY = Math.max(0, Math.min(y, contentHeight - height));
    }

    contentWidth: width
    boundsBehavior: Flickable.StopAtBounds
    clip: true

    Keys.onUpPressed: scrollTo(contentY - 40)
    Keys.onDownPressed: scrollTo(contentY + 40)
    Keys.onPressed: event => {
        const goals = {
            [Qt.Key_PageUp]: contentY - height * 0.9,
            [Qt.Key_PageDown]: contentY + height * 0.9,
            [Qt.Key_Home]: 0,
            [Qt.Key_End]: contentHeight
        };
        if (event.key in goals) {
            scrollTo(goals[event.key]);
            event.accepted = true;
        }
    }

    T.ScrollBar.vertical: ThinScrollBar { }

    Connections {
        target: area.Window.window

        function onActiveFocusItemChanged() {
            const item = area.Window.activeFocusItem;
            for (let holder = item; holder; holder = holder.parent) {
                if (holder !== area.contentItem)
                    continue;
                const top = item.mapToItem(area.contentItem, 0, 0).y;
                if (top - area.reach < area.contentY)
                    area.scrollTo(top - area.reach);
                else if (top + item.height + area.reach > area.contentY + area.height)
                    area.scrollTo(top + item.height + area.reach - area.height);
            }
        }
    }
}
