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

    // With larger text the window, which keeps its size, has room for rows only where what stands around them takes less.
    readonly property bool isTight: Theme.textScale > 1
    readonly property real room: width - 2 * Theme.windowMargin
    readonly property font purposeFont: Theme.fitted(Theme.bodyFont, purpose.text, room > 0 ? room : Infinity)

    component Tip: Item {
        id: tip

        // How wide it is, which its lines have to know before they are laid out.
        required property real room

        implicitWidth: room
        implicitHeight: words.implicitHeight

        Symbol {
            id: bulb

            name: "lightbulb.fill"
            color: Theme.tip
            size: Math.round(16 * Theme.textScale)
        }
        Column {
            id: words

            x: bulb.width + Theme.gap
            width: tip.room - x
            spacing: 2

            Caption {
                width: parent.width
                text: "Tip: Make sure the browser or video player window is open on your screen (not minimized into the Dock)."
            }
            Caption {
                width: parent.width
                text: "On this desktop the Dock is the task bar or launcher, and 1 pt is 1 pixel."
            }
        }
    }

    SoundChoiceView {
        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        visible: root.model.isChoosingSound
        model: root.model
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.windowMargin
        anchors.topMargin: root.isTight ? 12 : 18
        anchors.bottomMargin: root.isTight ? 14 : 20
        spacing: root.isTight ? 9 : 12
        visible: !root.model.isChoosingSound
        onVisibleChanged: {
            if (visible)
                search.forceActiveFocus();
        }

        ColumnLayout {
            spacing: 2

            Label {
                text: "Choose Video Window"
                font: Theme.titleFont
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                id: purpose

                Layout.fillWidth: true
                text: "Select what you are watching (Safari, Chrome, YouTube, QuickTime, VLC, etc.)"
                color: Theme.secondaryText
                font: root.purposeFont
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
            }
            Label {
                Layout.fillWidth: true
                text: "Any browser or player will do, such as Firefox, Chromium, VLC or mpv."
                color: Theme.secondaryText
                font: root.purposeFont
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
            }
        }

        SearchField {
            id: search

            Layout.fillWidth: true
            focus: true
            placeholderText: "Search by app name or window title..."
            onTextChanged: root.model.searchText = text
            Keys.onUpPressed: root.model.moveSelection(-1)
            Keys.onDownPressed: root.model.moveSelection(1)
            Keys.onReturnPressed: event => event.isAutoRepeat || root.model.start()
            Keys.onEnterPressed: event => event.isAutoRepeat || root.model.start()
        }

        Card {
            id: card

            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 0
            color: Theme.withOpacity(Theme.cardSlate, 0.45)

            ColumnLayout {
                anchors.centerIn: parent
                spacing: Theme.largeGap
                visible: root.model.isLoading

                BusyIndicator {
                    Layout.alignment: Qt.AlignHCenter
                    running: root.model.isLoading
                }
                Label {
                    text: "Searching for active windows..."
                    color: Theme.secondaryText
                }
            }

            ScrollArea {
                anchors.fill: parent
                visible: root.model.isEmpty
                contentHeight: Math.max(height, nothing.implicitHeight + 2 * Theme.gap)
                activeFocusOnTab: contentHeight > height

                ColumnLayout {
                    id: nothing

                    anchors.centerIn: parent
                    width: parent.width - 2 * Theme.largeGap
                    spacing: 8

                    Symbol {
                        Layout.alignment: Qt.AlignHCenter
                        visible: !root.isTight
                        name: "macwindow.on.rectangle"
                        color: Theme.tertiaryText
                        size: 40
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "No eligible video windows found."
                        font: Theme.headlineFont
                        horizontalAlignment: Text.AlignHCenter
                    }
                    Label {
                        Layout.alignment: Qt.AlignHCenter
                        Layout.fillWidth: true
                        Layout.maximumWidth: 340 * Theme.textScale
                        text: "Make sure the browser or video player window is open and visible on screen."
                        color: Theme.secondaryText
                        horizontalAlignment: Text.AlignHCenter
                    }
                    Tip {
                        Layout.topMargin: Theme.gap
                        visible: root.isTight
                        room: root.room - 2 * Theme.largeGap
                    }
                }
            }

            ListView {
                id: list

                anchors.fill: parent
                anchors.topMargin: 4
                anchors.bottomMargin: 4

                readonly property bool isSelectionInSight: currentItem !== null && currentItem.y >= contentY - 1
                    && currentItem.y + currentItem.height <= contentY + height + 1

                visible: root.model.hasRows
                activeFocusOnTab: true
                clip: true
                model: root.model
                currentIndex: root.model.selectedRow
                boundsBehavior: Flickable.StopAtBounds
                highlightMoveDuration: 0
                Accessible.role: Accessible.List
                Accessible.name: "Windows"
                Keys.onUpPressed: root.model.moveSelection(-1)
                Keys.onDownPressed: root.model.moveSelection(1)
                Keys.onReturnPressed: event => event.isAutoRepeat || root.model.start()
                Keys.onEnterPressed: event => event.isAutoRepeat || root.model.start()
                onCurrentIndexChanged: {
                    if (currentIndex === count - 1)
                        positionViewAtEnd();
                    positionViewAtIndex(currentIndex, ListView.Contain);
                }

                // Beneath the last row.
                footer: Item {
                    height: root.isTight ? lastTip.implicitHeight + 2 * Theme.gap : 0

                    Tip {
                        id: lastTip

                        x: 20
                        y: Theme.gap
                        visible: root.isTight
                        room: root.room - 40
                    }
                }

                Binding {
                    target: root.model
                    property: "isSelectionInSight"
                    value: list.isSelectionInSight
                }

                T.ScrollBar.vertical: ThinScrollBar {
                    id: scrollBar
                }

                delegate: ListRow {
                    id: row

                    required property int index
                    required property string appName
                    required property string title
                    required property string sizeText
                    required property string symbol
                    required property bool isActive
                    required property string absence
                    required property var applicationIcon
                    required property bool isSounding

                    width: ListView.view.width
                    topPadding: 4
                    bottomPadding: 4
                    gutter: scrollBar.visible ? scrollBar.width - 2 : 0
                    highlighted: ListView.isCurrentItem
                    showsFocus: highlighted && ListView.view.activeFocus
                    text: [Theme.oneLine(appName), Theme.oneLine(title), sizeText, absence, isSounding ? "Plays sound" : "", isActive ? "Active" : ""].filter(part => part !== "").join(", ")
                    onClicked: root.model.select(index)
                    onDoubleClicked: root.model.doubleClick()

                    contentItem: RowLayout {
                        spacing: 12

                        Item {
                            Layout.preferredWidth: 28
                            Layout.preferredHeight: 20

                            Symbol {
                                anchors.centerIn: parent
                                name: row.symbol
                                color: Theme.coral
                                size: 20
                            }
                        }
                        AppIcon {
                            Layout.preferredWidth: 24
                            Layout.preferredHeight: 24
                            visible: root.model.hasIcons
                            picture: row.applicationIcon
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 3

                            LineLabel {
                                Layout.fillWidth: true
                                line: row.appName
                                font: Theme.emphasisFont
                            }
                            LineLabel {
                                Layout.fillWidth: true
                                visible: text !== ""
                                line: row.title
                                color: Theme.secondaryText
                            }
                            RowLayout {
                                spacing: 12

                                Label {
                                    visible: text !== ""
                                    text: row.sizeText
                                    color: Theme.secondaryText
                                    opacity: 0.8
                                    font: Theme.captionFont
                                    wrapMode: Text.NoWrap
                                }
                                LineLabel {
                                    Layout.fillWidth: true
                                    visible: text !== ""
                                    line: row.absence
                                    color: Theme.tip
                                    font: Theme.captionFont
                                }
                            }
                        }
                        Item {
                            id: soundMark

                            Layout.preferredWidth: 20
                            Layout.preferredHeight: 20
                            visible: row.isSounding

                            Symbol {
                                anchors.centerIn: parent
                                name: "speaker.wave.2"
                                color: Theme.secondaryText
                                size: 16
                            }
                            HoverHandler {
                                id: soundHover
                            }
                            Loader {
                                active: soundHover.hovered
                                sourceComponent: ToolTip {
                                    parent: soundMark
                                    text: "Plays sound"
                                    visible: true
                                }
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
            FocusRing {
                targetRadius: Theme.cardRadius
                visible: list.activeFocus && list.currentItem === null
            }
            RowPresses {
                list: list
                isListRead: !root.model.isLoading
                onRowPressed: row => root.model.press(row)
                onDoubleClicked: root.model.doubleClick()
            }
        }

        Tip {
            visible: !root.isTight
            room: root.room
        }

        LineLabel {
            Layout.fillWidth: true
            visible: root.model.selectionCaption !== ""
            line: root.model.selectionCaption
            color: Theme.secondaryText
            font: Theme.captionFont
            horizontalAlignment: Text.AlignRight
        }

        FittedRow {
            id: buttons

            spacing: 8
            buttons: [refreshButton, cancelButton, startButton]
            room: root.room

            TextButton {
                id: refreshButton

                text: "Refresh List"
                symbol: "arrow.clockwise"
                fit: buttons.fit
                onClicked: root.model.refreshWindows()
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
                id: startButton

                text: "Start Clipping This Window"
                prominent: true
                fit: buttons.fit
                enabled: root.model.canStart
                onClicked: root.model.start()
            }
        }
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.cancel()
    }
    Connections {
        target: root.model

        function onAppeared() {
            search.clear();
            search.forceActiveFocus();
        }
    }
}
