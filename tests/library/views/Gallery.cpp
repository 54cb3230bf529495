// Draws the preview of a clip in all its states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] preview_gallery DIRECTORY [TEXT_SCALE [contrast]]
#include "tests/brand/Gallery.h"
#include "tests/library/views/PreviewFixture.h"
#include "tests/library/views/PreviewView.h"

#include <algorithm>
#include <memory>
#include <vector>

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

void drawPreview(const Gallery& gallery)
{
    PreviewFixture fixture;
    fixture.assetReader->durations[fixture.clip] = MediaTime{754, 10};
    fixture.assetReader->image = thumbnail();
    ViewTestWindow window{clipPreviewView, *fixture.model, clipPreviewSize};
    gallery.draw("preview-loading", window);
    fixture.appear();
    gallery.draw("preview-black", window);
    fixture.player().showPicture(std::byte{0x58});
    gallery.draw("preview-loaded", window);
    window.type(Qt::Key_Space);
    fixture.player().passTime({21, 1});
    gallery.draw("preview-playing", window);
    window.type(Qt::Key_Space);
    fixture.model->moveTrimEnd(55);
    fixture.model->moveTrimStart(12);
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Tab);
    gallery.draw("preview-selection", window);
    window.press(QStringLiteral("Cut Out a Middle Part"));
    gallery.draw("preview-cut", window);
    window.press(QStringLiteral("Keep All"));
    window.press(QStringLiteral("Save Trimmed Clip"));
    gallery.draw("preview-exporting", window);
    fixture.completeExport();
    gallery.draw("preview-saved", window);
    window.movePointer(window.button(QStringLiteral("Reveal in Finder")));
    window.settle([&] {
        const auto items = window.window().contentItem()->findChildren<QQuickItem*>();
        return std::ranges::any_of(items, [](const QQuickItem* item) { return item->inherits("QQuickPopupItem") && item->isVisible(); });
    });
    gallery.draw("preview-tool-tip", window);
    window.press(QStringLiteral("Save Trimmed Clip"));
    fixture.session().fail(posixError(ENOSPC,
        "/media/a disk with a long name/Films and more films/Recordings of this year/November/Velmora/Trimmed-2026-11-21_10-20-30.mp4"));
    fixture.executor->runAll();
    gallery.draw("preview-error", window);
    fixture.player().fail({"mpv", -17, "unrecognized file format", nullptr});
    gallery.draw("preview-problem", window);
}

void drawUnreadable(const Gallery& gallery)
{
    PreviewFixture fixture;
    fixture.assetReader->durations.clear();
    ViewTestWindow window{clipPreviewView, *fixture.model, clipPreviewSize};
    fixture.appear();
    gallery.draw("preview-unreadable", window);
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    using namespace velmora::test;
    const Gallery gallery{count, arguments};
    linkPreviewView();
    drawPreview(gallery);
    drawUnreadable(gallery);
    return 0;
}
