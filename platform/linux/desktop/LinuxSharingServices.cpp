#include "platform/linux/desktop/LinuxSharingServices.h"

#include "platform/linux/desktop/FileUri.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QUrl>

#include <memory>

namespace velmora::linux_backend {

namespace {

constexpr const char* copyFile = "copy-file";
constexpr const char* copyPath = "copy-path";
constexpr const char* sendByEMail = "send-by-e-mail";

// A program without a user interface has no clipboard.
QClipboard* clipboard()
{
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) ? QGuiApplication::clipboard() : nullptr;
}

class LinuxSharingServices final : public platform::SharingServices {
public:
    [[nodiscard]] std::vector<platform::SharingService> services() const override
    {
        return {{copyFile, "Copy File"}, {copyPath, "Copy Path"}, {sendByEMail, "Send by E-Mail…"}};
    }

    void perform(const std::string& identifier, const std::filesystem::path& file) override
    {
        const auto path = QString::fromStdString(file.string());
        if (identifier == sendByEMail) {
            QProcess::startDetached(QStringLiteral("xdg-email"), {QStringLiteral("--attach"), path});
            return;
        }
        auto* board = clipboard();
        if (!board)
            return;
        if (identifier == copyPath)
            board->setText(path);
        else if (identifier == copyFile)
            board->setMimeData(fileReference(file).release());
    }

private:
    static std::unique_ptr<QMimeData> fileReference(const std::filesystem::path& file)
    {
        const auto uri = QByteArray::fromStdString(fileUri(file));
        auto data = std::make_unique<QMimeData>();
        data->setUrls({QUrl::fromEncoded(uri)});
        data->setText(QString::fromStdString(file.native()));
        // What file managers take for "paste this file".
        data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + uri);
        return data;
    }
};

}  // namespace

std::shared_ptr<platform::SharingServices> makeSharingServices()
{
    return std::make_shared<LinuxSharingServices>();
}

}  // namespace velmora::linux_backend
