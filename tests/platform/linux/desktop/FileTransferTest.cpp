#include "platform/linux/desktop/FileTransfer.h"

#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/support/TemporaryDirectory.h"

#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>

#include <fstream>
#include <gmock/gmock.h>
#include <optional>

namespace velmora::linux_backend {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

/// The service, played by the test.
class ScriptedDocuments final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileTransfer")

public:
    explicit ScriptedDocuments(QDBusConnection connection) : connection_(std::move(connection))
    {
        qDBusRegisterMetaType<QList<QDBusUnixFileDescriptor>>();
        connection_.registerObject(QStringLiteral("/org/freedesktop/portal/documents"), this, QDBusConnection::ExportAllSlots);
        connection_.registerService(QStringLiteral("org.freedesktop.portal.Documents"));
    }
    ~ScriptedDocuments() override { QDBusConnection::disconnectFromBus(connection_.name()); }

    void answerAll()
    {
        answersAtOnce = true;
        for (const auto& reply : std::exchange(owed_, {}))
            connection_.send(reply);
    }

    bool answersAtOnce = true;
    bool refuses = false;
    bool refusesFiles = false;
    int started = 0;
    std::vector<std::filesystem::path> files;
    std::vector<std::size_t> messages;  ///< how many files each had
    std::vector<std::string> stopped;

public slots:
    QString StartTransfer(const QVariantMap& options)
    {
        EXPECT_FALSE(options.value(QStringLiteral("writable")).toBool());
        const auto key = QStringLiteral("key %1").arg(++started);
        if (refuses)
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("not you"));
        if (!answersAtOnce) {
            setDelayedReply(true);
            owed_.push_back(message().createReply(key));
        }
        return key;
    }

    void AddFiles(const QString& key, const QList<QDBusUnixFileDescriptor>& descriptors, const QVariantMap& options)
    {
        EXPECT_EQ(key, QStringLiteral("key %1").arg(started));
        EXPECT_TRUE(options.isEmpty());
        messages.push_back(static_cast<std::size_t>(descriptors.size()));
        for (const auto& descriptor : descriptors)
            files.push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor.fileDescriptor())));
        if (refusesFiles)
            sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("no regular file"));
    }

    void StopTransfer(const QString& key) { stopped.push_back(key.toStdString()); }

private:
    QDBusConnection connection_;
    std::vector<QDBusMessage> owed_;
};

class FileTransferTest : public testing::Test {
protected:
    void startService() { service = std::make_unique<ScriptedDocuments>(bus.connect("documents")); }

    [[nodiscard]] std::filesystem::path file(const std::string& name) const
    {
        std::ofstream{folder.path() / name} << "a clip";
        return folder.path() / name;
    }

    void offer(std::vector<std::filesystem::path> files, std::chrono::milliseconds patience = 20s)
    {
        const auto before = answers.size();
        transfer->offer(std::move(files), patience, [this](Result<std::string> key) { answers.push_back(std::move(key)); });
        EXPECT_EQ(answers.size(), before) << "before offer() has returned";
    }

    [[nodiscard]] bool isAnswered(std::size_t count = 1)
    {
        return test::PrivateBus::runUntil([&] { return answers.size() == count; });
    }

    test::PrivateBus bus;
    test::TemporaryDirectory folder;
    std::unique_ptr<ScriptedDocuments> service;
    std::unique_ptr<FileTransfer> transfer = std::make_unique<FileTransfer>(bus.address());
    std::vector<Result<std::string>> answers;
};

TEST_F(FileTransferTest, FilesAreOfferedUnderAKeyWhateverBytesTheirNamesHave)
{
    startService();
    const auto odd = file("caf\xE9\n.mp4");
    offer({file("a.mp4"), odd});
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(answers.front()) << answers.front().error().localizedDescription;
    EXPECT_EQ(answers.front(), "key 1");
    EXPECT_THAT(service->files, ElementsAre(folder.path() / "a.mp4", odd));
    EXPECT_TRUE(service->stopped.empty());
    transfer.reset();
    EXPECT_TRUE(test::PrivateBus::runUntil([&] { return !service->stopped.empty(); }));
    EXPECT_THAT(service->stopped, ElementsAre("key 1"));
}

TEST_F(FileTransferTest, NoMessageHasMoreFilesThanABusCarries)
{
    startService();
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < 37; ++i)
        files.push_back(file(std::to_string(i) + ".mp4"));
    offer(files);
    ASSERT_TRUE(isAnswered());
    EXPECT_TRUE(answers.front());
    EXPECT_THAT(service->messages, ElementsAre(16, 16, 5));
    EXPECT_THAT(service->files, ElementsAreArray(files));
}

TEST_F(FileTransferTest, AFileThatIsGoneIsLeftOutAndWhereNoneIsThereNoKeyIsGiven)
{
    startService();
    offer({folder.path() / "gone.mp4", file("there.mp4")});
    ASSERT_TRUE(isAnswered());
    EXPECT_TRUE(answers.front());
    EXPECT_THAT(service->files, ElementsAre(folder.path() / "there.mp4"));
    answers.clear();
    offer({folder.path() / "gone.mp4"});
    ASSERT_TRUE(isAnswered());
    EXPECT_THAT(answers.front().error().localizedDescription, HasSubstr("not there"));
}

TEST_F(FileTransferTest, WithoutABusOrWithARefusalThereIsNoKey)
{
    transfer = std::make_unique<FileTransfer>("unix:path=/nowhere");
    offer({file("a.mp4")});
    ASSERT_TRUE(isAnswered());
    ASSERT_FALSE(answers.front());
    transfer = std::make_unique<FileTransfer>(bus.address());
    startService();
    service->refuses = true;
    offer({file("a.mp4")});
    ASSERT_TRUE(isAnswered(2));
    EXPECT_THAT(answers.back().error().localizedDescription, HasSubstr("not you"));
    service->refuses = false;
    service->refusesFiles = true;
    offer({file("a.mp4")});
    ASSERT_TRUE(isAnswered(3));
    EXPECT_THAT(answers.back().error().localizedDescription, HasSubstr("no regular file"));
}

TEST_F(FileTransferTest, AServiceThatIsTooSlowIsNotWaitedForAndItsLateAnswerIsTakenBack)
{
    startService();
    service->answersAtOnce = false;
    offer({file("a.mp4")}, 1ms);
    ASSERT_TRUE(isAnswered());
    EXPECT_THAT(answers.front().error().localizedDescription, HasSubstr("too long"));
    service->answerAll();
    answers.clear();
    offer({file("b.mp4")});
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answers.front(), "key 2");
    EXPECT_THAT(service->files, ElementsAre(folder.path() / "b.mp4"));
}

TEST_F(FileTransferTest, ANewOfferEndsTheOneBeforeAndAnswersItWithAnError)
{
    startService();
    service->answersAtOnce = false;
    offer({file("a.mp4")});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return service->started == 1; }));
    transfer->takeBack();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_FALSE(answers.front());
    answers.clear();
    service->answerAll();
    offer({file("b.mp4")});
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answers.front(), "key 2");
    EXPECT_THAT(service->files, ElementsAre(folder.path() / "b.mp4")) << "nothing is left of the first";
}

}  // namespace
}  // namespace velmora::linux_backend

#include "FileTransferTest.moc"
