// Copies for sending, as commands make them beside the running program.

#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/WrittenClip.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

#include <filesystem>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;

void makeClip(const std::filesystem::path& home)
{
    const auto folder = home / "Movies" / "Velmora";
    std::filesystem::create_directories(folder);
    writeClip(folder / "race.mp4", {.pictures = steadyTimes(50, 25), .soundFrames = 2 * 48'000});
}

/// What another program would paste: this process is a client of the display like any.
QString pasted()
{
    QCoreApplication::processEvents();
    const auto* data = QGuiApplication::clipboard()->mimeData();
    return data ? QString::fromLatin1(data->data(QStringLiteral("text/uri-list"))).trimmed() : QString{};
}

TEST(ShareTest, TheCommandsCopyIsOnTheClipboardOfTheRunningProgramAndStaysThere)
{
    int argumentCount = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QGuiApplication client{argumentCount, arguments};
    TrayProgram program{{.prepareHome = makeClip}};
    const auto clip = program.home() / "Movies" / "Velmora" / "race.mp4";
    const auto shared = clip.parent_path() / "Shared";

    const auto gif = program.run({"share", clip.native(), "--format", "gif"});
    ASSERT_EQ(gif.status, 0) << gif.messages;
    EXPECT_EQ(gif.lastLine(), (shared / "race-10MB.gif").native());
    EXPECT_THAT(gif.messages, HasSubstr("It is on the clipboard."));
    EXPECT_TRUE(waitUntil([&] { return QUrl{pasted()}.toLocalFile().toStdString() == gif.lastLine(); })) << qPrintable(pasted());

    const auto own = program.run({"share", clip.native(), "--output", (program.home() / "own.mp4").native()});
    ASSERT_EQ(own.status, 0) << own.messages;
    EXPECT_EQ(QUrl{pasted()}.toLocalFile().toStdString(), gif.lastLine()) << "what has a name of its own is for its user to copy";

    ASSERT_EQ(program.run({"quit"}).status, 0);
    EXPECT_EQ(program.awaitEnd().status, 0);
    const auto alone = program.run({"share", clip.native()});
    ASSERT_EQ(alone.status, 0) << alone.messages;
    EXPECT_THAT(alone.messages, ::testing::Not(HasSubstr("clipboard")));
    EXPECT_TRUE(std::filesystem::exists(shared / "race-10MB.mp4"));
}

}  // namespace
}  // namespace velmora::test
