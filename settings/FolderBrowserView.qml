// Our own dialog for choosing a folder.
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora.Brand
import Velmora.Settings

Rectangle {
    id: root

    required property FolderBrowserModel model

    color: Theme.obsidian
    Window.onWindowChanged: list.forceActiveFocus(Qt.OtherFocusReason)

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        spacing: Theme.largeGap

        RowLayout {
            spacing: Theme.gap

            TextField {
                id: path

                Layout.fillWidth: true
                label: "Folder"
                text: root.model.path
                onAccepted: root.model.goTo(text)
            }
            IconButton {
                text: "Parent Folder"
                symbol: "arrow.up"
                enabled: root.model.hasParent
                onClicked: root.model.goUp()
            }
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 0
            color: Theme.withOpacity(Theme.cardSlate, 0.45)

            Label {
                anchors.centerIn: parent
                visible: root.model.isEmpty
                text: "No folders in here."
                color: Theme.secondaryText
            }

            ListView {
                id: list

                anchors.fill: parent
                anchors.topMargin: 6
                anchors.bottomMargin: 6
                activeFocusOnTab: true
                clip: true
                model: root.model
                currentIndex: root.model.selectedRow
                boundsBehavior: Flickable.StopAtBounds
                highlightMoveDuration: 0
                spacing: 2
                Accessible.role: Accessible.List
                Accessible.name: "Folders"
                Keys.onUpPressed: root.model.moveSelection(-1)
                Keys.onDownPressed: root.model.moveSelection(1)
                Keys.onReturnPressed: root.model.open(root.model.selectedRow)
                Keys.onEnterPressed: root.model.open(root.model.selectedRow)
                Keys.onRightPressed: root.model.open(root.model.selectedRow)
                Keys.onLeftPressed: root.model.goUp()
                Keys.onPressed: event => {
                    if (event.key === Qt.Key_Backspace) {
                        root.model.goUp();
                        event.accepted = true;
                    }
                }
                onCurrentIndexChanged: positionViewAtIndex(currentIndex, ListView.Contain)

                T.ScrollBar.vertical: ThinScrollBar {
                    id: scrollBar
                }

                delegate: ListRow {
                    id: row

                    required property int index
                    required property string name

                    width: ListView.view.width
                    gutter: scrollBar.visible ? scrollBar.width - 2 : 0
                    topPadding: 8
                    bottomPadding: 8
                    highlighted: ListView.isCurrentItem
                    showsFocus: highlighted && ListView.view.activeFocus
                    text: Theme.oneLine(name)
                    onClicked: {
                        list.forceActiveFocus(Qt.MouseFocusReason);
                        root.model.select(index);
                    }
                    onDoubleClicked: root.model.open(index)

                    contentItem: RowLayout {
                        spacing: 12

                        Symbol {
                            name: "folder.fill"
                            color: Theme.secondaryText
                            size: 18
                        }
                        LineLabel {
                            Layout.fillWidth: true
                            line: row.name
                            elide: Text.ElideMiddle
                        }
                    }
                }
            }
            FocusRing {
                targetRadius: Theme.cardRadius
                visible: list.activeFocus && list.currentItem === null
            }
        }

        RowLayout {
            visible: root.model.isNamingFolder
            spacing: Theme.gap

            TextField {
                id: newName

                Layout.fillWidth: true
                label: "Name of the new folder"
                onAccepted: root.model.createFolder(text)
            }
            TextButton {
                text: "Create"
                onClicked: root.model.createFolder(newName.text)
            }
        }

        StatusLine {
            Layout.fillWidth: true
            visible: root.model.errorMessage !== ""
            symbol: "exclamationmark.triangle.fill"
            tint: Theme.tip
            text: root.model.errorMessage
        }
        LineLabel {
            Layout.fillWidth: true
            line: "Clips will be saved in " + root.model.choice
            color: Theme.secondaryText
            font: Theme.captionFont
            elide: Text.ElideMiddle
        }

        FittedRow {
            id: buttons

            spacing: Theme.gap
            buttons: [newFolderButton, cancelButton, chooseButton]
            room: root.width - 2 * Theme.windowMargin

            TextButton {
                id: newFolderButton

                text: "New Folder"
                fit: buttons.fit
                symbol: "folder.badge.plus"
                enabled: !root.model.isNamingFolder
                onClicked: root.model.beginNamingFolder()
            }
            Item {
                Layout.fillWidth: true
            }
            TextButton {
                id: cancelButton

                text: "Cancel"
                fit: buttons.fit
                onClicked: root.model.cancel()
            }
            TextButton {
                id: chooseButton

                text: root.model.prompt
                fit: buttons.fit
                prominent: true
                enabled: !root.model.isNamingFolder
                onClicked: root.model.choose()
            }
        }
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.cancel()
    }
    Shortcut {
        sequence: "Alt+Up"
        onActivated: root.model.goUp()
    }
    Connections {
        target: root.model

        // What was typed gives way to the current folder.
        function onDirectoryChanged() {
            path.text = root.model.path;
        }
        function onIsNamingFolderChanged() {
            if (!root.model.isNamingFolder)
                return list.forceActiveFocus(Qt.OtherFocusReason);
            newName.text = "New Folder";
            newName.selectAll();
            newName.forceActiveFocus(Qt.OtherFocusReason);
        }
    }
}
