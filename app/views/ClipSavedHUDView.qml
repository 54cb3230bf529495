// The panel that says that a clip was saved.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand

Rectangle {
    id: root

    required property ClipSavedHUDModel model

    implicitWidth: 340
    implicitHeight: 110
    radius: 14
    color: Theme.obsidian
    border.width: 1
    border.color: Theme.borderSlate
    Accessible.role: Accessible.Notification
    Accessible.name: model.title

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        spacing: 14

        BrandAppIconView {
            size: 38
            showShadow: true
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 10

            Label {
                Layout.fillWidth: true
                text: root.model.title
                font: Theme.panelTitleFont
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
            }
            RowLayout {
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

    DragHandler {
        target: null
        onActiveChanged: if (active) root.Window.window.startSystemMove()
    }
}
