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
        sequence: "M"
        enabled: root.model.canPlay
        onActivated: root.model.toggleMuted()
    }
    Shortcut {
        sequence: "X"
        enabled: root.model.canTrim
        onActivated: root.model.toggleCut()
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
        id: timeParts

        property alias text: whole.text
        property alias tenths: caption.text
        // Up to the tenths: as much as `text` needs, or more where they stand in a column.
        readonly property real usualTextWidth: whole.implicitWidth
        property real textWidth: usualTextWidth

        spacing: Theme.gap

        TimeLabel {
            id: whole
            Layout.preferredWidth: timeParts.textWidth
            color: Theme.secondaryText
        }
        TimeLabel {
            id: caption
            color: Theme.secondaryText
            font: Theme.captionFont
        }
    }

    // A time with buttons that go one picture back and forwards. The keyboard has keys for that.
    component SteppedTime: RowLayout {
        id: steppedTime

        property alias text: time.text
        property alias tenths: time.tenths
        property alias usualTextWidth: time.usualTextWidth
        property alias textWidth: time.textWidth
        property alias backName: back.text
        property alias backToolTip: back.toolTip
        property alias forwardsName: forwards.text
        property alias forwardsToolTip: forwards.toolTip

        signal stepped(int direction)

        spacing: 0

        Time {
            id: time
        }
        Item {
            Layout.fillWidth: true
        }
        StepButton {
            id: back
            Layout.leftMargin: Theme.smallGap
            symbol: "chevron.left"
            onClicked: steppedTime.stepped(-1)
        }
        StepButton {
            id: forwards
            symbol: "chevron.right"
            onClicked: steppedTime.stepped(1)
        }
    }

    component StepButton: IconButton {
        symbolSize: 14
        symbolColor: Theme.secondaryText
        bordered: false
        focusPolicy: Qt.NoFocus
        autoRepeat: true
    }

    // On the filmstrip's scale, with the tint over what is kept.
    component TrimSlider: PictureSlider {
        Layout.fillWidth: true
        enabled: root.model.canTrim
        grooveFrom: 0
        grooveTo: root.model.endMaximum
        tintFrom: root.model.trimStartTime
        tintTo: root.model.trimEndTime
    }

    // On the same scale, with the tint over what is cut.
    component CutSlider: PictureSlider {
        Layout.fillWidth: true
        visible: root.model.cut.isThere
        enabled: root.model.canTrim
        tint: Theme.secondaryText
        grooveFrom: 0
        grooveTo: root.model.endMaximum
        tintFrom: root.model.cut.start
        tintTo: root.model.cut.end
    }

    component SavedClipButton: TextButton {
        compact: true
        visible: root.model.hasSavedClip
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
                Accessible.name: "Trim Clip Range"

                ColumnLayout {
                    anchors.left: parent.left
                    anchors.right: parent.right
                    spacing: 6

                    GridLayout {
                        columns: 2
                        columnSpacing: Theme.largeGap
                        rowSpacing: 4

                        RowLayout {
                            Layout.fillWidth: false
                            spacing: 8

                            Label {
                                text: "Trim Clip Range"
                                font: Theme.headlineFont
                                Accessible.role: Accessible.Heading
                                Accessible.name: text
                            }
                            DragGrip {
                                text: "Clip to Drag"
                                toolTip: "Drag this clip into another program"
                                onDragged: root.model.drag()
                            }
                        }
                        Filmstrip {
                            Layout.fillWidth: true
                            Layout.preferredHeight: 34
                            Layout.bottomMargin: 2
                            // Its ends are where the middles of the handles can come to.
                            Layout.leftMargin: start.handleSize / 2
                            Layout.rightMargin: start.handleSize / 2
                            model: root.model
                            ground: Theme.obsidian
                            frame: Theme.coral
                            groove: Theme.onCoral
                            enabled: root.model.canTrim
                            Accessible.role: Accessible.Graphic
                            Accessible.name: "Selection in the clip"
                        }
                        SteppedTime {
                            id: startTime

                            Layout.preferredWidth: Math.max(startTime.implicitWidth, endTime.implicitWidth)
                            Layout.fillWidth: false
                            text: root.model.startText
                            tenths: root.model.startTenths
                            textWidth: Math.max(startTime.usualTextWidth, endTime.usualTextWidth)
                            enabled: root.model.canTrim
                            backName: "Move Start Back"
                            backToolTip: "Start one picture earlier (Left in its slider)"
                            forwardsName: "Move Start Forwards"
                            forwardsToolTip: "Start one picture later (Right in its slider)"
                            onStepped: direction => root.model.stepTrimStart(direction)
                        }
                        TrimSlider {
                            id: start

                            text: "Start"
                            to: root.model.startMaximum
                            value: root.model.trimStartTime
                            onMoved: root.model.moveTrimStart(value)
                            onStepped: direction => root.model.stepTrimStart(direction)
                        }
                        SteppedTime {
                            id: endTime

                            Layout.preferredWidth: Math.max(startTime.implicitWidth, endTime.implicitWidth)
                            Layout.fillWidth: false
                            text: root.model.endText
                            tenths: root.model.endTenths
                            textWidth: startTime.textWidth
                            enabled: root.model.canTrim
                            backName: "Move End Back"
                            backToolTip: "End one picture earlier (Left in its slider)"
                            forwardsName: "Move End Forwards"
                            forwardsToolTip: "End one picture later (Right in its slider)"
                            onStepped: direction => root.model.stepTrimEnd(direction)
                        }
                        TrimSlider {
                            text: "End"
                            from: root.model.endMinimum
                            to: root.model.endMaximum
                            value: root.model.trimEndTime
                            onMoved: root.model.moveTrimEnd(value)
                            onStepped: direction => root.model.stepTrimEnd(direction)
                        }
                        SteppedTime {
                            Layout.preferredWidth: startTime.Layout.preferredWidth
                            Layout.fillWidth: false
                            visible: root.model.cut.isThere
                            text: root.model.cut.startText
                            tenths: root.model.cut.startTenths
                            textWidth: startTime.textWidth
                            enabled: root.model.canTrim
                            backName: "Move Cut's Start Back"
                            backToolTip: "Cut from one picture earlier (Left in its slider)"
                            forwardsName: "Move Cut's Start Forwards"
                            forwardsToolTip: "Cut from one picture later (Right in its slider)"
                            onStepped: direction => root.model.stepCutStart(direction)
                        }
                        CutSlider {
                            text: "Cut from"
                            to: root.model.cut.startMaximum
                            value: root.model.cut.start
                            onMoved: root.model.moveCutStart(value)
                            onStepped: direction => root.model.stepCutStart(direction)
                        }
                        SteppedTime {
                            Layout.preferredWidth: startTime.Layout.preferredWidth
                            Layout.fillWidth: false
                            visible: root.model.cut.isThere
                            text: root.model.cut.endText
                            tenths: root.model.cut.endTenths
                            textWidth: startTime.textWidth
                            enabled: root.model.canTrim
                            backName: "Move Cut's End Back"
                            backToolTip: "Cut to one picture earlier (Left in its slider)"
                            forwardsName: "Move Cut's End Forwards"
                            forwardsToolTip: "Cut to one picture later (Right in its slider)"
                            onStepped: direction => root.model.stepCutEnd(direction)
                        }
                        CutSlider {
                            text: "Cut to"
                            from: root.model.cut.endMinimum
                            to: root.model.endMaximum
                            value: root.model.cut.end
                            onMoved: root.model.moveCutEnd(value)
                            onStepped: direction => root.model.stepCutEnd(direction)
                        }
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: Theme.largeGap

                        Time {
                            text: root.model.selectedText
                            tenths: root.model.selectedTenths
                        }
                        Time {
                            visible: root.model.cut.isThere
                            text: root.model.cut.keptText
                            tenths: root.model.cut.keptTenths
                        }
                        Item {
                            Layout.fillWidth: true
                        }
                        TextButton {
                            id: cutButton

                            compact: true
                            plain: true
                            text: root.model.cut.action
                            enabled: root.model.canTrim
                            onClicked: root.model.toggleCut()

                            Loader {
                                active: cutButton.hovered || cutButton.visualFocus
                                sourceComponent: ToolTip {
                                    parent: cutButton
                                    text: cutButton.text + " (X)"
                                    visible: true
                                }
                            }
                        }
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

            // What was saved in one line with what it is for; with its own line above that where both do not fit beside each other.
            GridLayout {
                id: saved

                readonly property bool isOneLine: message.implicitWidth + columnSpacing + forSaved.implicitWidth <= width

                Layout.fillWidth: true
                Layout.minimumHeight: Theme.compactHeight
                Layout.topMargin: 6
                Layout.bottomMargin: 8
                Layout.leftMargin: Theme.windowMargin
                Layout.rightMargin: Theme.windowMargin
                columns: isOneLine ? 2 : 1
                columnSpacing: 6
                rowSpacing: 4

                LineLabel {
                    id: message

                    Layout.fillWidth: true
                    line: root.model.trimStatusMessage
                    font: Theme.captionFont
                    color: Theme.secondaryText
                    elide: Text.ElideMiddle
                    Accessible.role: Accessible.StatusBar
                    Accessible.name: text
                    Accessible.ignored: text === ""
                }
                RowLayout {
                    id: forSaved

                    visible: root.model.hasSavedClip || root.model.smallFile.isShown
                    Layout.fillWidth: !saved.isOneLine
                    Layout.minimumHeight: Theme.compactHeight
                    spacing: 6

                    SmallFileLine {
                        Layout.fillWidth: true
                        Layout.maximumWidth: implicitWidth
                        status: root.model.smallFile
                    }
                    DragGrip {
                        visible: root.model.hasSavedClip
                        text: "Trimmed Clip to Drag"
                        toolTip: "Drag the trimmed clip into another program"
                        onDragged: root.model.dragSavedClip()
                    }
                    SavedClipButton {
                        text: "Play"
                        accessibleName: "Play Trimmed Clip"
                        onClicked: root.model.playSavedClip()
                    }
                    SavedClipButton {
                        id: shareSaved

                        text: "Share"
                        accessibleName: "Share Trimmed Clip"
                        onClicked: {
                            const corner = shareSaved.mapToGlobal(0, shareSaved.height + 4);
                            root.model.shareSavedClip(corner.x, corner.y);
                        }
                    }
                    SavedClipButton {
                        text: "Reveal"
                        accessibleName: "Reveal Trimmed Clip"
                        onClicked: root.model.revealSavedClip()
                    }
                    SavedClipButton {
                        text: "Copy"
                        accessibleName: "Copy Trimmed Clip"
                        onClicked: root.model.copySavedClip()
                    }
                }
            }
        }
    }
}
