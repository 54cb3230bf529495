// Draws the small window, the panel of a saved clip, alerts and menus in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] app_gallery DIRECTORY [TEXT_SCALE [contrast]]
#include "tests/brand/Gallery.h"
#include "app/menu/MenuDescription.h"
#include "app/menu/MenuLook.h"
#include "app/menu/MenuRenderer.h"
#include "app/views/AlertWindows.h"
#include "app/views/HudPanelWindow.h"
#include "app/views/StatusWindow.h"
#include "tests/app/views/AppViews.h"
#include "tests/app/views/StatusFixture.h"
#include "tests/library/views/SmallFilesFixture.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Windows.h"

#include <QAction>
#include <QPixmap>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

void drawPanels(const Gallery& gallery)
{
    SmallFilesFixture copies;
    ClipSavedHUDModel model{{.preview = [](const auto&) {},
        .share = [](const auto&, const auto&) {},
        .reveal = [](const auto&) {},
        .drag = [](const auto&) {},
        .preparePreview = [] {},
        .smallFiles = copies.files}};
    ViewTestWindow window{appView("ClipSavedHUDView"), model, {340, 110}};
    model.setContent(
        {.clip = "/clips/a.mp4", .title = "Clip Saved (Full)", .caption = "The whole recording: 0:12, 12.3 MB", .onDismiss = [] {}});
    gallery.draw("panel", window);
    window.button(QStringLiteral("Share")).forceActiveFocus(Qt::TabFocusReason);
    gallery.draw("panel-focus", window);
    copies.files->start("/clips/a.mp4", 10'000'000);
    copies.session(0).steps.advance(0.43);
    copies.clock->advance(std::chrono::seconds{1});
    gallery.draw("panel-small-file", window);
    copies.complete(0);
    gallery.draw("panel-small-file-copied", window);
}

void drawAlerts(const Gallery& gallery)
{
    const auto draw = [&](const char* name, const Alert& alert) {
        AlertModel model{alert};
        ViewTestWindow probe{appView("AlertView"), model, {420, 170}};
        setTextScale(probe.engine(), gallery.textScale());
        static_cast<void>(probe.grab());
        const QSize size{qRound(probe.root()->implicitWidth()), qRound(probe.root()->implicitHeight())};
        ViewTestWindow window{appView("AlertView"), model, size};
        gallery.draw(name, window);
        window.type(Qt::Key_Tab);
        gallery.draw((std::string{name} + "-focus").c_str(), window);
    };
    draw("alert-question",
        {Alert::Style::informational, "No Video Window Selected",
            "To start a live recording, first choose the video window you want to capture.", {"Choose Window Now", "Cancel"}});
    draw("alert-warning",
        {Alert::Style::warning, "Velmora",
            "Failed to capture window: The folder /media/a disk with a long name/Films and more films/Recordings of this "
            "year/November/Velmora takes no files: Read-only file system",
            {"OK"}});
}

void drawSmallWindow(const Gallery& gallery)
{
    StatusFixture fixture;
    const auto draw = [&](const char* name) {
        ViewTestWindow probe{appView("StatusView"), fixture.model, {qRound(400 * gallery.textScale()), 620}};
        setTextScale(probe.engine(), gallery.textScale());
        static_cast<void>(probe.grab());
        const QSize size{qRound(probe.root()->implicitWidth()), qRound(probe.root()->implicitHeight())};
        ViewTestWindow window{appView("StatusView"), fixture.model, size};
        gallery.draw(name, window);
    };
    draw("small-window");
    fixture.menuBar.setRemarks({.shortcut = "The desktop gives no shortcut. Bind keys to 'velmora toggle' in its keyboard settings."});
    draw("small-window-no-shortcut");
    for (const auto* name :
        {"Velmora-Recording-2026-11-21-10-20-30.mp4", "A clip whose name is longer than any window is wide, and ends.mp4"}) {
        const auto clip = fixture.library->effectiveOutputDirectory() / name;
        std::filesystem::create_directories(clip.parent_path());
        std::ofstream{clip} << "a film";
        fixture.assetReader->durations[clip] = MediaTime{754, 1};
    }
    fixture.library->reloadClips();
    fixture.addLiveWindow(film);
    fixture.coordinator->selectWindowAndStartCapture(film);
    fixture.executor->runAll();
    fixture.menuBar.setRemarks({});
    draw("small-window-ready");
    fixture.coordinator->startRecording();
    fixture.menuBar.setRemarks({.progress = "0:32, 31.7 MB so far"});
    draw("small-window-recording");
    fixture.menuBar.setRemarks({.progress = "0:32, 31.7 MB so far", .isPaused = true});
    draw("small-window-paused");
}

void drawMenus(const Gallery& gallery)
{
    setMenuTextScale(gallery.textScale());
    setMenusIncreaseContrast(gallery.increasesContrast());
    ClipItem clip;
    clip.url = "/clips/Velmora-Recording-2026-11-21-10-20-30.mp4";
    clip.duration = 75;
    const auto draw = [&](const char* name, const MenuContent& content, const char* selected) {
        StyledMenu menu;
        renderMenu(menu, describeMenu(content), LabelSyntax::widget, [](const MenuItem&) {});
        menu.ensurePolished();
        menu.resize(menu.sizeHint());
        for (auto* action : menu.actions()) {
            if (action->text().contains(QString::fromUtf8(selected)))
                menu.setActiveAction(action);
        }
        gallery.save(name, menu.grab().toImage());
    };
    const std::optional<CapturedWindowInfo> none;
    const std::optional<CapturedWindowInfo> chosen{film};
    const std::vector<ClipItem> clips{clip};
    const CaptureState waiting{CaptureState::WaitingForWindowSelection{}};
    const CaptureState capturing{CaptureState::Capturing{}};
    const CaptureState recording{CaptureState::RecordingClip{film, {}}};
    draw("menu-none", {.state = waiting, .selectedWindow = none, .recentClips = clips}, "Choose Video");
    draw("menu-ready", {.state = capturing, .selectedWindow = chosen, .recentClips = clips, .fileBrowser = "Thunar"}, "Recent");
    draw("menu-recording",
        {.state = recording, .selectedWindow = chosen, .recentClips = clips, .isRecording = true, .stateCaption = "0:32, 31.7 MB so far"},
        "Change");
    draw("menu-notice",
        {.state = waiting,
            .selectedWindow = none,
            .recentClips = {},
            .notice = "The desktop gives no shortcut. Bind keys to 'velmora toggle' in its keyboard settings."},
        "Quit");
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    using namespace velmora::test;
    const Gallery gallery{count, arguments};
    drawPanels(gallery);
    drawAlerts(gallery);
    drawSmallWindow(gallery);
    drawMenus(gallery);
    return 0;
}
