// The window that plays a clip and trims it.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Library

Rectangle {
    id: root

    required property ClipPreviewModel model

    color: Theme.obsidian
    focus: true
    Keys.onSpacePressed: model.togglePlaying()
    Keys.onLeftPressed: {
        if (model.canPlay)
            model.stepCurrentTime(-1);
    }
    Keys.onRightPressed: {
        if (model.canPlay)
            model.stepCurrentTime(1);
    }

    Shortcut {
        sequence: "I"
        enabled: root.model.canPlay
        onActivated: root.model.setTrimStartHere()
    }
    Shortcut {
        sequence: "O"
        enabled: root.model.canPlay
        onActivated: root.model.setTrimEndHere()
    }
    Shortcut {
        sequence: "J"
        enabled: root.model.canPlay
        onActivated: root.model.goOneSecondBack()
    }
    Shortcut {
        sequence: "K"
        enabled: root.model.canPlay
        onActivated: root.model.pause()
    }
    Shortcut {
        sequence: "L"
        enabled: root.model.canPlay
        onActivated: root.model.play()
    }
    Shortcut {
        sequence: ","
        enabled: root.model.canPlay
        onActivated: root.model.pauseAndStep(-1)
    }
    Shortcut {
        sequence: "."
        enabled: root.model.canPlay
        onActivated: root.model.pauseAndStep(1)
    }
    Shortcut {
        sequence: "Home"
        enabled: root.model.canPlay
        onActivated: root.model.goToBeginning()
    }
    Shortcut {
        sequence: "End"
        enabled: root.model.canPlay
        onActivated: root.model.goToEnd()
    }
    Shortcut {
        sequences: [StandardKey.Cancel]
        onActivated: root.model.dismiss()
    }

    component PictureSlider: Slider {
        stepsByItself: false
        live: true
    }

    // A time in whole seconds, and as a caption beside it the same with its tenths.
    component Time: RowLayout {
        property alias text: whole.text
        property alias tenths: caption.text

        spacing: Theme.gap

        TimeLabel {
            id: whole
            color: Theme.secondaryText
        }
        TimeLabel {
            id: caption
            color: Theme.secondaryText
            font: Theme.captionFont
        }
    }

    ScrollArea {
        id: scrolled

        anchors.fill: parent
        contentHeight: Math.max(height, content.Layout.minimumHeight)
        interactive: contentHeight > height

        ColumnLayout {
            id: content

            width: scrolled.width
            height: scrolled.contentHeight
            spacing: 0

            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.minimumHeight: 160
                color: "black"

                PlayerPicture {
                    anchors.fill: parent
                    model: root.model
                    visible: !root.model.isLoading && root.model.problem === ""
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "Clip"
                }

                TapHandler {
                    onTapped: root.model.togglePlaying()
                }

                ColumnLayout {
                    anchors.centerIn: parent
                    spacing: Theme.largeGap
                    visible: root.model.isLoading

                    BusyIndicator {
                        Layout.alignment: Qt.AlignHCenter
                        running: root.model.isLoading
                    }
                    Label {
                        text: "Loading clip..."
                        color: Theme.secondaryText
                    }
                }

                ColumnLayout {
                    anchors.centerIn: parent
                    width: parent.width - 2 * Theme.windowMargin
                    spacing: 8
                    visible: root.model.problem !== ""

                    Symbol {
                        Layout.alignment: Qt.AlignHCenter
                        name: "exclamationmark.triangle.fill"
                        color: Theme.tertiaryText
                        size: 40
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "This clip cannot be played."
                        font: Theme.headlineFont
                        horizontalAlignment: Text.AlignHCenter
                    }
                    Label {
                        Layout.fillWidth: true
                        text: Theme.paragraphs(root.model.problem)
                        color: Theme.secondaryText
                        maximumLineCount: 4
                        elide: Text.ElideRight
                        horizontalAlignment: Text.AlignHCenter
                    }
                }
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 12
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin
                spacing: Theme.largeGap

                IconButton {
                    text: root.model.playAction
                    symbol: root.model.playSymbol
                    symbolSize: 34
                    bordered: false
                    enabled: root.model.canPlay
                    onClicked: root.model.togglePlaying()
                }
                Time {
                    text: root.model.currentTimeText
                    tenths: root.model.currentTimeTenths
                }
                PictureSlider {
                    Layout.fillWidth: true
                    text: "Position"
                    enabled: root.model.canPlay
                    tint: Theme.secondaryText
                    to: root.model.scrubMaximum
                    value: root.model.currentTime
                    onMoved: root.model.scrub(value)
                    onStepped: direction => root.model.stepCurrentTime(direction)
                }
                Time {
                    text: root.model.totalDurationText
                    tenths: root.model.totalDurationTenths
                }
            }

            Card {
                Layout.fillWidth: true
                Layout.topMargin: 12
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin

                ColumnLayout {
                    anchors.left: parent.left
                    anchors.right: parent.right
                    spacing: 6

                    Label {
                        text: "Trim Clip Range"
                        font: Theme.headlineFont
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Filmstrip {
                        Layout.fillWidth: true
                        Layout.preferredHeight: 34
                        Layout.topMargin: 4
                        Layout.bottomMargin: 2
                        model: root.model
                    }
                    GridLayout {
                        columns: 2
                        columnSpacing: Theme.largeGap
                        rowSpacing: 4

                        Time {
                            text: root.model.startText
                            tenths: root.model.startTenths
                        }
                        PictureSlider {
                            Layout.fillWidth: true
                            text: "Start"
                            enabled: root.model.canTrim
                            to: root.model.startMaximum
                            value: root.model.trimStartTime
                            onMoved: root.model.moveTrimStart(value)
                            onStepped: direction => root.model.stepTrimStart(direction)
                        }
                        Time {
                            text: root.model.endText
                            tenths: root.model.endTenths
                        }
                        PictureSlider {
                            Layout.fillWidth: true
                            text: "End"
                            enabled: root.model.canTrim
                            from: root.model.endMinimum
                            to: root.model.endMaximum
                            value: root.model.trimEndTime
                            onMoved: root.model.moveTrimEnd(value)
                            onStepped: direction => root.model.stepTrimEnd(direction)
                        }
                    }
                    Time {
                        text: root.model.selectedText
                        tenths: root.model.selectedTenths
                    }
                }
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 12
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin
                spacing: 8

                TextButton {
                    text: "Save Trimmed Clip"
                    prominent: true
                    enabled: root.model.canTrim && !root.model.isExportingTrim
                    onClicked: root.model.saveTrimmedClip()
                }
                IconButton {
                    id: share

                    text: "Share"
                    symbol: "square.and.arrow.up"
                    onClicked: {
                        const corner = share.mapToGlobal(0, share.height + 4);
                        root.model.share(corner.x, corner.y);
                    }
                }
                IconButton {
                    text: "Reveal in Finder"
                    symbol: "folder"
                    onClicked: root.model.reveal()
                }
            }

            LineLabel {
                Layout.fillWidth: true
                Layout.preferredHeight: 18
                Layout.topMargin: 8
                Layout.bottomMargin: 14
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin
                line: root.model.trimStatusMessage
                font: Theme.captionFont
                color: Theme.secondaryText
                elide: Text.ElideMiddle
                Accessible.role: Accessible.StatusBar
                Accessible.name: text
            }
        }
    }
}
