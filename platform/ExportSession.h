// Seam: writing parts of media files to a file of their own.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/TimeRange.h"
#include "platform/AssetWriter.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::platform {

enum class ExportPreset { passthrough };  ///< nothing is encoded anew but what lies at a seam of two parts

/// Exports once. The setters come before exportAsynchronously(); only setOutputURL() is required. cancelExport(), the getters: any thread.
///
/// unknown -> exportAsynchronously -> waiting -> exporting -> completed, failed or cancelled. The output has its name only when it is
/// whole and on the disk; a session that fails, is cancelled or destroyed leaves nothing. The asset is only read.
class ExportSession {
public:
    enum class Status { unknown, waiting, exporting, completed, failed, cancelled };

    /// Another name for an output whose name has been taken meanwhile; called on any thread. A name that it gave before, or none, ends the
    /// export.
    using NextOutputURL = std::function<std::optional<std::filesystem::path>()>;

    /// Cancels, without waiting for the disk.
    virtual ~ExportSession() = default;

    virtual void setOutputURL(const std::filesystem::path& outputURL) = 0;
    virtual void setNextOutputURL(NextOutputURL next) = 0;
    virtual void setOutputFileType(AssetFileType fileType) = 0;

    /// On the time line of the asset, in any scale; all of it if never called. An end past the asset's counts as its end; an empty
    /// range, and one that begins past the end, fail the export.
    virtual void setTimeRange(const TimeRange& range) = 0;

    /// What of that range is left out, in any order and on the same time line; overlapping cuts are one, and what they have beyond the range
    /// is nothing. What is left follows one upon the other. Cuts that leave nothing fail the export.
    virtual void setCuts(std::vector<TimeRange> cuts) = 0;

    /// `completion` is called exactly once, on any thread, with the status final; also when the session is destroyed meanwhile.
    virtual void exportAsynchronously(UniqueFunction<void()> completion) = 0;

    /// The completion is called before this returns, or soon where the export is just getting its name: one that has finished is not
    /// undone. Nothing waits for what is being encoded or written.
    virtual void cancelExport() = 0;

    /// The name that the output has, once completed.
    [[nodiscard]] virtual std::filesystem::path outputURL() const = 0;
    [[nodiscard]] virtual Status status() const = 0;
    [[nodiscard]] virtual std::optional<Error> error() const = 0;  ///< if it failed
    [[nodiscard]] virtual double progress() const = 0;  ///< 0 to 1; 1 only when completed
};

class ExportSessionFactory {
public:
    virtual ~ExportSessionFactory() = default;

    /// Opens the asset but reads nothing of it yet. Fails with the system's error where there is no such regular file.
    virtual Result<std::shared_ptr<ExportSession>> makeExportSession(const std::filesystem::path& asset, ExportPreset preset) = 0;

    /// The same for all of several assets, one after the other; range and cuts are not for such a session. Assets whose pictures or sound are
    /// not of one kind fail the export, in words that say what differs. Precondition: there is at least one.
    virtual Result<std::shared_ptr<ExportSession>> makeJoinSession(
        const std::vector<std::filesystem::path>& assets, ExportPreset preset) = 0;
};

}  // namespace velmora::platform
