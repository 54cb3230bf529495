// The log on Linux: the systemd journal, or syslog where there is none.
#pragma once

#include "platform/LogSink.h"

#include <filesystem>
#include <memory>

namespace velmora::linux_backend {

struct LogSockets {
    std::filesystem::path journal = "/run/systemd/journal/socket";
    std::filesystem::path syslog = "/dev/log";
};

/// Writes each record as one datagram: to the journal in its native protocol (systemd's JOURNAL_NATIVE_PROTOCOL), with the fields MESSAGE,
/// PRIORITY, SYSLOG_IDENTIFIER, VELMORA_SUBSYSTEM, VELMORA_CATEGORY and VELMORA_LEVEL; else to syslog (RFC 3164) as
/// "velmora: [category] message". Never blocks: a record that the socket cannot take at once is lost. With neither socket there is no log.
std::shared_ptr<platform::LogSink> makeLogSink(const LogSockets& sockets = {});

}  // namespace velmora::linux_backend
