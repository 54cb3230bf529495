// Draws all controls in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] brand_gallery DIRECTORY
//
// writes controls.png, brand.png and menubar.png there.
#include "brand/BrandAssets.h"
#include "brand/BrandColors.h"
#include "brand/CaptureStatus.h"
#include "tests/brand/QuickTestWindow.h"

#include <QDir>
#include <QPainter>

#include <cstdio>

namespace velmora {
namespace {

struct Control {
    const char* qml;
    double width;
    double height;
};

constexpr Control controls[] = {
    {"TextButton { text: 'Start Clipping This Window'; prominent: true }", 230, 60},
    {"TextButton { text: 'Refresh List'; symbol: 'arrow.clockwise' }", 230, 60},
    {"TextButton { text: 'Skip Walkthrough'; plain: true }", 230, 60},
    {"TextButton { text: 'Preview & Trim'; prominent: true; compact: true }", 230, 52},
    {"TextButton { text: 'Reveal'; compact: true }", 230, 52},
    {"IconButton { text: 'Share'; symbol: 'square.and.arrow.up' }", 230, 60},
    {"IconButton { text: 'Play'; symbol: 'play.circle.fill'; symbolSize: 34; bordered: false }", 230, 66},
    {"SearchField { width: 210; placeholderText: 'Search by app name…' }", 230, 60},
    {"SearchField { width: 210; text: 'fire'; placeholderText: 'Search' }", 230, 60},
    {"ListRow { width: 210; text: 'Firefox'; contentItem: Column { spacing: 3; Label { text: 'Firefox'; font: Theme.emphasisFont } "
     "Label { text: 'Nature Documentary'; color: Theme.secondaryText } } }",
        230, 82},
    {"ListRow { width: 210; highlighted: true; text: 'Chrome'; contentItem: Column { spacing: 3; Label { text: 'Google Chrome'; font: "
     "Theme.emphasisFont } Label { text: 'Big Buck Bunny'; color: Theme.secondaryText } } }",
        230, 82},
    {"Slider { width: 210; value: 0.4; text: 'Start' }", 230, 50},
    {"Slider { width: 210; value: 0.7; tint: Theme.secondaryText; text: 'Position' }", 230, 50},
    {"ThinScrollBar { size: 0.4; position: 0.2; orientation: Qt.Vertical; height: 70 }", 230, 90},
};

QImage drawn(const Control& control, int state)
{
    test::QuickTestWindow window{QStringLiteral("Item { x: 10; y: 10; %1 }").arg(QLatin1String(control.qml)),
        QSize(static_cast<int>(control.width), static_cast<int>(control.height))};
    auto* item = window.root()->childItems().at(0)->childItems().at(0);
    switch (state) {
    case 1:
        window.movePointer(*item);
        break;
    case 2:
        window.movePointer(*item);
        window.press(*item);
        break;
    case 3:
        item->forceActiveFocus(Qt::TabFocusReason);
        break;
    case 4:
        item->setEnabled(false);
        break;
    default:
        break;
    }
    return window.grab();
}

QImage controlsSheet()
{
    const double scale = test::application().devicePixelRatio();
    double height = 0;
    for (const auto& control : controls)
        height += control.height;
    QImage sheet((QSizeF{230 * 5, height} * scale).toSize(), QImage::Format_RGB32);
    sheet.fill(BrandColors::obsidian);
    QPainter painter(&sheet);
    double top = 0;
    for (const auto& control : controls) {
        for (int state = 0; state < 5; ++state) {
            QImage cell = drawn(control, state);
            cell.setDevicePixelRatio(1);
            painter.drawImage(QPointF{state * 230 * scale, top * scale}, cell);
        }
        top += control.height;
    }
    return sheet;
}

constexpr auto brandQml = R"(
    id: sheet
    property var statuses
    Column {
        x: 24; y: 24; spacing: 28
        Row {
            spacing: 40
            BrandAppIconView { size: 128 }
            BrandLogoMark { size: 112; showGlow: true }
            BrandAppIconView { size: 60 }
            BrandAppIconView { size: 38 }
            BrandAppIconView { size: 38; showShadow: false }
        }
        Row {
            spacing: 24
            BrandHorizontalLockupView { height: 44 }
            BrandHorizontalLockupView { height: 24 }
            BrandLogoMark { size: 20 }
            BrandLogoMark { size: 24; color: Theme.snowSlate }
            BrandLogoMark { size: 25; color: Theme.snowSlate }
            BrandLogoMark { size: 40; opticalCut: BrandLogoMark.Small }
            BrandLogoMark { size: 40; opticalCut: BrandLogoMark.Master }
        }
        Row {
            spacing: 12
            Repeater { model: sheet.statuses; StatusBadge { required property var modelData; status: modelData } }
            Badge { text: 'Active' }
            Badge { text: 'Tip'; tint: Theme.tip }
        }
        Card {
            Row {
                spacing: 12
                KeyCap { glyph: '⌥'; name: 'Alt' }
                KeyCap { glyph: '⌘'; name: 'Super' }
                KeyCap { glyph: 'C'; prominent: true }
                BusyIndicator { }
                BusyIndicator { size: 32; color: Theme.coral }
                TimeLabel { text: '00:11' }
                TimeLabel { text: '00:47' }
                Symbol { name: 'cursorarrow.rays'; color: Theme.coral; size: 40 }
                Symbol { name: 'lock.shield.fill'; color: Theme.tip; size: 40 }
                Symbol { name: 'shield.lefthalf.filled'; color: Theme.granted; size: 20 }
                Symbol { name: 'play.rectangle.fill'; color: Theme.coral; size: 20 }
            }
        }
        Label { text: 'Title 22 — Choose Video Window 💡 ✅ ⌥⌘C'; font: Theme.titleFont }
        Label { text: 'Headline 15 — you decide exactly what to capture.'; font: Theme.headlineFont }
        Label { text: 'Body 13 — Watch a video in Brave, Chrome, Safari, Netflix, QuickTime, or VLC. 💡 ✅ ⌥⌘C' }
        Label { text: 'Caption 11 — Clips are saved locally in MP4 format'; font: Theme.captionFont; color: Theme.secondaryText }
    })";

const CaptureState states[] = {CaptureState{CaptureState::Capturing{}}, CaptureState{CaptureState::RecordingClip{}},
    CaptureState{CaptureState::SavingClip{}}, CaptureState{CaptureState::CaptureUnavailable{}}, CaptureState{CaptureState::NotConfigured{}},
    CaptureState{CaptureState::WaitingForWindowSelection{}}};

QImage menuBarSheet()
{
    QImage sheet(600, 480, QImage::Format_RGB32);
    sheet.fill(QColor{0x20, 0x20, 0x24});
    QPainter painter(&sheet);
    painter.fillRect(300, 0, 300, 480, QColor{0xEE, 0xEE, 0xEE});
    int top = 10;
    for (const auto& state : states) {
        int left = 10;
        for (const int pixels : {16, 22, 24, 32, 44, 64}) {
            painter.drawImage(left, top, BrandAssets::menuBarImage(state).rendered(pixels));
            painter.drawImage(left + 300, top, BrandAssets::menuBarImage(state).rendered(pixels, Qt::black));
            left += pixels + 12;
        }
        top += 78;
    }
    return sheet;
}

QImage brandSheet()
{
    QVariantList statuses;
    for (const auto& state : states)
        statuses.append(QVariant::fromValue(CaptureStatus{state}));
    return test::QuickTestWindow{QString::fromUtf8(brandQml), {780, 560}, {{QStringLiteral("statuses"), statuses}}}.grab();
}

}  // namespace
}  // namespace velmora

int main(int count, char* arguments[])
{
    if (count != 2) {
        std::fprintf(stderr, "usage: brand_gallery DIRECTORY\n");
        return 2;
    }
    const QDir directory{QString::fromLocal8Bit(arguments[1])};
    const bool isWritten = velmora::controlsSheet().save(directory.filePath(QStringLiteral("controls.png")))
        && velmora::menuBarSheet().save(directory.filePath(QStringLiteral("menubar.png")))
        && velmora::brandSheet().save(directory.filePath(QStringLiteral("brand.png")));
    return isWritten ? 0 : 1;
}
