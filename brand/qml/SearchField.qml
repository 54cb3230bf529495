// A field to search with: a magnifying glass before the text, a button to clear it after.
import QtQuick
import QtQuick.Templates as T

T.TextField {
    id: control

    signal cleared

    implicitHeight: Theme.controlHeight
    leftPadding: 38
    rightPadding: 36
    verticalAlignment: TextInput.AlignVCenter
    font: Theme.bodyFont
    color: Theme.primaryText
    placeholderTextColor: Theme.tertiaryText
    selectionColor: Qt.alpha(Theme.coral, 0.6)
    selectedTextColor: "#FFFFFF"
    selectByMouse: true
    Accessible.role: Accessible.EditableText
    Accessible.name: placeholderText

    Text {
        anchors.fill: parent
        anchors.leftMargin: control.leftPadding
        anchors.rightMargin: control.rightPadding
        verticalAlignment: Text.AlignVCenter
        visible: control.text === "" && control.preeditText === ""
        text: control.placeholderText
        font: control.font
        color: control.placeholderTextColor
        textFormat: Text.PlainText
        elide: Text.ElideRight
    }
    Image {
        x: 13
        anchors.verticalCenter: parent.verticalCenter
        source: "image://symbol/magnifyingglass/94A3B8"
        sourceSize: Qt.size(16, 16)
    }
    T.AbstractButton {
        id: clearButton

        anchors.right: parent.right
        anchors.rightMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        width: 28
        height: 28
        visible: control.text !== ""
        hoverEnabled: true
        Accessible.role: Accessible.Button
        Accessible.name: "Clear"
        onClicked: control.cleared()

        contentItem: Image {
            fillMode: Image.Pad
            source: "image://symbol/xmark.circle.fill/" + (clearButton.hovered ? "F8FAFC" : "94A3B8")
            sourceSize: Qt.size(16, 16)
        }
        background: FocusRing {
            anchors.margins: 0
            visible: clearButton.visualFocus
            controlRadius: 10
        }
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.card
        border.width: 1
        border.color: control.activeFocus ? Qt.alpha(Theme.coral, 0.7) : Theme.border
    }
}
