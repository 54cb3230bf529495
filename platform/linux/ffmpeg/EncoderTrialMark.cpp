#include "platform/linux/ffmpeg/EncoderTrialMark.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace velmora::linux_backend {

namespace {

// A folder that others may write to could keep us from any encoder, or lead us anywhere.
bool isOursAlone(const std::filesystem::path& folder)
{
    struct stat status { };
    return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid()
        && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace

EncoderTrialMark::EncoderTrialMark(const std::filesystem::path& folder, std::string_view encoder)
{
    if (folder.empty() || !isOursAlone(folder))
        return;
    path_ = folder / ("velmora-trial-" + std::string{encoder});
    std::optional<Finding> finding;
    while (!(finding = set())) { }
    finding_ = *finding;
}

EncoderTrialMark::~EncoderTrialMark()
{
    if (finding_ == Finding::none)
        ::unlink(path_.c_str());
}

std::optional<EncoderTrialMark::Finding> EncoderTrialMark::set()
{
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    file_ = FileDescriptor{::open(path_.c_str(), flags, S_IRUSR | S_IWUSR)};
    struct stat status { };
    if (!file_ || ::fstat(file_.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return Finding::unknown;
    // The lock goes with its process, the mark stays: this is how a running trial is told from one that crashed.
    int locked = 0;
    do
        locked = ::flock(file_.get(), LOCK_EX);
    while (locked != 0 && errno == EINTR);
    if (locked != 0 || ::fstat(file_.get(), &status) != 0)
        return Finding::unknown;
    if (status.st_nlink == 0)
        return std::nullopt;
    // An empty file was made just now, by us or by somebody who died before the trial.
    if (status.st_size > 0)
        return Finding::crashed;
    return ::write(file_.get(), "1", 1) == 1 ? Finding::none : Finding::unknown;
}

std::filesystem::path EncoderTrialMark::sessionFolder()
{
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return folder ? folder : "";
}

}  // namespace velmora::linux_backend
