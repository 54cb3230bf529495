import QtQuick

// Over a list whose rows may be others from one click to the next: tells which row is under the pointer when it goes down, -1 for none,
// before the row itself does anything. Takes nothing from the rows. Where the list is hidden while it is read, it tells of the double
// clicks that a row would have told of.
MouseArea {
    required property ListView list
    property bool isListRead: true

    signal rowPressed(int row)

    anchors.fill: list
    onPressed: mouse => {
        const at = mapToItem(list.contentItem, mouse.x, mouse.y);
        rowPressed(list.visible ? list.indexAt(at.x, at.y) : -1);
        mouse.accepted = !isListRead;
    }
}
