import QtQuick

// An area out of which something is dragged with the mouse. A finger's movement stays with what lies around it, such as a list.
MouseArea {
    id: area

    signal dragged

    // Where the mouse holds what it has not dragged yet.
    property point held
    property bool isHeld: false

    onPressed: mouse => {
        isHeld = mouse.source === Qt.MouseEventNotSynthesized;
        preventStealing = isHeld;
        held = Qt.point(mouse.x, mouse.y);
    }
    onPositionChanged: mouse => {
        if (isHeld && Math.max(Math.abs(mouse.x - held.x), Math.abs(mouse.y - held.y)) >= Qt.styleHints.startDragDistance) {
            isHeld = false;
            dragged();
        }
    }
    onReleased: isHeld = false
    onCanceled: isHeld = false
}
