import QtQuick
import QtQuick.Templates as T
import Velmora.Brand

T.TextField {
    id: field

    implicitWidth: 240
    implicitHeight: Theme.controlHeight
    leftPadding: 22 + Math.round(16 * Theme.textScale)
    rightPadding: 36
    verticalAlignment: TextInput.AlignVCenter
    opacity: enabled ? 1 : Theme.disabledOpacity
    color: Theme.text
    font: Theme.bodyFont
    selectionColor: Theme.selectedText
    selectedTextColor: Theme.onCoral
    placeholderTextColor: Theme.tertiaryText
    selectByMouse: true
    hoverEnabled: true

    Accessible.role: Accessible.EditableText
    Accessible.name: placeholderText
    Accessible.searchEdit: true

    background: RoundedRectangle {
        radius: Theme.controlRadius
        color: field.hovered && !field.activeFocus ? Theme.hovered(Theme.cardSlate) : Theme.cardSlate
        borderWidth: 1
        borderColor: Theme.controlBorder

        FocusRing {
            visible: field.activeFocus
        }
    }

    cursorDelegate: Rectangle {
        visible: field.cursorVisible
        width: 1.5
        color: Theme.coral
    }

    Symbol {
        x: 13
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        color: Theme.secondaryText
        size: Math.round(16 * Theme.textScale)
    }

    Text {
        // The caret stands before it, not on it.
        x: field.leftPadding + 4
        width: field.width - x - field.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: field.text === "" && field.preeditText === ""
        text: field.placeholderText
        textFormat: Text.PlainText
        color: field.placeholderTextColor
        font: field.font
        elide: Text.ElideRight
    }

    IconButton {
        objectName: "clear"
        anchors.verticalCenter: parent.verticalCenter
        anchors.right: parent.right
        anchors.rightMargin: 5
        visible: field.text !== ""
        bordered: false
        symbol: "xmark.circle.fill"
        symbolColor: Theme.secondaryText
        text: qsTr("Clear search")
        onClicked: {
            field.clear();
            field.forceActiveFocus();
        }
    }
}
