// A capture stream put together from a source of pictures and a source of sound.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "engine/pictures/VideoSource.h"
#include "engine/sound/AudioSource.h"
#include "engine/sound/SoundingApplications.h"
#include "platform/CaptureStream.h"
#include "platform/ShareableContent.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::engine {

/// The parts of a stream, made when one is.
struct CaptureStreamParts {
    std::function<std::unique_ptr<VideoSource>(const platform::ContentFilter&, const platform::StreamConfiguration&)> makeVideoSource;
    /// May return none: then streams are without sound.
    std::function<std::unique_ptr<AudioSource>()> makeAudioSource;
    /// Whose sound goes with what a filter captures; none: no sound. Empty: that of the application that owns the window.
    std::function<std::optional<AudioTarget>(const platform::ContentFilter&)> audioTarget = {};
    /// Asked for the processes that own other applications' windows.
    std::shared_ptr<platform::ShareableContentProvider> shareableContent;
    /// What plays anywhere, for when nothing is heard; may wait for the sound server, and fails where there is none. Empty: nobody can tell why.
    std::function<Result<std::vector<SoundStream>>()> listSoundStreams = {};
    Processes processes = {};
    /// While a stream runs, whoever asks here is given a picture to make the key frame of.
    KeyFrameRequests keyFrameRequests = {};
};

/// Streams that do without sound where it cannot be had: a start fails only if the source of pictures does.
std::shared_ptr<platform::CaptureStreamFactory> makeCaptureStreams(CaptureStreamParts parts);

}  // namespace velmora::engine
