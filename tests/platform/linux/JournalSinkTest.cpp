#include "platform/linux/JournalSink.h"

#include "platform/linux/kernel/FileDescriptor.h"
#include "tests/support/TemporaryDirectory.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace velmora::linux_backend {
namespace {

using platform::LogLevel;

// The other end: a datagram socket at a path, as the journal and syslog have one.
class LogReceiver {
public:
    explicit LogReceiver(const std::filesystem::path& path) : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }

    // A local datagram is there as soon as it has been sent; "" when none was.
    [[nodiscard]] std::string receive() const
    {
        std::array<char, 4096> buffer{};
        const auto size = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        return size < 0 ? std::string{} : std::string{buffer.data(), static_cast<std::size_t>(size)};
    }

private:
    FileDescriptor socket_;
};

std::ptrdiff_t openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator{"/proc/self/fd"}, std::filesystem::directory_iterator{});
}

class JournalSinkTest : public testing::Test {
protected:
    test::TemporaryDirectory folder;
    LogSockets sockets{folder.path() / "journal", folder.path() / "syslog"};
};

TEST_F(JournalSinkTest, WritesTheFieldsOfTheJournalsNativeProtocol)
{
    const LogReceiver journal{sockets.journal};
    const LogReceiver syslog{sockets.syslog};
    const auto sink = makeLogSink(sockets);
    sink->write({"com.velmora.Velmora", "Capture", LogLevel::info, "Stopped window capture."});
    EXPECT_EQ(journal.receive(),
        "MESSAGE=Stopped window capture.\nPRIORITY=6\nSYSLOG_IDENTIFIER=velmora\n"
        "VELMORA_SUBSYSTEM=com.velmora.Velmora\nVELMORA_CATEGORY=Capture\nVELMORA_LEVEL=info\n");
    EXPECT_EQ(syslog.receive(), "");
}

TEST_F(JournalSinkTest, MapsTheLevelsToInfoNoticeAndError)
{
    const LogReceiver journal{sockets.journal};
    const auto sink = makeLogSink(sockets);
    sink->write({"s", "c", LogLevel::standard, "m"});
    EXPECT_NE(journal.receive().find("PRIORITY=5\n"), std::string::npos);
    sink->write({"s", "c", LogLevel::error, "m"});
    EXPECT_NE(journal.receive().find("PRIORITY=3\n"), std::string::npos);
}

TEST_F(JournalSinkTest, AMessageWithALineBreakIsWrittenWithItsLengthAndCannotForgeAField)
{
    const LogReceiver journal{sockets.journal};
    makeLogSink(sockets)->write({"s", "c", LogLevel::info, "one\nPRIORITY=0"});
    const std::string length{"\x0E\0\0\0\0\0\0\0", 8};
    EXPECT_EQ(journal.receive().substr(0, 31), "MESSAGE\n" + length + "one\nPRIORITY=0\n");
}

TEST_F(JournalSinkTest, WritesToSyslogWhereThereIsNoJournal)
{
    const LogReceiver syslog{sockets.syslog};
    makeLogSink(sockets)->write({"com.velmora.Velmora", "App", LogLevel::error, "Failed."});
    EXPECT_EQ(syslog.receive(), "<11>velmora: [App] Failed.");
}

TEST_F(JournalSinkTest, WithoutEitherThereIsNoLogAndNoHarm)
{
    const auto descriptors = openDescriptors();
    const auto sink = makeLogSink(sockets);
    const auto withImpossiblePaths = makeLogSink({std::string(200, 'x'), ""});
    EXPECT_EQ(openDescriptors(), descriptors) << "a socket that leads nowhere is not kept";
    sink->write({"s", "c", LogLevel::error, "m"});
    withImpossiblePaths->write({"s", "c", LogLevel::error, "m"});
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "nothing is written to a file instead";

    const LogReceiver journal{sockets.journal};
    const LogReceiver syslog{sockets.syslog};
    sink->write({"s", "c", LogLevel::error, "m"});
    EXPECT_EQ(journal.receive(), "") << "it was decided when the sink was made";
    EXPECT_EQ(syslog.receive(), "");
    makeLogSink({std::string(200, 'x'), sockets.syslog})->write({"s", "c", LogLevel::error, "m"});
    EXPECT_EQ(syslog.receive(), "<11>velmora: [c] m");
}

TEST_F(JournalSinkTest, NeverBlocksOnAReaderThatDoesNotRead)
{
    const LogReceiver journal{sockets.journal};
    const auto sink = makeLogSink(sockets);
    const std::string message(2000, 'x');
    for (int i = 0; i < 5000; ++i)
        sink->write({"s", "c", LogLevel::info, message});
    EXPECT_NE(journal.receive(), "") << "what came first is kept";
}

}  // namespace
}  // namespace velmora::linux_backend
