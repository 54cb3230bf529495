#include "platform/linux/desktop/LinuxUserDefaults.h"

#include <QIODevice>
#include <QSettings>
#include <QStandardPaths>
#include <QVariant>

namespace velmora::linux_backend {

namespace {

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

constexpr const char* head = "[General]\n";

bool readLines(QIODevice& device, QSettings::SettingsMap& values)
{
    while (!device.atEnd()) {
        const auto line = device.readLine();
        const auto separator = line.indexOf('=');
        if (separator >= 0)
            values.insert(QString::fromUtf8(line.left(separator)).trimmed(), QString::fromUtf8(line.mid(separator + 1)).trimmed());
    }
    return true;
}

bool writeLines(QIODevice& device, const QSettings::SettingsMap& values)
{
    QByteArray lines{head};
    for (auto value = values.begin(); value != values.end(); ++value)
        lines += value.key().toUtf8() + '=' + value.value().toString().toUtf8() + '\n';
    return device.write(lines) == lines.size();
}

/// Lines of text. Qt's own reader makes whatever a value claims to be, and that may need a display.
QSettings::Format plainFormat()
{
    static const auto format = QSettings::registerFormat(QStringLiteral("conf"), readLines, writeLines);
    return format;
}

class LinuxUserDefaults final : public platform::UserDefaults {
public:
    explicit LinuxUserDefaults(const QString& file) : settings_(file, plainFormat()) { }

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
