// The panel that says that a clip was saved.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand

Item {
    id: root

    required property ClipSavedHUDModel model

    implicitWidth: 340
    implicitHeight: 110
    Accessible.role: Accessible.Notification
    Accessible.name: model.title
    Accessible.description: model.caption

    // What the window's mask leaves of the corners.
    Rectangle {
        anchors.fill: parent
        visible: root.model.shadowMargin === 0
        color: Theme.obsidian
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

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1

                    Label {
                        Layout.fillWidth: true
                        text: root.model.title
                        font: Theme.panelTitleFont
                        elide: Text.ElideRight
                        wrapMode: Text.NoWrap
                    }
                    Label {
                        Layout.fillWidth: true
                        visible: text !== ""
                        text: root.model.caption
                        color: Theme.secondaryText
                        elide: Text.ElideRight
                        wrapMode: Text.NoWrap
                    }
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
    }

    DragHandler {
        target: null
        onActiveChanged: if (active) root.Window.window.startSystemMove()
    }
}
