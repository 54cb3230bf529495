#include "app/control/BusRequests.h"

#include <QByteArray>
#include <QUrl>

namespace velmora::bus_requests {

namespace {

std::optional<std::filesystem::path> absolute(const QByteArray& bytes)
{
    if (!bytes.startsWith('/') || bytes.contains('\0'))
        return std::nullopt;
    return std::filesystem::path{bytes.toStdString()};
}

}  // namespace

std::optional<std::filesystem::path> file(const QString& path)
{
    return absolute(path.toUtf8());
}

std::vector<std::filesystem::path> files(const QStringList& uris)
{
    std::vector<std::filesystem::path> found;
    for (const auto& uri : uris) {
        const QUrl url{uri};
        if (!url.isLocalFile())
            continue;
        if (auto path = absolute(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1())))
            found.push_back(std::move(*path));
    }
    return found;
}

}  // namespace velmora::bus_requests
