#include "platform/linux/JournalSink.h"

#include "platform/linux/kernel/FileDescriptor.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

using platform::LogLevel;
using platform::LogRecord;

constexpr std::string_view identifier = "velmora";

int priorityOf(LogLevel level)
{
    switch (level) {
    case LogLevel::info:
        return LOG_INFO;
    case LogLevel::standard:
        return LOG_NOTICE;
    case LogLevel::error:
        return LOG_ERR;
    }
    return LOG_NOTICE;
}

std::string_view nameOf(LogLevel level)
{
    switch (level) {
    case LogLevel::info:
        return "info";
    case LogLevel::standard:
        return "default";
    case LogLevel::error:
        return "error";
    }
    return "default";
}

// A value with a line break is preceded by its length (64 bits, little endian).
void appendField(std::string& datagram, std::string_view name, std::string_view value)
{
    datagram += name;
    if (value.find('\n') == std::string_view::npos) {
        datagram += '=';
    } else {
        datagram += '\n';
        for (unsigned shift = 0; shift < 64; shift += 8)
            datagram += static_cast<char>((static_cast<std::uint64_t>(value.size()) >> shift) & 0xFFU);
    }
    datagram += value;
    datagram += '\n';
}

std::string journalDatagram(const LogRecord& record)
{
    std::string datagram;
    datagram.reserve(record.message.size() + 192);
    appendField(datagram, "MESSAGE", record.message);
    appendField(datagram, "PRIORITY", std::to_string(priorityOf(record.level)));
    appendField(datagram, "SYSLOG_IDENTIFIER", identifier);
    appendField(datagram, "VELMORA_SUBSYSTEM", record.subsystem);
    appendField(datagram, "VELMORA_CATEGORY", record.category);
    appendField(datagram, "VELMORA_LEVEL", nameOf(record.level));
    return datagram;
}

std::string syslogDatagram(const LogRecord& record)
{
    std::string datagram = "<" + std::to_string(LOG_USER | priorityOf(record.level)) + ">";
    datagram += identifier;
    datagram += ": [";
    datagram += record.category;
    datagram += "] ";
    datagram += record.message;
    return datagram;
}

FileDescriptor connectDatagram(const std::filesystem::path& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto& name = path.native();
    if (name.empty() || name.size() >= sizeof(address.sun_path))
        return {};
    std::memcpy(address.sun_path, name.c_str(), name.size());
    FileDescriptor socket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (!socket || ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        return {};
    return socket;
}

class SocketSink final : public platform::LogSink {
public:
    using Format = std::string (*)(const LogRecord&);

    SocketSink(FileDescriptor socket, Format format) : socket_(std::move(socket)), format_(format) { }

    void write(const LogRecord& record) noexcept override
    {
        try {
            const std::string datagram = format_(record);
            static_cast<void>(::send(socket_.get(), datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
        } catch (const std::bad_alloc&) {
            // A log line is not worth ending a recording.
        }
    }

private:
    FileDescriptor socket_;
    Format format_;
};

class NoLog final : public platform::LogSink {
public:
    void write(const LogRecord&) noexcept override { }
};

}  // namespace

std::shared_ptr<platform::LogSink> makeLogSink(const LogSockets& sockets)
{
    if (auto journal = connectDatagram(sockets.journal))
        return std::make_shared<SocketSink>(std::move(journal), journalDatagram);
    if (auto syslog = connectDatagram(sockets.syslog))
        return std::make_shared<SocketSink>(std::move(syslog), syslogDatagram);
    return std::make_shared<NoLog>();
}

}  // namespace velmora::linux_backend
