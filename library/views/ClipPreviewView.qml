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

    PreviewKeys {
        model: root.model
    }
    Shortcut {
        sequences: [StandardKey.Cancel]
        onActivated: root.model.dismiss()
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

                // Over the sign that it loads: the first picture is there before the player.
                PlayerPicture {
                    anchors.fill: parent
                    model: root.model
                    visible: root.model.problem === ""
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "Clip"
                }

                TapHandler {
                    onTapped: root.model.togglePlaying()
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
                    // The disc begins where the card beneath does; what is around it is for the pointer.
                    Layout.leftMargin: -7
                    text: root.model.playAction
                    symbol: root.model.playSymbol
                    symbolSize: 34
                    bordered: false
                    enabled: root.model.canPlay
                    toolTip: text + " (Space)"
                    onClicked: root.model.togglePlaying()
                }
                SteppedTime {
                    Layout.fillWidth: false
                    text: root.model.currentTimeText
                    tenths: root.model.currentTimeTenths
                    enabled: root.model.canPlay
                    backName: "Previous Picture"
                    backToolTip: "Previous picture (comma key)"
                    forwardsName: "Next Picture"
                    forwardsToolTip: "Next picture (full stop key)"
                    onStepped: direction => root.model.pauseAndStep(direction)
                }
                PreviewSlider {
                    Layout.fillWidth: true
                    text: "Position"
                    enabled: root.model.canPlay
                    tint: Theme.secondaryText
                    to: root.model.scrubMaximum
                    value: root.model.currentTime
                    onMoved: root.model.scrub(value)
                    onStepped: direction => root.model.stepCurrentTime(direction)
                }
                PreviewTime {
                    text: root.model.totalDurationText
                    tenths: root.model.totalDurationTenths
                }
            }

            TrimCard {
                Layout.fillWidth: true
                Layout.topMargin: 12
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin
                model: root.model
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
                    toolTip: "Share this clip"
                    onClicked: {
                        const corner = share.mapToGlobal(0, share.height + 4);
                        root.model.share(corner.x, corner.y);
                    }
                }
                IconButton {
                    text: "Reveal in Finder"
                    symbol: "folder"
                    toolTip: root.model.revealRemark
                    onClicked: root.model.reveal()
                }
                Item {
                    Layout.fillWidth: true
                }
                IconButton {
                    text: root.model.soundAction
                    symbol: root.model.soundSymbol
                    bordered: false
                    enabled: root.model.canPlay
                    toolTip: text + " (M)"
                    onClicked: root.model.toggleMuted()
                }
                Slider {
                    implicitWidth: 110
                    text: "Volume"
                    enabled: root.model.canPlay
                    live: true
                    tint: Theme.secondaryText
                    to: 100
                    stepSize: 5
                    value: root.model.volume
                    tintTo: root.model.heardVolume
                    onMoved: root.model.setVolume(value)
                }
            }

            SavedClipLine {
                Layout.fillWidth: true
                Layout.minimumHeight: Theme.compactHeight
                Layout.topMargin: 6
                Layout.bottomMargin: 8
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin
                model: root.model
            }
        }
    }
}
