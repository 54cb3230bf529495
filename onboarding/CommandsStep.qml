import QtQuick
import QtQuick.Layouts
import Velmora.Brand

StepPage {
    id: page

    property var menuMethodText
    property string keyboardCaption
    property string menuCaption

    step: 2

    StepHeading {
        title: "Simple & Obvious Commands"
        subtitle: "Choose whichever method is easiest for you — keyboard or mouse."
    }
    MethodCard {
        title: "METHOD 1: Fast Keyboard Shortcut"
        description: "Press once to START recording — the Orbelle mark lights up in coral. Press again to STOP and save instantly! (Tip: 'C' stands for Capture and matches the Orbelle mark!)"
        caption: page.keyboardCaption

        Row {
            anchors.centerIn: parent
            spacing: Theme.gap

            KeyCap {
                glyph: "⌥"
                name: "Alt"
            }
            KeyCap {
                glyph: "⌘"
                name: "Super"
            }
            KeyCap {
                glyph: "C"
                prominent: true
            }
        }
    }
    MethodCard {
        title: "METHOD 2: One-Click Menu Bar (No Keys to Memorize)"
        emphasized: page.menuMethodText
        caption: page.menuCaption

        Symbol {
            anchors.centerIn: parent
            name: "cursorarrow.rays"
            color: Theme.coral
            size: 40
        }
    }
    Label {
        Layout.fillWidth: true
        text: "You're always in control — recording only happens when you choose to start it."
        color: Theme.secondaryText
    }
}
