#include "platform/linux/desktop/FileUri.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace velmora::linux_backend {

std::string fileUri(const std::filesystem::path& path)
{
    const auto bytes = QByteArray::fromStdString(path.native());
    const auto text = QString::fromUtf8(bytes);
    // Qt's URLs are made of text; what is not text is encoded byte by byte.
    const auto encoded = text.toUtf8() == bytes ? QUrl::fromLocalFile(text).toEncoded() : "file://" + bytes.toPercentEncoding("/");
    return encoded.toStdString();
}

}  // namespace velmora::linux_backend
