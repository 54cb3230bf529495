#include "platform/linux/desktop/LinuxUserDefaults.h"

#include <QSettings>
#include <QStandardPaths>
#include <QVariant>

namespace velmora::linux_backend {

namespace {

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

class LinuxUserDefaults final : public platform::UserDefaults {
public:
    explicit LinuxUserDefaults(const QString& file) : settings_(file, QSettings::IniFormat) { }

    [[nodiscard]] bool boolean(std::string_view key) const override
    {
        const auto value = settings_.value(text(key)).toString();
        return value == QLatin1String("true");
    }

    void setBoolean(std::string_view key, bool value) override
    {
        settings_.setValue(text(key), value);
        settings_.sync();
    }

private:
    QSettings settings_;
};

}  // namespace

std::shared_ptr<platform::UserDefaults> makeUserDefaults(const std::filesystem::path& file)
{
    const auto folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return std::make_shared<LinuxUserDefaults>(
        file.empty() ? folder + QStringLiteral("/velmora/velmora.conf") : QString::fromStdString(file.string()));
}

}  // namespace velmora::linux_backend
