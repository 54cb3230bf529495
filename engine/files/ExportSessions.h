// Exports by this system's own MP4 code.
#pragma once

#include "base/SerialQueue.h"
#include "engine/codecs/SeamCodecs.h"
#include "media/mp4/File.h"
#include "platform/ExportSession.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::engine {

/// What a session writes. Made and used once, on the session's thread.
class ExportWork {
public:
    struct Surroundings {
        const TimeRange& range;  ///< wholeClip, if none was given
        const std::vector<TimeRange>& cuts;
        std::filesystem::path folder;  ///< of the output
        /// The file that becomes the output: made when it is asked for, once. Null: the session is cancelled.
        std::function<Result<mp4::File*>()> createOutput;
        /// An empty file on the output's volume that nobody sees; it goes with its object.
        std::function<Result<std::unique_ptr<mp4::File>>()> createScratch;
        /// Takes values from 0 to 1; false: the session is cancelled.
        std::function<bool(double)> progress;
    };

    virtual ~ExportWork() = default;

    /// Fills the output; false where it was cancelled.
    virtual Result<bool> write(const Surroundings& surroundings) = 0;
};

/// A session that does this work on a thread of its own, called after `label`. Cancelling removes the output and
/// completes the session at once; the work hears of it by its progress, and until then it is left behind (base/LeftBehindWork.h).
std::shared_ptr<platform::ExportSession> makeExportSession(
    std::unique_ptr<ExportWork> work, std::string label, SerialQueue::QualityOfService qualityOfService);

/// Each session works on a thread of its own and can be cancelled from one block of bytes to the next. The output is written under a
/// hidden name in its folder. Without `codecs` an export of several parts fails where something lies at a seam.
std::shared_ptr<platform::ExportSessionFactory> makeExportSessions(SeamCodecs codecs = {});

}  // namespace velmora::engine
