// Remembers, for the rest of the login session, which encoder ended the program in its trial.
#pragma once

#include "platform/linux/kernel/FileDescriptor.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace velmora::linux_backend {

/// A file that is in `folder` while an encoder is being tried. Whoever finds one that no living process holds knows that the trial before
/// did not end: a driver that crashes takes the program with it. Used on one thread.
class EncoderTrialMark {
public:
    enum class Finding {
        none,  ///< the trial may begin
        crashed,  ///< a trial of this encoder took its program with it
        unknown,  ///< the folder keeps no marks: the trial may begin, but nobody will know how it ended
    };

    /// Sets the mark of `encoder`. Waits while another process tries it. No folder at all, one that is not ours alone, or one in which no
    /// file can be made is `unknown`.
    EncoderTrialMark(const std::filesystem::path& folder, std::string_view encoder);

    /// Removes the mark, unless it was found.
    ~EncoderTrialMark();
    EncoderTrialMark(const EncoderTrialMark&) = delete;
    EncoderTrialMark& operator=(const EncoderTrialMark&) = delete;

    [[nodiscard]] Finding finding() const { return finding_; }

    /// XDG_RUNTIME_DIR, which lasts as long as the login session (XDG Base Directory); empty when there is none.
    static std::filesystem::path sessionFolder();

private:
    /// None: the file was removed meanwhile, by the one who held it.
    std::optional<Finding> set();

    std::filesystem::path path_;
    FileDescriptor file_;
    Finding finding_ = Finding::unknown;
};

}  // namespace velmora::linux_backend
