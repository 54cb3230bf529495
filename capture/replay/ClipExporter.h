// Writes what was extracted from a rolling buffer to one MP4 file.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "capture/replay/RollingBuffer.h"
#include "platform/AssetWriter.h"
#include "platform/FileManager.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>

namespace velmora {

/// Compressed pictures are written as they are; sound is encoded to AAC. Nothing is moved in time: the file begins at the extraction's
/// startPTS. Holds nothing but its services, so exports know nothing of each other and may outlive the exporter.
class ClipExporter {
public:
    using ExportCompletion = UniqueFunction<void(Result<std::filesystem::path>)>;

    /// Returns once the time has passed.
    using Suspension = std::function<void(std::chrono::nanoseconds)>;

    /// How long an export waits before it asks again whether an input can take more.
    static constexpr std::chrono::nanoseconds readinessInterval{1'000'000};

    /// `suspend` is called on the queue of an export, which nobody else waits for.
    ClipExporter(std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<platform::FileManager> fileManager,
        Suspension suspend = suspendThisThread);
    ClipExporter(const ClipExporter&) = delete;
    ClipExporter& operator=(const ClipExporter&) = delete;

    /// Writes `extraction` to `outputURL`, replacing a file there. Returns at once; each export runs on a queue "com.velmora.exporter" of
    /// its own. `completion` is called exactly once, on any thread but the caller's, with `outputURL` or with the Error of a
    /// ClipExporterError. Sound that begins before startPTS is left out, as is all sound if the file can hold none; a sample that is
    /// refused is logged and left out. After an error what has been written so far stays where it is.
    void exportClip(RollingBufferExtraction extraction, std::filesystem::path outputURL, ExportCompletion completion) const;

private:
    static void suspendThisThread(std::chrono::nanoseconds duration);

    const std::shared_ptr<platform::AssetWriterFactory> writers_;
    const std::shared_ptr<platform::FileManager> fileManager_;
    const Suspension suspend_;
};

}  // namespace velmora
