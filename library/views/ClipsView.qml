// The window with all clips of the folder.
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import QtQuick.Window
import Velmora.Brand
import Velmora.Library

Rectangle {
    id: root

    required property ClipsModel model

    color: Theme.obsidian

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        anchors.topMargin: 18
        anchors.bottomMargin: 20
        spacing: 12

        RowLayout {
            spacing: Theme.largeGap

            Label {
                Layout.fillWidth: true
                text: "Clips"
                font: Theme.titleFont
                wrapMode: Text.NoWrap
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            SearchField {
                id: search

                Layout.preferredWidth: 280
                placeholderText: "Search names and days..."
                onTextChanged: root.model.searchText = text
                Keys.onDownPressed: list.enter()
                Keys.onReturnPressed: event => event.isAutoRepeat || list.enter()
                Keys.onEnterPressed: event => event.isAutoRepeat || list.enter()
            }
        }

        Card {
            id: card

            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 0
            focus: true
            color: Theme.withOpacity(Theme.cardSlate, 0.45)

            BusyIndicator {
                anchors.centerIn: parent
                visible: running
                running: root.model.isReading
                text: "Reading the clips folder"
            }

            ColumnLayout {
                anchors.centerIn: parent
                width: Math.min(parent.width - 2 * Theme.windowMargin, 420 * Theme.textScale)
                spacing: 8
                visible: root.model.emptyTitle !== ""

                Symbol {
                    Layout.alignment: Qt.AlignHCenter
                    name: root.model.emptySymbol
                    color: Theme.tertiaryText
                    size: 40
                }
                Label {
                    Layout.fillWidth: true
                    text: root.model.emptyTitle
                    font: Theme.headlineFont
                    horizontalAlignment: Text.AlignHCenter
                }
                Label {
                    Layout.fillWidth: true
                    text: root.model.emptyText
                    color: Theme.secondaryText
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                    maximumLineCount: 6
                    elide: Text.ElideRight
                }
            }

            ListView {
                id: list

                readonly property int tileWidth: Math.floor((width - scrollBar.implicitWidth) / root.model.columns)
                property bool staysAtBeginning: false

                function enter() {
                    forceActiveFocus();
                    root.model.enterList();
                }

                anchors.fill: parent
                anchors.margins: 6
                visible: root.model.hasClips
                focus: true
                activeFocusOnTab: true
                clip: true
                model: root.model
                currentIndex: -1
                keyNavigationEnabled: false
                cacheBuffer: 0
                boundsBehavior: Flickable.StopAtBounds
                Accessible.role: Accessible.List
                Accessible.name: "Clips"
                Keys.onPressed: event => event.accepted = root.model.pressKey(event.key, event.modifiers, event.text, Math.floor(height / Math.max(1, tileWidth)))

                Binding {
                    target: root.model
                    property: "columns"
                    value: Math.floor((list.width + 40) / 220)
                }
                Binding {
                    target: root.model
                    property: "pictureSide"
                    value: (list.tileWidth - 20) * root.Screen.devicePixelRatio
                }

                T.ScrollBar.vertical: ThinScrollBar {
                    id: scrollBar
                }

                delegate: FocusScope {
                    id: line

                    required property string heading
                    required property int first
                    required property int count

                    width: ListView.view.width
                    height: tiles.y + tiles.height
                    focus: root.model.currentNumber >= first && root.model.currentNumber < first + count

                    Label {
                        id: day

                        x: 10
                        y: 10
                        visible: text !== ""
                        text: line.heading
                        font: Theme.headlineFont
                        wrapMode: Text.NoWrap
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Row {
                        id: tiles

                        y: day.visible ? day.y + day.height + 2 : 0

                        Repeater {
                            model: root.model.columns

                            ClipTile {
                                required property int index

                                width: list.tileWidth
                                model: root.model
                                number: index < line.count ? line.first + index : -1
                                showsFocus: list.activeFocus
                            }
                        }
                    }
                }
            }
        }

        RowLayout {
            Layout.preferredHeight: Theme.compactHeight
            spacing: Theme.gap

            Label {
                Layout.fillWidth: true
                text: root.model.statusText
                color: Theme.secondaryText
                font: Theme.captionFont
                maximumLineCount: 2
                elide: Text.ElideRight
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                Accessible.role: Accessible.StatusBar
                Accessible.name: text
            }
            SmallFileLine {
                Layout.fillWidth: true
                Layout.maximumWidth: implicitWidth
                status: root.model.smallFile
            }
            TextButton {
                text: "Undo"
                compact: true
                visible: root.model.canUndo
                onClicked: root.model.undo()
            }
        }

        FittedRow {
            id: buttons

            spacing: 8
            buttons: [renameButton, trashButton, closeButton, openButton]
            room: root.width - 2 * Theme.windowMargin - 2 * (Theme.controlHeight + spacing)

            IconButton {
                id: share

                text: "Share"
                symbol: "square.and.arrow.up"
                toolTip: "Share this clip"
                enabled: root.model.canShare
                onClicked: {
                    const corner = share.mapToGlobal(0, share.height + 4);
                    root.model.share(corner.x, corner.y);
                }
            }
            IconButton {
                text: "Reveal in Finder"
                symbol: "folder"
                toolTip: root.model.revealRemark
                enabled: root.model.canReveal
                onClicked: root.model.reveal()
            }
            TextButton {
                id: renameButton

                text: "Rename"
                fit: buttons.fit
                enabled: root.model.canRename
                onClicked: root.model.beginRenaming()
            }
            TextButton {
                id: trashButton

                text: "Move to Trash"
                fit: buttons.fit
                enabled: root.model.canTrash
                onClicked: root.model.moveToTrash()
            }
            Item {
                Layout.fillWidth: true
            }
            TextButton {
                id: closeButton

                text: "Close"
                fit: buttons.fit
                onClicked: root.model.close()
            }
            TextButton {
                id: openButton

                text: "Open"
                fit: buttons.fit
                prominent: true
                enabled: root.model.canOpen
                onClicked: root.model.open()
            }
        }
    }

    Shortcut {
        sequences: [StandardKey.Find]
        onActivated: search.forceActiveFocus()
    }
    Shortcut {
        sequences: [StandardKey.Undo]
        enabled: root.model.canUndo
        onActivated: root.model.undo()
    }
    Shortcut {
        sequences: [StandardKey.Cancel]
        onActivated: root.model.escape()
    }
    Connections {
        target: root.model

        function onAppeared() {
            list.forceActiveFocus();
        }
        function onClipsWillChange() {
            list.staysAtBeginning = list.atYBeginning;
        }
        function onClipsChanged() {
            if (list.staysAtBeginning)
                list.positionViewAtBeginning();
        }
        function onCurrentMoved(line) {
            list.positionViewAtIndex(line, ListView.Contain);
        }
        function onSearchBegan(text) {
            search.text = text;
            if (text !== "")
                search.forceActiveFocus();
        }
        function onRenamingEnded() {
            list.forceActiveFocus();
        }
    }
}
