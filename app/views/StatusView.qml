// The menu of a desktop without a tray, open in a window.
import QtQuick
import QtQuick.Layouts
import Velmora.App
import Velmora.Brand

Rectangle {
    id: root

    required property StatusModel model

    implicitWidth: Math.round(400 * Theme.textScale)
    implicitHeight: content.implicitHeight + 32
    color: Theme.obsidian
    Accessible.role: Accessible.PopupMenu
    Accessible.name: "Velmora"

    // Two columns, from the left of a row: symbols stand in the middle of one, words begin the other, as the header's mark and name do.
    readonly property int symbolColumn: 18
    readonly property int symbolWidth: Math.round(20 * Theme.textScale)
    readonly property int wordsColumn: symbolColumn + Math.round(30 * Theme.textScale)

    component EntryTitle: Item {
        id: titleLine

        property string symbol
        property string words
        property string keys
        property color color
        property font font: Theme.bodyFont

        implicitHeight: line.implicitHeight

        // A picture in its colours, which the font for text may have too, in one.
        Text {
            visible: text !== ""
            width: root.symbolWidth
            horizontalAlignment: Text.AlignHCenter
            anchors.verticalCenter: parent.verticalCenter
            text: titleLine.symbol
            textFormat: Text.PlainText
            color: titleLine.color
            font: Theme.emojiFont
        }
        RowLayout {
            id: line

            x: root.wordsColumn - root.symbolColumn
            width: parent.width - x
            height: parent.height
            spacing: Theme.gap

            LineLabel {
                Layout.fillWidth: true
                line: titleLine.words
                color: titleLine.color
                font: titleLine.font
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
                    required property string symbol
                    required property string words
                    required property string caption
                    required property string shortcut
                    required property string keySequence
                    required property bool isSeparator
                    required property bool isRemark
                    required property bool isHeader
                    required property bool isState
                    required property bool isProminent
                    required property bool isActionable

                    Layout.fillWidth: true
                    implicitHeight: isSeparator ? 13 : isHeader ? Math.round(44 * Theme.textScale) : titleHeight + (remark.visible ? remark.implicitHeight + 2 : 0)
                    readonly property int titleHeight: isRemark ? 10 : Math.round((isProminent ? 40 : 32) * Theme.textScale)

                    focus: index === root.model.currentRow
                    onActiveFocusChanged: {
                        if (activeFocus)
                            root.model.currentRow = index;
                    }
                    Keys.onUpPressed: root.model.moveCurrentRow(-1)
                    Keys.onDownPressed: root.model.moveCurrentRow(1)

                    Separator {
                        visible: entry.isSeparator
                        anchors.verticalCenter: parent.verticalCenter
                        width: parent.width
                    }
                    BrandHorizontalLockupView {
                        visible: entry.isHeader
                        x: root.symbolColumn + (root.symbolWidth - height) / 2
                        height: Math.round(24 * Theme.textScale)
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    MenuRow {
                        anchors.fill: parent
                        visible: entry.isActionable
                        focus: true
                        text: Theme.oneLine(entry.title)
                        prominent: entry.isProminent
                        leftPadding: root.symbolColumn
                        bottomPadding: entry.height - entry.titleHeight
                        Accessible.description: entry.shortcut + (entry.shortcut !== "" && entry.caption !== "" ? ". " : "") + entry.caption
                        Keys.onReturnPressed: event => event.isAutoRepeat || root.model.trigger(entry.index)
                        Keys.onEnterPressed: event => event.isAutoRepeat || root.model.trigger(entry.index)
                        onClicked: root.model.trigger(entry.index)

                        contentItem: EntryTitle {
                            symbol: entry.symbol
                            words: entry.words
                            keys: entry.shortcut
                            color: Theme.text
                            font: entry.isProminent ? Theme.headlineFont : Theme.bodyFont
                        }
                    }
                    EntryTitle {
                        visible: !entry.isActionable && !entry.isSeparator && !entry.isHeader && !entry.isRemark
                        anchors.left: parent.left
                        anchors.right: parent.right
                        anchors.leftMargin: root.symbolColumn
                        anchors.rightMargin: 20
                        height: entry.titleHeight
                        symbol: entry.symbol
                        words: entry.words
                        color: entry.isState ? Theme.text : Theme.secondaryText
                        font: entry.isState ? Theme.headlineFont : Theme.bodyFont
                        Accessible.role: Accessible.StaticText
                        Accessible.name: Theme.oneLine(entry.title)
                        Accessible.description: entry.caption
                    }
                    Caption {
                        id: remark

                        visible: entry.caption !== ""
                        x: root.wordsColumn
                        y: entry.titleHeight - 6
                        width: parent.width - x - 20
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
