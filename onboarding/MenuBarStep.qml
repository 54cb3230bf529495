import QtQuick
import QtQuick.Layouts
import Velmora.Brand

StepPage {
    id: page

    property string placeCaption
    property string crowdedPlaceCaption

    step: 1

    StepHeading {
        title: "Where to Find Velmora"
        subtitle: "Velmora lives up in your macOS Menu Bar — not in your Dock."
    }
    Card {
        Layout.fillWidth: true
        topPadding: 12
        bottomPadding: 12

        contentItem: ColumnLayout {
            spacing: Theme.gap

            RowLayout {
                Layout.alignment: Qt.AlignHCenter
                spacing: 12

                BrandLogoMark {
                    size: 28
                    color: Theme.coral
                }
                Label {
                    text: "Look for this Orbelle icon in your menu bar!"
                    font: Theme.headlineFont
                }
            }
            Caption {
                Layout.fillWidth: true
                text: page.placeCaption
                horizontalAlignment: Text.AlignHCenter
            }
        }
    }
    ColumnLayout {
        spacing: 14

        InformationBullet {
            symbol: "laptopcomputer"
            title: "Using a MacBook with a notch?"
            body: "Velmora will show in the menu bar to the right of the notch. If your menu bar is crowded, it will be alongside your other status icons."
            caption: page.crowdedPlaceCaption
        }
        InformationBullet {
            symbol: "cursorarrow.click"
            title: "Always 1 click away"
            body: "Click the Orbelle icon at any time to choose a video window, save clips, view recent clips, or open settings."
        }
        InformationBullet {
            symbol: "eye.slash"
            title: "Why no Dock icon?"
            body: "To stay completely out of your way while you watch videos full-screen or switch between work apps."
        }
    }
}
