// The picker's second step: whose sound goes with the window.
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora.Brand
import Velmora.Windows

ColumnLayout {
    id: root

    required property WindowPickerModel model
    readonly property SoundChoiceModel sound: model.sound

    spacing: Theme.largeGap
    onVisibleChanged: {
        if (visible)
            list.forceActiveFocus();
    }

    ColumnLayout {
        spacing: 4

        Label {
            text: "Choose Its Sound"
            font: Theme.titleFont
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Label {
            Layout.fillWidth: true
            text: "This desktop does not say which application the window belongs to. Only the one you choose is heard."
            color: Theme.secondaryText
        }
    }

    Card {
        Layout.fillWidth: true
        Layout.fillHeight: true
        padding: 0
        color: Theme.withOpacity(Theme.cardSlate, 0.45)

        ListView {
            id: list

            anchors.fill: parent
            anchors.topMargin: 6
            anchors.bottomMargin: 6
            activeFocusOnTab: true
            clip: true
            model: root.sound
            currentIndex: root.sound.selectedRow
            boundsBehavior: Flickable.StopAtBounds
            highlightMoveDuration: 0
            spacing: 2
            Accessible.role: Accessible.List
            Accessible.name: "Sounds"
            Keys.onUpPressed: root.sound.moveSelection(-1)
            Keys.onDownPressed: root.sound.moveSelection(1)
            Keys.onReturnPressed: event => event.isAutoRepeat || root.model.start()
            Keys.onEnterPressed: event => event.isAutoRepeat || root.model.start()
            onCurrentIndexChanged: positionViewAtIndex(currentIndex, ListView.Contain)

            T.ScrollBar.vertical: ThinScrollBar {
                id: scrollBar
            }

            delegate: ListRow {
                id: row

                required property int index
                required property string appName
                required property string detail
                required property string symbol
                required property bool isAsBefore

                width: ListView.view.width
                gutter: scrollBar.visible ? scrollBar.width - 2 : 0
                highlighted: ListView.isCurrentItem
                showsFocus: highlighted && ListView.view.activeFocus
                text: [Theme.oneLine(appName), Theme.oneLine(detail), isAsBefore ? "As before" : ""].filter(part => part !== "").join(", ")
                onClicked: root.sound.select(index)
                onDoubleClicked: root.sound.doubleClick()

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
                            line: row.detail
                            color: Theme.secondaryText
                        }
                    }
                    Badge {
                        visible: row.isAsBefore
                        text: "As before"
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
            onRowPressed: row => root.sound.press(row)
        }
    }

    RowLayout {
        spacing: 8

        Symbol {
            Layout.alignment: Qt.AlignTop
            name: "lightbulb.fill"
            color: Theme.tip
            size: Math.round(16 * Theme.textScale)
        }
        Label {
            Layout.fillWidth: true
            text: "Tip: An application is listed once it is playing. Start it, then refresh the list."
            color: Theme.secondaryText
            font: Theme.captionFont
        }
    }

    FittedRow {
        id: buttons

        spacing: 8
        buttons: [refreshButton, backButton, startButton]
        room: root.width

        TextButton {
            id: refreshButton

            text: "Refresh List"
            symbol: "arrow.clockwise"
            fit: buttons.fit
            onClicked: root.sound.refresh()
        }
        Item {
            Layout.fillWidth: true
        }
        TextButton {
            id: backButton

            text: "Back"
            fit: buttons.fit
            onClicked: root.model.cancel()
        }
        TextButton {
            id: startButton

            text: "Start Clipping This Window"
            prominent: true
            fit: buttons.fit
            enabled: root.sound.canStart
            onClicked: root.model.start()
        }
    }
}
