// The window in which the user chooses what to record.
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora.Brand
import Velmora.Windows

Rectangle {
    id: root

    required property WindowPickerModel model

    color: Theme.obsidian

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        spacing: Theme.spacing

        ColumnLayout {
            spacing: 4

            Text {
                text: "Choose Video Window"
                color: Theme.primaryText
                font: Theme.titleFont
                textFormat: Text.PlainText
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                Layout.fillWidth: true
                text: "Select what you are watching (Safari, Chrome, YouTube, QuickTime, VLC, etc.)"
                color: Theme.secondaryText
                font: Theme.bodyFont
                textFormat: Text.PlainText
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        SearchField {
            id: search

            Layout.fillWidth: true
            focus: true
            placeholderText: "Search by app name or window title..."
            text: root.model.searchText
            onTextEdited: root.model.searchText = text
            onCleared: root.model.searchText = ""
            Keys.onUpPressed: root.model.moveSelection(-1)
            Keys.onDownPressed: root.model.moveSelection(1)
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                anchors.centerIn: parent
                spacing: Theme.spacing
                visible: root.model.isLoading

                BusyIndicator {
                    Layout.alignment: Qt.AlignHCenter
                    running: root.model.isLoading
                }
                Text {
                    text: "Searching for active windows..."
                    color: Theme.secondaryText
                    font: Theme.bodyFont
                    textFormat: Text.PlainText
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }

            ColumnLayout {
                anchors.centerIn: parent
                width: parent.width - 2 * Theme.windowMargin
                spacing: 8
                visible: root.model.isEmpty

                Image {
                    Layout.alignment: Qt.AlignHCenter
                    source: "image://symbol/macwindow.on.rectangle/64748B"
                    sourceSize: Qt.size(40, 40)
                }
                Text {
                    Layout.fillWidth: true
                    text: "No eligible video windows found."
                    color: Theme.primaryText
                    font: Theme.headlineFont
                    textFormat: Text.PlainText
                    horizontalAlignment: Text.AlignHCenter
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
                Text {
                    Layout.fillWidth: true
                    text: "Make sure the browser or video player window is open and visible on screen."
                    color: Theme.secondaryText
                    font: Theme.bodyFont
                    textFormat: Text.PlainText
                    wrapMode: Text.Wrap
                    horizontalAlignment: Text.AlignHCenter
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }

            ListView {
                id: list

                anchors.fill: parent
                anchors.margins: 6
                visible: root.model.hasRows
                activeFocusOnTab: true
                clip: true
                model: root.model
                currentIndex: root.model.selectedRow
                boundsBehavior: Flickable.StopAtBounds
                highlightMoveDuration: 0
                spacing: 2
                Accessible.role: Accessible.List
                Accessible.name: "Windows"
                Keys.onUpPressed: root.model.moveSelection(-1)
                Keys.onDownPressed: root.model.moveSelection(1)
                onCurrentIndexChanged: positionViewAtIndex(currentIndex, ListView.Contain)

                T.ScrollBar.vertical: ThinScrollBar { }

                delegate: ListRow {
                    id: row

                    required property int index
                    required property string appName
                    required property string title
                    required property string sizeText
                    required property string symbol
                    required property bool isActive

                    width: ListView.view.width
                    selected: ListView.isCurrentItem
                    Accessible.name: [appName, title, sizeText, isActive ? "Active" : ""].filter(part => part !== "").join(", ")
                    onClicked: root.model.select(index)
                    onDoubleClicked: root.model.start()

                    contentItem: RowLayout {
                        spacing: 12

                        Image {
                            Layout.preferredWidth: 28
                            Layout.preferredHeight: 20
                            fillMode: Image.PreserveAspectFit
                            source: "image://symbol/" + row.symbol + "/FF3B30"
                            sourceSize: Qt.size(20, 20)
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 3

                            Text {
                                Layout.fillWidth: true
                                text: row.appName
                                color: Theme.primaryText
                                font: Theme.emphasisFont
                                textFormat: Text.PlainText
                                elide: Text.ElideRight
                            }
                            Text {
                                Layout.fillWidth: true
                                visible: text !== ""
                                text: row.title
                                color: Theme.secondaryText
                                font: Theme.bodyFont
                                textFormat: Text.PlainText
                                elide: Text.ElideRight
                                maximumLineCount: 1
                            }
                            Text {
                                text: row.sizeText
                                color: Theme.secondaryText
                                opacity: 0.8
                                font: Theme.captionFont
                                textFormat: Text.PlainText
                            }
                        }
                        Badge {
                            visible: row.isActive
                            text: "Active"
                            tint: Theme.granted
                        }
                    }
                }
            }
        }

        RowLayout {
            spacing: 8

            Image {
                source: "image://symbol/lightbulb.fill/FBBF24"
                sourceSize: Qt.size(16, 16)
            }
            Text {
                Layout.fillWidth: true
                text: "Tip: Make sure the browser or video player window is open on your screen (not minimized into the Dock)."
                color: Theme.secondaryText
                font: Theme.captionFont
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        RowLayout {
            spacing: 8

            TextButton {
                text: "Refresh List"
                symbol: "arrow.clockwise"
                onClicked: root.model.refreshWindows()
            }
            Item {
                Layout.fillWidth: true
            }
            TextButton {
                text: "Cancel"
                onClicked: root.model.cancel()
            }
            TextButton {
                text: "Start Clipping This Window"
                prominent: true
                enabled: root.model.canStart
                onClicked: root.model.start()
            }
        }
    }

    Shortcut {
        sequences: ["Return", "Enter"]
        onActivated: root.model.start()
    }
    Shortcut {
        sequence: "Escape"
        onActivated: root.model.cancel()
    }
    Connections {
        target: root.model

        function onAppeared() {
            search.forceActiveFocus();
        }
    }
}
