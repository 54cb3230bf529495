#include "platform/linux/desktop/LinuxFileDrags.h"

#include "platform/linux/desktop/FileTransfer.h"
#include "platform/linux/desktop/FileUri.h"

#include <QDrag>
#include <QGuiApplication>
#include <QImage>
#include <QList>
#include <QMimeData>
#include <QObject>
#include <QPixmap>
#include <QUrl>

#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

std::unique_ptr<QMimeData> references(const std::vector<std::filesystem::path>& files)
{
    QList<QUrl> urls;
    for (const auto& file : files)
        urls.append(QUrl::fromEncoded(QByteArray::fromStdString(fileUri(file))));
    auto data = std::make_unique<QMimeData>();
    data->setUrls(urls);
    return data;
}

QPixmap pixmap(const PixelBuffer& picture)
{
    const QImage pixels{reinterpret_cast<const uchar*>(picture.baseAddress), picture.width, picture.height,
        static_cast<qsizetype>(picture.bytesPerRow), QImage::Format_RGB32};
    auto drawn = QPixmap::fromImage(pixels);
    drawn.setDevicePixelRatio(qGuiApp->devicePixelRatio());
    return drawn;
}

class LinuxFileDrags final : public platform::FileDrags {
public:
    explicit LinuxFileDrags(FileDragsOptions options) : patience_(options.patience), transfer_(std::move(options.busAddress)) { }

    void begin(std::vector<std::filesystem::path> files, PixelBufferRef picture) override
    {
        if (std::exchange(isBusy_, true))
            return;
        auto data = references(files);
        transfer_.offer(std::move(files), patience_,
            [this, data = std::move(data), picture = std::move(picture)](const Result<std::string>& key) mutable {
                if (key)
                    data->setData(QLatin1String{FileTransfer::mimeType}, QByteArray::fromStdString(*key));
                drag(std::move(data), picture.get());
                isBusy_ = false;
            });
    }

private:
    void drag(std::unique_ptr<QMimeData> data, const PixelBuffer* picture)
    {
        // Nothing would end it.
        if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
            return;
        // It deletes itself at its end. That its source is in no window lets it outlive the one in which it began.
        auto* const drag = new QDrag{&source_};
        drag->setMimeData(data.release());
        if (picture) {
            const auto drawn = pixmap(*picture);
            drag->setPixmap(drawn);
            // Beside the pointer, so that what it points at is to be seen.
            drag->setHotSpot({-12, -12});
        }
        drag->exec(Qt::CopyAction);
    }

    const std::chrono::milliseconds patience_;
    bool isBusy_ = false;
    FileTransfer transfer_;
    QObject source_;
};

}  // namespace

std::shared_ptr<platform::FileDrags> makeFileDrags(FileDragsOptions options)
{
    return std::make_shared<LinuxFileDrags>(std::move(options));
}

}  // namespace velmora::linux_backend
