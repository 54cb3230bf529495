#include "platform/linux/desktop/LinuxSharingServices.h"

#include "tests/support/TemporaryDirectory.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>

namespace velmora::linux_backend {
namespace {

class LinuxSharingServicesTest : public testing::Test {
protected:
    LinuxSharingServicesTest() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

    [[nodiscard]] static QByteArray copied(const char* type) { return QGuiApplication::clipboard()->mimeData()->data(QLatin1String{type}); }

    const test::TemporaryDirectory folder;
    const std::shared_ptr<platform::SharingServices> sharing = makeSharingServices();
};

/// Bytes that are not UTF-8, and such as a shell or a format would take for its own.
const std::filesystem::path odd = "/clips/caf\xE9 \"$HOME\" \\0101 %s 'b'.mp4\n";

TEST_F(LinuxSharingServicesTest, ThePathIsCopiedWithEveryByteOfIt)
{
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QGuiApplication application{count, arguments};
    for (const std::filesystem::path& path : {odd, std::filesystem::path{"/clips/ä b.mp4"}}) {
        sharing->perform("copy-path", path);
        EXPECT_EQ(copied("text/plain").toStdString(), path.native());
        EXPECT_FALSE(QGuiApplication::clipboard()->mimeData()->hasUrls()) << "what is copied is the text";
    }
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("/clips/ä b.mp4"));
}

TEST_F(LinuxSharingServicesTest, TheFileIsCopiedAsItsUriAndAsTheTextOfItsPathWithEveryByteOfThem)
{
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QGuiApplication application{count, arguments};
    sharing->perform("copy-file", "/clips/caf\xE9 b.mp4");
    EXPECT_EQ(copied("text/uri-list").trimmed().toStdString(), "file:///clips/caf%E9%20b.mp4");
    EXPECT_EQ(copied("text/plain").toStdString(), "/clips/caf\xE9 b.mp4");
    EXPECT_EQ(copied("x-special/gnome-copied-files").toStdString(), "copy\nfile:///clips/caf%E9%20b.mp4");
}

TEST_F(LinuxSharingServicesTest, TheProgramForEMailsIsGivenEveryByteOfThePath)
{
    const auto program = folder.path() / "xdg-email";
    const auto told = folder.path() / "told";
    std::ofstream{program} << "#!/bin/sh\nprintf '%s|' \"$@\" >'" + told.native() + ".new'\nmv '" + told.native() + ".new' '"
            + told.native() + "'\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    const auto path = qgetenv("PATH");
    qputenv("PATH", QByteArray::fromStdString(folder.path().native()) + ":" + path);
    sharing->perform("send-by-e-mail", odd);
    qputenv("PATH", path);
    for (const auto begin = std::chrono::steady_clock::now();
         !std::filesystem::exists(told) && std::chrono::steady_clock::now() - begin < std::chrono::seconds{60};)
        std::this_thread::yield();
    std::ifstream file{told, std::ios::binary};
    EXPECT_EQ((std::string{std::istreambuf_iterator<char>{file}, {}}), "--attach|" + odd.native() + "|");
}

}  // namespace
}  // namespace velmora::linux_backend
