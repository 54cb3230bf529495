// Colours, sizes and fonts.
pragma Singleton

import QtQuick

QtObject {
    readonly property color obsidian: "#0F172A"
    readonly property color card: "#1E293B"
    readonly property color border: "#334155"
    readonly property color coral: "#FF3B30"
    readonly property color primaryText: "#F8FAFC"
    readonly property color secondaryText: "#94A3B8"
    readonly property color tertiaryText: "#64748B"
    readonly property color granted: "#30D158"
    readonly property color tip: "#FBBF24"

    readonly property int windowMargin: 24
    readonly property int spacing: 16
    readonly property int cardRadius: 12
    readonly property int controlHeight: 36
    readonly property int controlRadius: 9
    readonly property int compactHeight: 28
    readonly property int compactRadius: 7

    readonly property string family: "Inter"
    readonly property font titleFont: Qt.font({ family: family, pixelSize: 22, weight: Font.DemiBold })
    readonly property font headlineFont: Qt.font({ family: family, pixelSize: 15, weight: Font.DemiBold })
    readonly property font hudTitleFont: Qt.font({ family: family, pixelSize: 14, weight: Font.DemiBold })
    readonly property font emphasisFont: Qt.font({ family: family, pixelSize: 13, weight: Font.DemiBold })
    readonly property font bodyFont: Qt.font({ family: family, pixelSize: 13 })
    readonly property font captionFont: Qt.font({ family: family, pixelSize: 11 })

    // What a surface looks like under the pointer and under a press.
    function surface(base: color, hovered: bool, pressed: bool): color {
        return pressed ? Qt.darker(base, 1.06) : hovered ? Qt.lighter(base, 1.12) : base;
    }
}
