// Seam: all platform services of this process, and the one function that makes them.
#pragma once

#include "platform/AssetRepairer.h"
#include "platform/AssetWriter.h"
#include "platform/CaptureStream.h"
#include "platform/CompressionSession.h"
#include "platform/FileManager.h"
#include "platform/LogSink.h"
#include "platform/Screens.h"
#include "platform/ShareableContent.h"

#include <memory>

namespace velmora::platform {

/// Every member is set. A service that this desktop cannot give is one that says why when it is used.
struct PlatformServices {
    std::shared_ptr<LogSink> logSink;
    std::shared_ptr<FileManager> fileManager;
    std::shared_ptr<Screens> screens;
    std::shared_ptr<ShareableContentProvider> shareableContent;
    std::shared_ptr<CaptureStreamFactory> captureStreams;
    std::shared_ptr<CompressionSessionFactory> compressionSessions;
    std::shared_ptr<AssetWriterFactory> assetWriters;
    std::shared_ptr<AssetRepairer> assetRepairer;
};

/// Chooses the back end for the desktop that this process runs on. Once, on the main thread, at program start; connects to nothing
/// until a service is used.
PlatformServices makePlatformServices();

}  // namespace velmora::platform
