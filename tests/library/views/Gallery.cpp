// Draws the preview of a clip in all its states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] preview_gallery DIRECTORY
#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/PreviewFixture.h"
#include "tests/library/views/PreviewView.h"

#include <QDir>

#include <algorithm>
#include <cstdio>

namespace velmora::test {
namespace {

/// Something for the filmstrip: a sky that brightens to the right.
PixelBufferRef thumbnail()
{
    constexpr int width = 192;
    constexpr int height = 108;
    auto pixels = std::make_shared<std::vector<std::byte>>(std::size_t{width} * height * 4, std::byte{0xff});
    for (std::size_t i = 0; i < pixels->size(); i += 4) {
        (*pixels)[i] = static_cast<std::byte>(120 + i / 4 % width / 2);
        (*pixels)[i + 1] = static_cast<std::byte>(i / 4 / width + 60);
        (*pixels)[i + 2] = std::byte{70};
    }
    auto buffer = std::make_shared<PixelBuffer>();
    buffer->width = width;
    buffer->height = height;
    buffer->bytesPerRow = std::size_t{width} * 4;
    buffer->baseAddress = pixels->data();
    buffer->owner = std::move(pixels);
    return buffer;
}

void draw(const QDir& directory, const char* name, const ViewTestWindow& window)
{
    const auto file = directory.filePath(QStringLiteral("%1.png").arg(QLatin1String(name)));
    if (!window.grab().save(file))
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
}

void drawPreview(const QDir& directory)
{
    PreviewFixture fixture;
    fixture.assetReader->durations[fixture.clip] = MediaTime{754, 10};
    fixture.assetReader->image = thumbnail();
    ViewTestWindow window{clipPreviewView, *fixture.model, clipPreviewSize};
    draw(directory, "preview-loading", window);
    fixture.appear();
    draw(directory, "preview-black", window);
    fixture.player().showPicture(std::byte{0x58});
    draw(directory, "preview-loaded", window);
    window.type(Qt::Key_Space);
    fixture.player().passTime({21, 1});
    draw(directory, "preview-playing", window);
    window.type(Qt::Key_Space);
    fixture.model->moveTrimEnd(55);
    fixture.model->moveTrimStart(12);
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Tab);
    draw(directory, "preview-selection", window);
    window.press(QStringLiteral("Save Trimmed Clip"));
    draw(directory, "preview-exporting", window);
    fixture.completeExport();
    draw(directory, "preview-saved", window);
    window.movePointer(window.button(QStringLiteral("Reveal in Finder")));
    window.settle([&] {
        const auto items = window.window().contentItem()->findChildren<QQuickItem*>();
        return std::ranges::any_of(items, [](const QQuickItem* item) { return item->inherits("QQuickPopupItem") && item->isVisible(); });
    });
    draw(directory, "preview-tool-tip", window);
    window.press(QStringLiteral("Save Trimmed Clip"));
    fixture.session().fail(posixError(ENOSPC,
        "/media/a disk with a long name/Films and more films/Recordings of this year/November/Velmora/Trimmed-2026-11-21_10-20-30.mp4"));
    fixture.executor->runAll();
    draw(directory, "preview-error", window);
    fixture.player().fail({"mpv", -17, "unrecognized file format", nullptr});
    draw(directory, "preview-problem", window);
}

void drawUnreadable(const QDir& directory)
{
    PreviewFixture fixture;
    fixture.assetReader->durations.clear();
    ViewTestWindow window{clipPreviewView, *fixture.model, clipPreviewSize};
    fixture.appear();
    draw(directory, "preview-unreadable", window);
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    if (count != 2) {
        std::fprintf(stderr, "usage: preview_gallery DIRECTORY\n");
        return 2;
    }
    using namespace velmora::test;
    static_cast<void>(application());
    linkPreviewView();
    const QDir directory{QString::fromLocal8Bit(arguments[1])};
    drawPreview(directory);
    drawUnreadable(directory);
    return 0;
}
