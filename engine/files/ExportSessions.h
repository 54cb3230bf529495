// Exports by this system's own MP4 code.
#pragma once

#include "engine/codecs/SeamCodecs.h"
#include "platform/ExportSession.h"

#include <memory>

namespace velmora::engine {

/// Each session works on a thread of its own and can be cancelled from one block of bytes to the next. The output is written under a
/// hidden name in its folder. Without `codecs` an export of several parts fails where something lies at a seam.
std::shared_ptr<platform::ExportSessionFactory> makeExportSessions(SeamCodecs codecs = {});

}  // namespace velmora::engine
