// The menu of a desktop without a tray: it lies open in a window.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand

Rectangle {
    id: root

    required property StatusModel model

    implicitWidth: 400
    implicitHeight: content.implicitHeight + 32
    color: Theme.obsidian

    ColumnLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 16
        spacing: 2

        Repeater {
            model: root.model

            Item {
                id: entry

                required property int index
                required property string title
                required property string shortcut
                required property bool isSeparator
                required property bool isHeader
                required property bool isActionable

                Layout.fillWidth: true
                implicitHeight: isSeparator ? 13 : isHeader ? 44 : 32

                Rectangle {
                    visible: entry.isSeparator
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width
                    height: 1
                    color: Theme.borderSlate
                }
                BrandHorizontalLockupView {
                    visible: entry.isHeader
                    x: 20
                    height: 24
                    anchors.verticalCenter: parent.verticalCenter
                }
                ListRow {
                    anchors.fill: parent
                    visible: entry.isActionable
                    text: entry.title
                    onClicked: root.model.trigger(entry.index)

                    contentItem: RowLayout {
                        Label {
                            Layout.fillWidth: true
                            text: entry.title
                            elide: Text.ElideRight
                            wrapMode: Text.NoWrap
                        }
                        Label {
                            visible: text !== ""
                            text: entry.shortcut
                            color: Theme.tertiaryText
                            font: Theme.captionFont
                        }
                    }
                }
                Label {
                    visible: !entry.isActionable && !entry.isSeparator && !entry.isHeader
                    anchors.fill: parent
                    anchors.leftMargin: 20
                    anchors.rightMargin: 20
                    verticalAlignment: Text.AlignVCenter
                    text: entry.title
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                    wrapMode: Text.NoWrap
                }
            }
        }
    }
}
