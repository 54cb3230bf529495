// Draws the settings and the folder dialog in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] settings_gallery DIRECTORY
#include "settings/FolderBrowserModel.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/settings/SettingsFixture.h"
#include "tests/settings/SettingsViews.h"

#include <QDir>

#include <cstdio>

namespace velmora::test {
namespace {

void draw(const QDir& directory, const char* name, const ViewTestWindow& window)
{
    const auto file = directory.filePath(QStringLiteral("%1.png").arg(QLatin1String(name)));
    if (!window.grab().save(file))
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
}

void drawSettings(const QDir& directory)
{
    SettingsFixture fixture;
    ViewTestWindow window{settingsView, fixture.model, settingsSize};
    fixture.library->setOutputDirectory("/media/films/Velmora");
    fixture.loginItem->current.isOn = true;
    fixture.workspace->keys = platform::KeySettings{"Settings, Keyboard, View and Customize Shortcuts, Custom Shortcuts", true};
    fixture.appear();
    draw(directory, "settings", window);
    window.type(Qt::Key_Tab);
    draw(directory, "settings-focus", window);
    window.type(Qt::Key_End);
    draw(directory, "settings-end", window);

    fixture.library->setOutputDirectory("/media/a disk with a long name/Films and more films/Recordings of this year/November/Velmora");
    fixture.refuseShortcut();
    fixture.loginItem->current = {
        false, false, "~/.config/autostart/com.velmora.Velmora.desktop starts another program. Remove it to have Velmora start at log-in."};
    fixture.appear();
    fixture.withdrawPermission("Windows of a Wayland session cannot be captured yet; log in to an X11 session.");
    fixture.fileManager->writeError = posixError(EROFS, "/media/cdrom/Velmora");
    fixture.choose(fixture.folder.path());
    window.type(Qt::Key_Home);
    draw(directory, "settings-refused", window);
    window.type(Qt::Key_PageDown);
    draw(directory, "settings-refused-middle", window);
    window.type(Qt::Key_End);
    draw(directory, "settings-refused-end", window);
}

void drawFolders(const QDir& directory)
{
    const TemporaryDirectory folder;
    for (const auto* name :
        {"2024", "2025", "2026", "Concerts", "Lectures", "Travel to a place whose name does not fit into a row of this list"})
        std::filesystem::create_directory(folder.path() / name);
    FolderBrowserModel model{std::make_shared<fake::FakeFileManager>(), {"Choose Folder", "Choose Folder", folder.path(), 0}};
    ViewTestWindow window{folderBrowserView, model, folderBrowserSize};
    model.select(3);
    draw(directory, "folders", window);
    model.beginNamingFolder();
    model.createFolder(QStringLiteral("2026"));
    draw(directory, "folders-new", window);
    model.cancel();
    model.open(0);
    window.type(Qt::Key_Tab);
    draw(directory, "folders-empty", window);
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    if (count != 2) {
        std::fprintf(stderr, "usage: settings_gallery DIRECTORY\n");
        return 2;
    }
    using namespace velmora::test;
    static_cast<void>(application());
    linkSettingsViews();
    const QDir directory{QString::fromLocal8Bit(arguments[1])};
    drawSettings(directory);
    drawFolders(directory);
    return 0;
}
