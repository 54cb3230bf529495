// Seam: encoding a clip anew, so that it fits where it is to be sent.
#pragma once

#include "platform/ExportSession.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

namespace velmora::platform {

/// What a copy is. All but the first are for where MP4 is not shown by itself; each loses something of the clip.
enum class CopyFormat {
    mp4,  ///< H.264 and AAC
    gif,  ///< at most 256 colours, no sound
    webp,  ///< moving, no sound
    webm,  ///< VP9 or AV1, and Opus
};

struct TranscodingSettings {
    /// The file is never larger, in bytes; 0: as large as a good picture needs.
    std::uint64_t limit = 0;
    /// As many pictures in every second, for editors that stumble over what a screen does. Of MP4 only.
    bool hasConstantRate = false;
    CopyFormat format = CopyFormat::mp4;

    friend bool operator==(const TranscodingSettings&, const TranscodingSettings&) = default;
};

/// What came of it.
struct TranscodingReport {
    bool isCopy = false;  ///< the clip fits as it is: nothing was encoded
    std::uint64_t size = 0;  ///< bytes
    // Where it was encoded:
    std::int32_t width = 0;
    std::int32_t height = 0;
    double pictureRate = 0;  ///< pictures a second, on average
    std::int64_t soundBitRate = 0;  ///< 0 without sound
    double quality = 0;  ///< the encoder's constant rate factor; of WebP 0 to 100, of GIF 0
    int colours = 0;  ///< of GIF, at most
    int rounds = 0;  ///< how often all of it was encoded
};

inline constexpr std::string_view transcodingErrorDomain = "Velmora.Transcoding";

enum class TranscodingErrorCode {
    limitTooSmall = 1,  ///< not even the smallest pictures fit
    missed = 2,  ///< no round had a result within the limit
    unsupported = 3,
    missingEncoder = 4,  ///< this system's libraries lack what the format needs
};

/// An export of the whole clip; a time range fails it.
class TranscodingSession : public ExportSession {
public:
    /// Once completed.
    [[nodiscard]] virtual std::optional<TranscodingReport> report() const = 0;
};

/// The work gets only what the rest of the system leaves of the processors. Main thread or any other.
class ClipTranscoder {
public:
    virtual ~ClipTranscoder() = default;

    /// Opens the asset but reads nothing of it yet. Fails with the system's error where there is no such regular file.
    virtual Result<std::shared_ptr<TranscodingSession>> makeSession(
        const std::filesystem::path& asset, const TranscodingSettings& settings) = 0;
};

}  // namespace velmora::platform
