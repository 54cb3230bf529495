// What of a clip is kept, and what is cut out of that.
import QtQuick
import QtQuick.Layouts
import Velmora.Brand
import Velmora.Library

Card {
    id: root

    required property ClipPreviewModel model

    Accessible.name: "Trim Clip Range"

    // On the filmstrip's scale, with the tint over what is kept.
    component TrimSlider: PreviewSlider {
        Layout.fillWidth: true
        enabled: root.model.canTrim
        grooveFrom: 0
        grooveTo: root.model.endMaximum
        tintFrom: root.model.trimStartTime
        tintTo: root.model.trimEndTime
    }

    // On the same scale, with the tint over what is cut.
    component CutSlider: PreviewSlider {
        Layout.fillWidth: true
        visible: root.model.cut.isThere
        enabled: root.model.canTrim
        tint: Theme.secondaryText
        grooveFrom: 0
        grooveTo: root.model.endMaximum
        tintFrom: root.model.cut.start
        tintTo: root.model.cut.end
    }

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

            PreviewTime {
                text: root.model.selectedText
                tenths: root.model.selectedTenths
            }
            PreviewTime {
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
