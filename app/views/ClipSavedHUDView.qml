// The panel that says that a clip was saved.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand
import Velmora.Library

Item {
    id: root

    required property ClipSavedHUDModel model

    implicitWidth: 340
    implicitHeight: 110
    Accessible.role: Accessible.Notification
    Accessible.name: model.title
    Accessible.description: model.caption

    // What the window's mask leaves of the corners in whole pixels belongs to the edge.
    Rectangle {
        anchors.fill: parent
        visible: root.model.shadowMargin === 0
        color: Theme.borderSlate
    }
    RoundedShadow {
        anchors.fill: panel
        visible: root.model.shadowMargin > 0
        radius: panel.radius
        margin: root.model.shadowMargin
    }
    RoundedRectangle {
        id: panel

        anchors.fill: parent
        anchors.margins: root.model.shadowMargin
        radius: 14
        color: Theme.obsidian
        borderWidth: 1
        borderColor: Theme.borderSlate

        // Larger text has only the room that the panel's given size leaves it.
        RowLayout {
            anchors.verticalCenter: parent.verticalCenter
            x: 16
            width: Math.max(parent.width - 2 * x, buttons.implicitWidth + 38 + spacing)
            spacing: 14
            transformOrigin: Item.Left
            scale: Math.min(1, (parent.width - 2 * x) / width, (parent.height - 16) / implicitHeight)

            BrandAppIconView {
                size: 38
                showShadow: true

                DragSource {
                    anchors.fill: parent
                    cursorShape: pressed ? Qt.ClosedHandCursor : Qt.OpenHandCursor
                    onDragged: root.model.drag()
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "Clip to Drag"
                    Accessible.description: "Drag this clip into another program"
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 10

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1

                    LineLabel {
                        Layout.fillWidth: true
                        line: root.model.title
                        font: Theme.panelTitleFont
                    }
                    LineLabel {
                        Layout.fillWidth: true
                        visible: text !== "" && !smallFile.visible
                        line: root.model.caption
                        color: Theme.secondaryText
                        fontSizeMode: Text.HorizontalFit
                        minimumPixelSize: Math.min(11, font.pixelSize)
                    }
                    SmallFileLine {
                        id: smallFile

                        Layout.fillWidth: true
                        status: root.model.smallFile
                    }
                }
                RowLayout {
                    id: buttons

                    spacing: 6

                    TextButton {
                        compact: true
                        prominent: true
                        text: "Preview & Trim"
                        onClicked: root.model.previewAndTrim()
                    }
                    TextButton {
                        id: share

                        compact: true
                        text: "Share"
                        onClicked: {
                            const corner = share.mapToGlobal(0, share.height + 4);
                            root.model.share(corner.x, corner.y);
                        }
                    }
                    TextButton {
                        compact: true
                        text: "Reveal"
                        onClicked: root.model.reveal()
                    }
                }
            }
        }
    }

    HoverHandler {
        onHoveredChanged: if (hovered) root.model.pointerEntered()
    }
    DragHandler {
        target: null
        onActiveChanged: if (active) root.Window.window.startSystemMove()
    }
}
