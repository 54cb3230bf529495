#include "platform/linux/desktop/FileTransfer.h"

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "platform/linux/desktop/bus/BusConnection.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QList>
#include <QMetaObject>
#include <QTimer>
#include <QVariantMap>

#include <algorithm>
#include <fcntl.h>
#include <span>
#include <utility>

namespace velmora::linux_backend {

namespace {

using Descriptors = QList<QDBusUnixFileDescriptor>;

QDBusMessage methodCall(const char* method, const QVariantList& arguments)
{
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.portal.Documents"),
        QStringLiteral("/org/freedesktop/portal/documents"), QStringLiteral("org.freedesktop.portal.FileTransfer"), QLatin1String{method});
    call.setArguments(arguments);
    return call;
}

tl::unexpected<Error> transferError(int code, const char* why)
{
    return fail("Velmora.FileTransfer", code, std::string{"Programs in a sandbox cannot be given the file: "} + why);
}

// A descriptor of the path alone: it waits for no reader, and gives no right that the program on the other side does not ask the service for.
Descriptors open(std::span<const std::filesystem::path> files)
{
    Descriptors opened;
    for (const auto& file : files) {
        const int descriptor = ::open(file.c_str(), O_PATH | O_CLOEXEC);
        if (descriptor < 0)
            continue;
        opened.append(QDBusUnixFileDescriptor{});
        opened.last().giveFileDescriptor(descriptor);
    }
    return opened;
}

}  // namespace

class FileTransfer::Offer final : public QObject {
public:
    Offer(const std::string& busAddress, std::vector<std::filesystem::path> files, Completion completion)
        : bus_(busAt(busAddress, QStringLiteral("velmora-file-transfer ") + QString::fromStdString(busAddress)))
        , files_(std::move(files))
        , completion_(std::move(completion))
    {
        qDBusRegisterMetaType<Descriptors>();
    }

    ~Offer() override
    {
        finish(transferError(1, "it was taken back."));
        // One that has been read is known there no longer, which does no harm.
        if (!key_.isEmpty())
            bus_.asyncCall(methodCall("StopTransfer", {key_}));
    }
    Offer(const Offer&) = delete;
    Offer& operator=(const Offer&) = delete;

    void begin(std::chrono::milliseconds patience)
    {
        QTimer::singleShot(patience, this, [this] { finish(transferError(2, "the service takes too long.")); });
        ask(methodCall("StartTransfer", {QVariantMap{}}), [this](const QDBusMessage& answer) {
            key_ = answer.arguments().value(0).toString();
            if (key_.isEmpty())
                return finish(transferError(3, "the service gave no key."));
            addNext();
        });
    }

private:
    void addNext()
    {
        if (!completion_)
            return;
        if (next_ == files_.size())
            return finish(added_ > 0 ? Result<std::string>{key_.toStdString()} : transferError(4, "it is not there."));
        const auto count = std::min(filesOfMessage, files_.size() - next_);
        const auto begin = files_.begin() + static_cast<std::ptrdiff_t>(next_);
        next_ += count;
        // Opening may wait for a disk, and nobody waits for it here: the queue is its work's too.
        opener_->async([opener = opener_, self = self_.weak(), files = std::vector(begin, begin + static_cast<std::ptrdiff_t>(count))] {
            QMetaObject::invokeMethod(QCoreApplication::instance(), [self, opened = open(files)] {
                if (const auto offer = self.lock())
                    offer->add(opened);
            });
        });
    }

    void add(const Descriptors& opened)
    {
        if (opened.empty())
            return addNext();
        ask(methodCall("AddFiles", {key_, QVariant::fromValue(opened), QVariantMap{}}), [this, count = opened.size()](const QDBusMessage&) {
            added_ += count;
            addNext();
        });
    }

    template <typename Answered>
    void ask(const QDBusMessage& call, Answered answered)
    {
        auto* asked = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
        connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked, answered] {
            asked->deleteLater();
            if (asked->isError())
                finish(transferError(5, asked->error().message().toUtf8().constData()));
            else
                answered(asked->reply());
        });
    }

    void finish(Result<std::string> key)
    {
        if (completion_)
            std::exchange(completion_, nullptr)(std::move(key));
    }

    QDBusConnection bus_;
    const std::vector<std::filesystem::path> files_;
    Completion completion_;  // empty once it was called
    QString key_;
    std::size_t next_ = 0;
    qsizetype added_ = 0;
    const std::shared_ptr<SerialQueue> opener_ = std::make_shared<SerialQueue>("com.velmora.file-transfer");

    // Gone with the offer, so that files that are opened late find nobody.
    const SelfReference<Offer> self_{*this};
};

FileTransfer::FileTransfer(std::string busAddress) : busAddress_(std::move(busAddress)) { }

FileTransfer::~FileTransfer() = default;

void FileTransfer::offer(std::vector<std::filesystem::path> files, std::chrono::milliseconds patience, Completion completion)
{
    takeBack();
    offer_ = std::make_unique<Offer>(busAddress_, std::move(files), std::move(completion));
    offer_->begin(patience);
}

void FileTransfer::takeBack()
{
    // Its last word may lead to the next offer.
    const auto last = std::exchange(offer_, nullptr);
}

}  // namespace velmora::linux_backend
