// Inside the Linux back end: files handed to programs in a sandbox, which cannot open a path outside it (org.freedesktop.portal.FileTransfer,
// version 1).
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// Offers files, one set of them at a time. Main thread only.
class FileTransfer {
public:
    /// The type under which a drag or a clipboard has the key of an offer.
    static constexpr const char* mimeType = "application/vnd.portal.filetransfer";

    /// No message carries more files (D-Bus, `max_message_unix_fds` of the reference bus).
    static constexpr std::size_t filesOfMessage = 16;

    using Completion = UniqueFunction<void(Result<std::string>)>;

    /// On the session's bus, or the one at `busAddress`, as tests have.
    explicit FileTransfer(std::string busAddress = {});
    ~FileTransfer();
    FileTransfer(const FileTransfer&) = delete;
    FileTransfer& operator=(const FileTransfer&) = delete;

    /// Takes the last offer back and makes one of these, to be read. The completion comes exactly once, never before offer() has returned:
    /// the key, or an error where there is no such service, it refuses, none of the files is there, or all that needs longer than `patience`.
    void offer(std::vector<std::filesystem::path> files, std::chrono::milliseconds patience, Completion completion);

    /// Nobody wants the last offer. A completion that it still owes comes with an error.
    void takeBack();

private:
    class Offer;

    const std::string busAddress_;
    std::unique_ptr<Offer> offer_;
};

}  // namespace velmora::linux_backend
