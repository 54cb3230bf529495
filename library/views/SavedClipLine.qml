// What was saved in one line with what it is for; with its own line above that where both do not fit beside each other.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Library

GridLayout {
    id: root

    required property ClipPreviewModel model
    readonly property bool isOneLine: message.implicitWidth + columnSpacing + forSaved.implicitWidth <= width

    columns: isOneLine ? 2 : 1
    columnSpacing: 6
    rowSpacing: 4

    component SavedClipButton: TextButton {
        compact: true
        visible: root.model.hasSavedClip
    }

    LineLabel {
        id: message

        Layout.fillWidth: true
        line: root.model.trimStatusMessage
        font: Theme.captionFont
        color: Theme.secondaryText
        elide: Text.ElideMiddle
        Accessible.role: Accessible.StatusBar
        Accessible.name: text
        Accessible.ignored: text === ""
    }
    RowLayout {
        id: forSaved

        visible: root.model.hasSavedClip || root.model.smallFile.isShown
        Layout.fillWidth: !root.isOneLine
        Layout.minimumHeight: Theme.compactHeight
        spacing: 6

        SmallFileLine {
            Layout.fillWidth: true
            Layout.maximumWidth: implicitWidth
            status: root.model.smallFile
        }
        DragGrip {
            visible: root.model.hasSavedClip
            text: "Trimmed Clip to Drag"
            toolTip: "Drag the trimmed clip into another program"
            onDragged: root.model.dragSavedClip()
        }
        SavedClipButton {
            text: "Play"
            accessibleName: "Play Trimmed Clip"
            onClicked: root.model.playSavedClip()
        }
        SavedClipButton {
            id: shareSaved

            text: "Share"
            accessibleName: "Share Trimmed Clip"
            onClicked: {
                const corner = shareSaved.mapToGlobal(0, shareSaved.height + 4);
                root.model.shareSavedClip(corner.x, corner.y);
            }
        }
        SavedClipButton {
            text: "Reveal"
            accessibleName: "Reveal Trimmed Clip"
            onClicked: root.model.revealSavedClip()
        }
        SavedClipButton {
            text: "Copy"
            accessibleName: "Copy Trimmed Clip"
            onClicked: root.model.copySavedClip()
        }
    }
}
