// Video compression by Video Toolbox.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "platform/CompressionSession.h"

#include <memory>

namespace velmora::mac_backend {

/// - encodeFrame fails with kVTParameterErr for a picture of another size or format and for a time that is not after the one before.
/// - A picture 0.5 s or more after the last key frame is asked of the encoder as a key frame, as is the first that is submitted after one
///   was asked for. The encoder may refuse; then the next picture is asked for.
/// - Frames are called back on a thread of the session's own. The encoder's callbacks come in their order; a frame that has been overtaken
///   was dropped, and what comes of it later is ignored.
/// - From the output callback completeFrames fails; invalidate there, and destruction, end the session with the running callback.
/// - Statuses are Video Toolbox's.
std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests = {});

}  // namespace velmora::mac_backend
