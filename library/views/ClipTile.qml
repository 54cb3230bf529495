// A clip in the clips window: its picture with its length, its name, when it was made and how large it is.
import QtQuick
import Velmora.Brand
import Velmora.Library

FocusScope {
    id: tile

    required property ClipsModel model
    required property int number
    // The list has the keyboard.
    property bool showsFocus: false

    implicitHeight: content.height + 20
    visible: number >= 0
    focus: entry.isCurrent

    Accessible.role: Accessible.ListItem
    Accessible.name: entry.spoken
    Accessible.selectable: true
    Accessible.selected: entry.isSelected
    Accessible.focusable: true
    Accessible.onPressAction: tile.model.click(tile.number, 0)

    ClipEntry {
        id: entry

        model: tile.model
        number: tile.number
    }

    RowSurface {
        anchors.fill: parent
        anchors.margins: 2
        highlighted: entry.isSelected
        hovered: pointer.containsMouse
        down: pointer.pressed
        showsFocus: tile.showsFocus && entry.isCurrent
    }

    DragSource {
        id: pointer

        anchors.fill: parent
        hoverEnabled: true
        onPressed: tile.model.press(tile.number)
        onDragged: tile.model.drag(tile.number)
        onClicked: mouse => tile.model.click(tile.number, mouse.modifiers)
        onDoubleClicked: mouse => {
            if (mouse.modifiers === Qt.NoModifier)
                tile.model.doubleClick();
        }
    }

    Column {
        id: content

        x: 10
        y: 10
        width: tile.width - 20
        spacing: 6

        ClipPicture {
            id: picture

            width: parent.width
            height: Math.round(width * 9 / 16)
            picture: entry.picture
            ground: Theme.cardSlate
            radius: 6

            // How far it reaches where it is as dark as the card.
            RoundedRectangle {
                anchors.fill: parent
                radius: picture.radius
                borderWidth: 1
                borderColor: Theme.borderSlate
            }
            Symbol {
                anchors.centerIn: parent
                visible: !entry.hasPicture
                name: "play.rectangle.fill"
                color: Theme.tertiaryText
                size: 28
                opacity: 0.5
            }
            RoundedRectangle {
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: 5
                visible: entry.length !== ""
                width: length.implicitWidth + 10
                height: length.implicitHeight + 4
                radius: 4
                color: Theme.withOpacity("black", 0.72)

                Text {
                    id: length

                    anchors.centerIn: parent
                    text: entry.length
                    textFormat: Text.PlainText
                    color: "white"
                    font: Theme.captionFont
                }
            }
        }

        Item {
            width: parent.width
            height: name.implicitHeight

            LineLabel {
                id: name

                width: parent.width
                visible: !entry.isRenaming
                line: entry.name
                font: Theme.emphasisFont
                elide: Text.ElideMiddle
                Accessible.ignored: true
            }

            // Over both lines: it is higher than one.
            Loader {
                y: 2
                width: parent.width
                active: entry.isRenaming
                focus: entry.isRenaming
                sourceComponent: TextField {
                    height: Theme.compactHeight
                    focus: true
                    label: "New name of " + entry.name
                    text: entry.editableName
                    // A key that is taken here does not open the clip besides.
                    Keys.onReturnPressed: event => event.isAutoRepeat || tile.model.finishRenaming(text)
                    Keys.onEnterPressed: event => event.isAutoRepeat || tile.model.finishRenaming(text)
                    onActiveFocusChanged: {
                        if (!activeFocus && tile.Window.active && entry.isRenaming)
                            tile.model.leaveRenaming(text);
                    }
                    Component.onCompleted: {
                        forceActiveFocus();
                        selectAll();
                    }
                }
            }
        }

        LineLabel {
            width: parent.width
            opacity: entry.isRenaming ? 0 : 1
            line: entry.details
            font: Theme.captionFont
            color: Theme.secondaryText
            Accessible.ignored: true
        }
    }
}
