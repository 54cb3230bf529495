// The menu of a desktop without a tray, open in a window.
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
    Accessible.role: Accessible.PopupMenu
    Accessible.name: "Velmora"

    component EntryTitle: RowLayout {
        id: titleLine

        property string emoji
        property string words
        property string keys
        property color color

        spacing: Theme.smallGap

        // A symbol that the font for text has too, in one colour.
        Text {
            visible: text !== ""
            text: titleLine.emoji
            textFormat: Text.PlainText
            font: Theme.emojiFont
        }
        LineLabel {
            Layout.fillWidth: true
            line: titleLine.words
            color: titleLine.color
            elide: Text.ElideMiddle
            Accessible.ignored: true
        }
        Label {
            visible: text !== ""
            text: titleLine.keys
            color: Theme.tertiaryText
            font: Theme.captionFont
            Accessible.ignored: true
        }
    }

    ScrollArea {
        anchors.fill: parent
        contentHeight: root.implicitHeight
        interactive: contentHeight > height

        ColumnLayout {
            id: content

            x: 16
            y: 16
            width: root.width - 2 * x
            spacing: 2

            Repeater {
                model: root.model

                FocusScope {
                    id: entry

                    required property int index
                    required property string title
                    required property string emoji
                    required property string words
                    required property string caption
                    required property string shortcut
                    required property string keySequence
                    required property bool isSeparator
                    required property bool isRemark
                    required property bool isHeader
                    required property bool isActionable

                    Layout.fillWidth: true
                    implicitHeight: isSeparator ? 13 : isHeader ? 44 : titleHeight + (remark.visible ? remark.implicitHeight + 2 : 0)
                    readonly property int titleHeight: isRemark ? 10 : 32

                    focus: index === root.model.currentRow
                    onActiveFocusChanged: {
                        if (activeFocus)
                            root.model.currentRow = index;
                    }
                    Keys.onUpPressed: root.model.moveCurrentRow(-1)
                    Keys.onDownPressed: root.model.moveCurrentRow(1)

                    Rectangle {
                        visible: entry.isSeparator
                        anchors.verticalCenter: parent.verticalCenter
                        width: parent.width
                        height: 1
                        color: Theme.borderSlate
                        Accessible.role: Accessible.Separator
                    }
                    BrandHorizontalLockupView {
                        visible: entry.isHeader
                        x: 20
                        height: 24
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    MenuRow {
                        anchors.fill: parent
                        visible: entry.isActionable
                        focus: true
                        text: Theme.oneLine(entry.title)
                        bottomPadding: entry.height - entry.titleHeight
                        Accessible.description: entry.shortcut + (entry.shortcut !== "" && entry.caption !== "" ? ". " : "") + entry.caption
                        Keys.onReturnPressed: event => event.isAutoRepeat || root.model.trigger(entry.index)
                        Keys.onEnterPressed: event => event.isAutoRepeat || root.model.trigger(entry.index)
                        onClicked: root.model.trigger(entry.index)

                        contentItem: EntryTitle {
                            emoji: entry.emoji
                            words: entry.words
                            keys: entry.shortcut
                            color: Theme.text
                        }
                    }
                    EntryTitle {
                        visible: !entry.isActionable && !entry.isSeparator && !entry.isHeader && !entry.isRemark
                        anchors.left: parent.left
                        anchors.right: parent.right
                        anchors.leftMargin: 20
                        anchors.rightMargin: 20
                        height: entry.titleHeight
                        emoji: entry.emoji
                        words: entry.words
                        color: Theme.secondaryText
                        Accessible.role: Accessible.StaticText
                        Accessible.name: Theme.oneLine(entry.title)
                        Accessible.description: entry.caption
                    }
                    Caption {
                        id: remark

                        visible: entry.caption !== ""
                        x: 20
                        y: entry.titleHeight - 6
                        width: parent.width - 2 * x
                        text: entry.caption
                        Accessible.ignored: !entry.isRemark
                    }
                    Shortcut {
                        sequence: entry.keySequence
                        enabled: entry.isActionable && entry.keySequence !== ""
                        autoRepeat: false
                        onActivated: root.model.trigger(entry.index)
                    }
                }
            }
        }
    }
}
