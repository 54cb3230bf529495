// What `velmora record` relies on: what it recorded stays, however the capture ends, and what others made stays too.
#pragma once

#include "base/Result.h"
#include "platform/AssetWriter.h"
#include "platform/FileManager.h"

#include <functional>
#include <memory>

namespace velmora {

/// Called on a thread of the writer's, once for each writer that was to be cancelled: the file is whole, or why it is not. A file in which
/// nothing was recorded is removed, and that is an error too.
using RecordingKept = std::function<void(Result<void>)>;

/// `writers` that, where they are to be cancelled, finish what is in their file instead.
std::shared_ptr<platform::AssetWriterFactory> keepingRecordings(std::shared_ptr<platform::AssetWriterFactory> writers, RecordingKept kept);

/// `files` without the permission to remove any.
std::shared_ptr<platform::FileManager> removingNothing(std::shared_ptr<platform::FileManager> files);

}  // namespace velmora
