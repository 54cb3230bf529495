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
        return {{platform::copyFileService, "Copy File"}, {copyPath, "Copy Path"}, {sendByEMail, "Send by E-Mail…"}};
    }

    void perform(const std::string& identifier, const std::filesystem::path& file) override
    {
        if (identifier == sendByEMail)
            return sendAttached(file);
        auto* board = clipboard();
        if (!board)
            return;
        if (identifier == copyPath)
            board->setMimeData(pathAsText(file).release());
        else if (identifier == platform::copyFileService)
            board->setMimeData(fileReference(file).release());
    }

private:
    static void sendAttached(const std::filesystem::path& file)
    {
        // Arguments that are text lose bytes that are not. The full stop keeps line breaks at the end, which a substitution would drop.
        QProcess::startDetached(QStringLiteral("sh"),
            {QStringLiteral("-c"), QStringLiteral("file=$(printf '%b.' \"$1\") && exec xdg-email --attach \"${file%.}\""),
                QStringLiteral("sh"), QString::fromLatin1(octal(file.native()))});
    }

    /// Every byte as printf's %b takes it.
    static QByteArray octal(const std::string& bytes)
    {
        constexpr int base = 8;
        QByteArray text;
        for (const char byte : bytes)
            text += "\\0" + QByteArray::number(static_cast<unsigned char>(byte), base).rightJustified(3, '0');
        return text;
    }

    static std::unique_ptr<QMimeData> pathAsText(const std::filesystem::path& file)
    {
        auto data = std::make_unique<QMimeData>();
        data->setData(QStringLiteral("text/plain"), QByteArray::fromStdString(file.native()));
        return data;
    }

    static std::unique_ptr<QMimeData> fileReference(const std::filesystem::path& file)
    {
        const auto uri = QByteArray::fromStdString(fileUri(file));
        auto data = pathAsText(file);
        data->setUrls({QUrl::fromEncoded(uri)});
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
