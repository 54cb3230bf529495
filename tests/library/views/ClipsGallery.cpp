// Draws the clips window in all its states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] clips_gallery DIRECTORY [TEXT_SCALE [contrast]]
#include "tests/brand/Gallery.h"
#include "tests/library/views/ClipsFixture.h"
#include "tests/library/views/ClipsView.h"
#include "tests/library/views/SmallFilesFixture.h"

#include <QColor>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>

#include <cerrno>
#include <memory>
#include <string>

namespace velmora::test {
namespace {

/// A landscape of that hue.
PixelBufferRef landscape(int number, int width, int height)
{
    const auto image = std::make_shared<QImage>(width, height, QImage::Format_RGB32);
    QPainter painter{image.get()};
    QLinearGradient sky{0, 0, 0, static_cast<double>(height)};
    sky.setColorAt(0, QColor::fromHsv(number * 47 % 360, 120, 120));
    sky.setColorAt(1, QColor::fromHsv((number * 47 + 40) % 360, 90, 230));
    painter.fillRect(image->rect(), sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv((number * 47 + 180) % 360, 140, 90));
    painter.drawEllipse(QPointF{width * 0.3, height * 1.2}, width * 0.6, height * 0.6);
    painter.setBrush(QColor{255, 240, 200});
    painter.drawEllipse(QPointF{width * (0.2 + number % 5 * 0.15), height * 0.3}, height * 0.1, height * 0.1);
    painter.end();
    auto picture = std::make_shared<PixelBuffer>();
    picture->width = width;
    picture->height = height;
    picture->bytesPerRow = static_cast<std::size_t>(image->bytesPerLine());
    picture->baseAddress = reinterpret_cast<const std::byte*>(image->constBits());
    picture->owner = image;
    return picture;
}

void fill(ClipsFixture& fixture)
{
    for (int i = 0; i < 24; ++i) {
        auto name =
            "Velmora-Recording-2026-11-" + std::to_string(20 - i / 5) + "-1" + std::to_string(9 - i % 5) + "-20-3" + std::to_string(i % 10);
        if (i == 1)
            name = "Sunset over the harbour";
        if (i == 3)
            name = "سباق الخيل";
        if (i == 4)
            name = "caf\xE9 <b>bold & more";
        const auto file = fixture.add(
            name + ".mp4", ClipsFixture::moment(i / 5, 11 - i % 5, 7 * (i % 8)), 1'000'000U + 3'456'789U * static_cast<unsigned>(i));
        fixture.assetReader->durations[file] = MediaTime{3 + 37 * i, 1};
        if (i == 6)
            continue;  // damaged
        const int width = i == 2 ? 144 : 256;
        const int height = i == 2 ? 256 : i == 7 ? 192 : 144;
        fixture.thumbnails->kept[file] = landscape(i, width, height);
    }
    fixture.fileMover->refusals[fixture.folder() / "Sunset over the harbour.mp4"] = EBUSY;
}

void drawStates(const Gallery& gallery)
{
    ClipsFixture fixture;
    fixture.appear();
    ViewTestWindow window{clipsView, *fixture.model, clipsViewSize};
    const auto look = [&](const char* name) {
        static_cast<void>(window.grab());
        fixture.run();
        gallery.draw(name, window);
    };
    look("clips-empty");
    fixture.add("Velmora-Recording-2026-11-20-11-20-31.mp4", ClipsFixture::moment(0, 11, 20));
    fixture.reload();
    look("clips-one");
    fill(fixture);
    fixture.reload();
    look("clips-many");
    window.type(Qt::Key_Home);
    look("clips-selected");
    fixture.model->click(2, Qt::ControlModifier);
    fixture.model->click(4, Qt::ControlModifier);
    look("clips-several");
    fixture.model->click(2, Qt::NoModifier);
    fixture.press(Qt::Key_Delete);
    look("clips-trashed");
    fixture.model->click(1, Qt::NoModifier);
    fixture.press(Qt::Key_Delete);
    look("clips-refused");
    fixture.press(Qt::Key_F2);
    look("clips-renaming");
    fixture.model->finishRenaming(QStringLiteral("a/b"));
    look("clips-bad-name");
    fixture.model->cancelRenaming();
    window.type(Qt::Key_S, QStringLiteral("s"));
    window.type(Qt::Key_U, QStringLiteral("u"));
    look("clips-searched");
    window.type(Qt::Key_X, QStringLiteral("x"));
    look("clips-nothing-found");
    window.type(Qt::Key_Escape);
    fixture.fileManager->writeError = Error{"POSIX", EACCES, "Permission denied", nullptr};
    fixture.reload();
    look("clips-read-only");
    std::filesystem::rename(fixture.folder(), fixture.home.path() / "elsewhere");
    fixture.reload();
    look("clips-gone");
}

void drawSmallFiles(const Gallery& gallery)
{
    SmallFilesFixture copies;
    ClipsFixture fixture;
    fixture.smallFiles = copies.files;
    fill(fixture);
    fixture.appear();
    ViewTestWindow window{clipsView, *fixture.model, clipsViewSize};
    static_cast<void>(window.grab());
    fixture.run();
    window.type(Qt::Key_Home);
    const auto clip = fixture.folder() / "Sunset over the harbour.mp4";
    copies.files->start(clip, 10'000'000);
    copies.session(0).steps.advance(0.43);
    copies.clock->advance(std::chrono::seconds{1});
    gallery.draw("clips-small-file", window);
    copies.complete(0);
    gallery.draw("clips-small-file-copied", window);
    copies.files->start(clip, 10'000'000);
    copies.session(1).steps.fail(Error{"Velmora.Transcoding", 1,
        "10 MB are too little for a clip of 83:20, even with the smallest pictures: it takes about 17 MB.", nullptr});
    copies.executor->runAll();
    gallery.draw("clips-small-file-failed", window);
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    using namespace velmora::test;
    const Gallery gallery{count, arguments};
    linkPreviewView();
    drawStates(gallery);
    drawSmallFiles(gallery);
    return 0;
}
