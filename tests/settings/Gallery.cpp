// Draws the settings and the folder dialog in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] settings_gallery DIRECTORY [TEXT_SCALE [contrast]]
#include "tests/brand/Gallery.h"
#include "settings/FolderBrowserModel.h"
#include "tests/settings/SettingsFixture.h"
#include "tests/settings/SettingsViews.h"

#include <filesystem>
#include <memory>

namespace velmora::test {
namespace {

void drawSettings(const Gallery& gallery)
{
    SettingsFixture fixture;
    ViewTestWindow window{settingsView, fixture.model, settingsSize};
    fixture.library->setOutputDirectory("/media/films/Velmora");
    fixture.loginItem->current.isOn = true;
    fixture.workspace->keys = platform::KeySettings{"Settings, Keyboard, View and Customize Shortcuts, Custom Shortcuts", true};
    fixture.appear();
    gallery.draw("settings", window);
    window.type(Qt::Key_Tab);
    gallery.draw("settings-focus", window);
    window.type(Qt::Key_End);
    gallery.draw("settings-end", window);

    fixture.library->setOutputDirectory("/media/a disk with a long name/Films and more films/Recordings of this year/November/Velmora");
    fixture.refuseShortcut();
    fixture.loginItem->current = {
        false, false, "~/.config/autostart/com.velmora.Velmora.desktop starts another program. Remove it to have Velmora start at log-in."};
    fixture.appear();
    fixture.withdrawPermission("Windows of a Wayland session cannot be captured yet; log in to an X11 session.");
    fixture.fileManager->writeError = posixError(EROFS, "/media/cdrom/Velmora");
    fixture.choose(fixture.folder.path());
    window.type(Qt::Key_Home);
    gallery.draw("settings-refused", window);
    window.type(Qt::Key_PageDown);
    gallery.draw("settings-refused-middle", window);
    window.type(Qt::Key_End);
    gallery.draw("settings-refused-end", window);
}

void drawFolders(const Gallery& gallery)
{
    const TemporaryDirectory folder;
    for (const auto* name :
        {"2024", "2025", "2026", "Concerts", "Lectures", "Travel to a place whose name does not fit into a row of this list"})
        std::filesystem::create_directory(folder.path() / name);
    FolderBrowserModel model{std::make_shared<fake::FakeFileManager>(), {"Choose Folder", "Choose Folder", folder.path(), 0}};
    ViewTestWindow window{folderBrowserView, model, folderBrowserSize};
    model.select(3);
    gallery.draw("folders", window);
    model.beginNamingFolder();
    model.createFolder(QStringLiteral("2026"));
    gallery.draw("folders-new", window);
    model.cancel();
    model.open(0);
    window.type(Qt::Key_Tab);
    gallery.draw("folders-empty", window);
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    using namespace velmora::test;
    const Gallery gallery{count, arguments};
    linkSettingsViews();
    drawSettings(gallery);
    drawFolders(gallery);
    return 0;
}
