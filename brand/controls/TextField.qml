import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

// A line that can be edited; `label` is what assistive technology says.
FocusScope {
    id: field

    property alias text: input.text
    property string label

    signal accepted

    function selectAll() {
        input.selectAll();
    }

    implicitWidth: 240
    implicitHeight: Theme.controlHeight
    opacity: enabled ? 1 : Theme.disabledOpacity

    RoundedRectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: input.hovered && !input.activeFocus ? Theme.hovered(Theme.cardSlate) : Theme.cardSlate
        borderWidth: 1
        borderColor: Theme.controlBorder

        FocusRing {
            visible: input.activeFocus
        }
    }

    // What does not fit is cut off at its edges; the ring must not be.
    T.TextField {
        id: input

        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        focus: true
        activeFocusOnTab: true
        verticalAlignment: TextInput.AlignVCenter
        color: Theme.text
        font: Theme.bodyFont
        selectionColor: Theme.selectedText
        selectedTextColor: Theme.onCoral
        selectByMouse: true
        hoverEnabled: true
        clip: true
        onAccepted: field.accepted()

        Accessible.role: Accessible.EditableText
        Accessible.name: field.label

        cursorDelegate: Rectangle {
            visible: input.cursorVisible
            width: 1.5
            color: Theme.coral
        }
    }
}
