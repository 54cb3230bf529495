#include "platform/linux/desktop/LinuxThumbnails.h"

#include "base/SerialQueue.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QString>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

struct KeptSize {
    int side;
    const char* folder;
};

// Standard, "Directory Structure". Smallest first.
constexpr std::array keptSizes{KeptSize{128, "normal"}, KeptSize{256, "large"}, KeptSize{512, "x-large"}, KeptSize{1024, "xx-large"}};
constexpr mode_t cacheFolderMode = 0700;
/// Of a file that other programs write, and that may be anything.
constexpr std::int64_t longestFile = std::int64_t{8} << 20;
constexpr int longestSide = 2 * keptSizes.back().side;
/// What the first second shows is often black.
constexpr MediaTime pictureTime{600, 600};

/// What a thumbnail has to be true of.
struct FileFacts {
    std::string uri;
    std::string name;  ///< of the thumbnail
    std::int64_t modified = 0;  ///< seconds since 1970
    std::int64_t size = 0;  ///< bytes

    friend bool operator==(const FileFacts&, const FileFacts&) = default;
};

Result<FileFacts> factsOf(const std::filesystem::path& file)
{
    struct stat status { };
    if (::stat(file.c_str(), &status) != 0)
        return fail(posixError(errno, file.native()));
    if (!S_ISREG(status.st_mode))
        return fail(posixError(EINVAL, file.native()));
    auto uri = thumbnailUri(file);
    auto name = thumbnailName(uri);
    return FileFacts{std::move(uri), std::move(name), status.st_mtim.tv_sec, status.st_size};
}

std::size_t smallestSize(int side)
{
    std::size_t index = 0;
    while (index + 1 < keptSizes.size() && keptSizes[index].side < side)
        ++index;
    return index;
}

bool isPlainFile(const std::filesystem::path& path)
{
    struct stat status { };
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= longestFile;
}

/// Null where there is none, or one that is true of something else.
QImage keptImage(const std::filesystem::path& path, const FileFacts& facts)
{
    if (!isPlainFile(path))
        return {};
    QImageReader reader{QString::fromStdString(path.native()), "png"};
    // Else the library complains on standard error.
    if (!reader.canRead())
        return {};
    const auto size = reader.size();
    if (size.isEmpty() || size.width() > longestSide || size.height() > longestSide)
        return {};
    const auto image = reader.read();
    const bool isTrue = image.text(QStringLiteral("Thumb::URI")) == QString::fromStdString(facts.uri)
        && image.text(QStringLiteral("Thumb::MTime")) == QString::number(facts.modified);
    return isTrue ? image : QImage{};
}

PixelBufferRef asPicture(const QImage& image)
{
    const auto pixels = std::make_shared<const QImage>(image.convertToFormat(QImage::Format_RGB32));
    auto picture = std::make_shared<PixelBuffer>();
    picture->width = pixels->width();
    picture->height = pixels->height();
    picture->bytesPerRow = static_cast<std::size_t>(pixels->bytesPerLine());
    picture->baseAddress = reinterpret_cast<const std::byte*>(pixels->constBits());
    picture->owner = pixels;
    return picture;
}

/// With the folders above it that are missing.
bool makeCacheFolders(const std::filesystem::path& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        return true;
    if (path.has_relative_path() && !makeCacheFolders(path.parent_path()))
        return false;
    return ::mkdir(path.c_str(), cacheFolderMode) == 0 || std::filesystem::is_directory(path, ignored);
}

/// Others find it whole or not at all. A cache that cannot be written is none.
void keep(QImage image, const FileFacts& facts, const std::filesystem::path& folder)
{
    if (!makeCacheFolders(folder))
        return;
    for (const auto& [key, value] : {std::pair{"Thumb::URI", QString::fromStdString(facts.uri)},
             {"Thumb::MTime", QString::number(facts.modified)}, {"Thumb::Size", QString::number(facts.size)},
             {"Thumb::Mimetype", QStringLiteral("video/mp4")}, {"Software", QStringLiteral("Velmora")}})
        image.setText(QLatin1String{key}, value);
    auto temporary = (folder / ("velmora-" + facts.name + ".XXXXXX")).native();
    const int descriptor = ::mkstemp(temporary.data());  // 0600
    if (descriptor < 0)
        return;
    QFile file;
    const bool isWritten = file.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)
        && QImageWriter{&file, "png"}.write(image) && file.flush();
    file.close();
    if (!isWritten || ::rename(temporary.c_str(), (folder / facts.name).c_str()) != 0)
        ::unlink(temporary.c_str());
}

class LinuxThumbnails final : public platform::Thumbnails {
public:
    LinuxThumbnails(std::shared_ptr<platform::AssetReader> reader, std::filesystem::path folder)
        : reader_(std::move(reader))
        , folder_(std::move(folder))
    {
    }

    void find(const std::filesystem::path& file, int side, Completion completion) override
    {
        files_.async(
            [file, side, folder = folder_, completion = std::move(completion)]() mutable { completion(found(file, side, folder)); });
    }

    void make(const std::filesystem::path& file, int side, Completion completion) override
    {
        // Reading what is known of the file may wait for a disk.
        files_.async([file, side, folder = folder_, reader = reader_, completion = std::move(completion)]() mutable {
            auto facts = factsOf(file);
            if (!facts)
                return completion(fail(facts.error()));
            const auto& size = keptSizes[smallestSize(side)];
            reader->generateImage(file, pictureTime, size.side, size.side,
                [file, facts = std::move(*facts), folder = folder / size.folder, completion = std::move(completion)](
                    Result<PixelBufferRef> picture) mutable {
                    // Of a file that is still being written it would be true for a moment.
                    if (picture && factsOf(file) == facts)
                        keep(imageOf(**picture), facts, folder);
                    completion(std::move(picture));
                });
        });
    }

private:
    static Result<PixelBufferRef> found(const std::filesystem::path& file, int side, const std::filesystem::path& folder)
    {
        const auto facts = factsOf(file);
        if (!facts)
            return fail(facts.error());
        for (auto size = smallestSize(side); size < keptSizes.size(); ++size) {
            if (const auto image = keptImage(folder / keptSizes[size].folder / facts->name, *facts); !image.isNull())
                return asPicture(image);
        }
        return nullptr;
    }

    /// Refers to the picture's pixels.
    static QImage imageOf(const PixelBuffer& picture)
    {
        return {reinterpret_cast<const uchar*>(picture.baseAddress), picture.width, picture.height,
            static_cast<qsizetype>(picture.bytesPerRow), QImage::Format_RGB32};
    }

    const std::shared_ptr<platform::AssetReader> reader_;
    const std::filesystem::path folder_;
    SerialQueue files_{"com.velmora.thumbnails", SerialQueue::QualityOfService::utility};
};

}  // namespace

std::filesystem::path thumbnailsFolder(const std::filesystem::path& home)
{
    const char* chosen = std::getenv("XDG_CACHE_HOME");
    // The base directory rules say that a relative path is to be ignored.
    return (chosen && *chosen == '/' ? std::filesystem::path{chosen} : home / ".cache") / "thumbnails";
}

std::string thumbnailUri(const std::filesystem::path& file)
{
    return "file://" + QByteArray::fromStdString(file.lexically_normal().native()).toPercentEncoding("/!$&'()*+,:=@").toStdString();
}

std::string thumbnailName(const std::string& uri)
{
    return QCryptographicHash::hash(QByteArray::fromStdString(uri), QCryptographicHash::Md5).toHex().toStdString() + ".png";
}

std::shared_ptr<platform::Thumbnails> makeThumbnails(std::shared_ptr<platform::AssetReader> reader, std::filesystem::path folder)
{
    return std::make_shared<LinuxThumbnails>(std::move(reader), std::move(folder));
}

}  // namespace velmora::linux_backend
