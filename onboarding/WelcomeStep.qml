import QtQuick
import QtQuick.Layouts
import Velmora.Brand

StepPage {
    id: page

    property string caption

    step: 0

    BrandAppIconView {
        Layout.alignment: Qt.AlignHCenter
        size: 52
    }
    Label {
        Layout.fillWidth: true
        text: "Instant video capture for your Mac — you decide exactly what to capture."
        font: Theme.headlineFont
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    ColumnLayout {
        spacing: Theme.gap

        ConceptCard {
            symbol: "play.display"
            accent: Theme.coral
            number: 1
            title: "Pick Your Video Window"
            description: "Watch a video in Brave, Chrome, Safari, Netflix, QuickTime, or VLC. Tell Velmora which window to watch."
        }
        ConceptCard {
            symbol: "record.circle.fill"
            accent: Theme.tip
            number: 2
            title: "Start Recording When Ready"
            description: "Press ⌥⌘C (or click the menu icon) when the moment starts. Press again when it ends — Velmora saves your clip instantly!"
        }
        ConceptCard {
            symbol: "checkmark.circle.fill"
            accent: Theme.granted
            number: 3
            title: "Your Clip is Saved"
            description: "The clip is saved to your Mac in MP4 format, ready to share or rewatch. Open the clips folder from the menu bar anytime."
        }
        Caption {
            Layout.fillWidth: true
            text: page.caption
            color: Theme.tertiaryText
            horizontalAlignment: Text.AlignHCenter
        }
    }
}
