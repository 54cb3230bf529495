#include "platform/linux/portal/WindowGrants.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

QString pathText(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

std::optional<engine::ApplicationIdentity> soundFrom(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    const auto text = [object = value.toObject()](const char* key) { return object.value(QLatin1String{key}).toString().toStdString(); };
    return engine::ApplicationIdentity{.name = text("name"), .binary = text("binary"), .portalApplicationID = text("portal")};
}

QJsonObject objectFrom(const engine::ApplicationIdentity& application)
{
    QJsonObject object;
    for (const auto& [key, text] :
        {std::pair{"name", &application.name}, {"binary", &application.binary}, {"portal", &application.portalApplicationID}}) {
        if (!text->empty())
            object.insert(QLatin1String{key}, QString::fromStdString(*text));
    }
    return object;
}

WindowGrant grantFrom(const QJsonObject& object)
{
    return {
        .id = static_cast<std::uint32_t>(std::max<qint64>(0, object.value(QLatin1String{"id"}).toInteger())),
        .restoreToken = object.value(QLatin1String{"token"}).toString().toStdString(),
        .grantedAt = object.value(QLatin1String{"granted"}).toInteger(),
        .width = object.value(QLatin1String{"width"}).toInt(),
        .height = object.value(QLatin1String{"height"}).toInt(),
        .sound = soundFrom(object.value(QLatin1String{"sound"})),
    };
}

QJsonObject objectFrom(const WindowGrant& grant)
{
    QJsonObject object{
        {QStringLiteral("id"), qint64{grant.id}},
        {QStringLiteral("token"), QString::fromStdString(grant.restoreToken)},
        {QStringLiteral("granted"), qint64{grant.grantedAt}},
        {QStringLiteral("width"), grant.width},
        {QStringLiteral("height"), grant.height},
    };
    if (grant.sound)
        object.insert(QStringLiteral("sound"), objectFrom(*grant.sound));
    return object;
}

}  // namespace

std::filesystem::path WindowGrants::usualFile()
{
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    // Relative paths do not count (XDG Base Directory).
    const auto folder =
        state && *state == '/' ? std::filesystem::path{state} : std::filesystem::path{home ? home : "/"} / ".local" / "state";
    return folder / "velmora" / "window-grants.json";
}

std::vector<WindowGrant> WindowGrants::grants() const
{
    struct stat status { };
    if (lstat(file_.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & 077) != 0)
        return {};
    QFile file{pathText(file_)};
    if (!file.open(QIODevice::ReadOnly))
        return {};
    constexpr qint64 largest = 64 * 1024;
    const auto content = QJsonDocument::fromJson(file.read(largest)).object();
    if (content.value(QLatin1String{"version"}).toInt(1) > version)
        return {};
    std::vector<WindowGrant> grants;
    for (const auto& value : content.value(QLatin1String{"grants"}).toArray()) {
        const auto grant = grantFrom(value.toObject());
        const bool isKnown = std::any_of(grants.begin(), grants.end(), [&](const auto& other) { return other.id == grant.id; });
        if (grant.id >= firstID && !grant.restoreToken.empty() && grant.width > 0 && grant.height > 0 && !isKnown
            && grants.size() < maximumCount)
            grants.push_back(grant);
    }
    return grants;
}

std::uint32_t WindowGrants::freeID() const
{
    const auto known = grants();
    auto id = firstID;
    while (std::any_of(known.begin(), known.end(), [&](const auto& grant) { return grant.id == id; }))
        ++id;
    return id;
}

void WindowGrants::store(const WindowGrant& grant)
{
    auto all = grants();
    std::erase_if(all, [&](const auto& other) { return other.id == grant.id; });
    all.insert(all.begin(), grant);
    if (all.size() > maximumCount)
        all.resize(maximumCount);
    write(all);
}

void WindowGrants::remove(std::uint32_t id)
{
    auto all = grants();
    if (std::erase_if(all, [&](const auto& other) { return other.id == id; }) > 0)
        write(all);
}

void WindowGrants::write(const std::vector<WindowGrant>& grants) const
{
    std::error_code ignored;
    const auto folder = file_.parent_path();
    if (std::filesystem::create_directories(folder, ignored))
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, ignored);
    QJsonArray array;
    for (const auto& grant : grants)
        array.append(objectFrom(grant));
    QSaveFile file{pathText(file_)};
    if (!file.open(QIODevice::WriteOnly))
        return;
    // Before the first byte, so that nobody else gets to see one.
    if (!file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return;
    file.write(QJsonDocument{QJsonObject{{QStringLiteral("version"), version}, {QStringLiteral("grants"), array}}}.toJson());
    file.commit();
}

}  // namespace velmora::linux_backend
