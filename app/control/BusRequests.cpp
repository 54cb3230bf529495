#include "app/control/BusRequests.h"

#include <QByteArray>
#include <QUrl>

#include <utility>

namespace velmora::bus_requests {

namespace {

std::optional<std::filesystem::path> absolute(const QByteArray& bytes)
{
    if (!bytes.startsWith('/') || bytes.contains('\0'))
        return std::nullopt;
    return std::filesystem::path{bytes.toStdString()};
}

}  // namespace

QString text(const std::filesystem::path& path)
{
    const auto bytes = QByteArray::fromStdString(path.native());
    auto text = QString::fromUtf8(bytes);
    return text.toUtf8() == bytes ? text : QStringLiteral("file://") + QString::fromLatin1(bytes.toPercentEncoding("/"));
}

std::optional<std::filesystem::path> file(const QString& path)
{
    if (!path.startsWith(QLatin1String("file:")))
        return absolute(path.toUtf8());
    auto found = files({path});
    return found.empty() ? std::nullopt : std::optional{std::move(found.front())};
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

Options options(const QVariantMap& options)
{
    Options understood;
    const auto callerTells = options.value(QLatin1String{callerTellsOption});
    understood.callerTells = callerTells.typeId() == QMetaType::Bool && callerTells.toBool();
    if (const auto sound = options.value(QLatin1String{soundOption}); sound.typeId() == QMetaType::QString)
        understood.sound = sound.toString().toStdString();
    for (const auto& [name, text] : {std::pair{applicationOption, &understood.application}, {titleOption, &understood.title}}) {
        if (const auto given = options.value(QLatin1String{name}); given.typeId() == QMetaType::QString)
            *text = given.toString().toStdString();
    }
    return understood;
}

}  // namespace velmora::bus_requests
