// The services that need the codec module, made without loading it: it is loaded when the first of them is used.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "engine/codecs/PictureScaler.h"
#include "engine/codecs/SeamCodecs.h"
#include "engine/files/AssetWriter.h"
#include "platform/Asset.h"
#include "platform/AssetWriter.h"
#include "platform/ClipTranscoder.h"
#include "platform/CompressionSession.h"

#include <memory>

namespace velmora::linux_backend {

/// Sessions from the module, which make the key frames that are asked for; where it cannot be loaded, creation fails with status -1.
std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests = {});

/// Writers that encode sound with the module, and ask for the key frame that their file begins with; where it cannot be loaded, a sound input
/// cannot be added.
std::shared_ptr<platform::AssetWriterFactory> makeAssetWriters(
    engine::CancelledRecordings cancelled, engine::KeyFrameRequests keyFrameRequests = {});

/// A reader whose pictures are decoded by the module; where it cannot be loaded, there are no pictures.
std::shared_ptr<platform::AssetReader> makeAssetReader();

/// What encodes the seams of clips, from the module; where it cannot be loaded, each of them fails.
engine::SeamCodecs makeSeamCodecs();

/// A transcoder by the module's codecs, or for other formats than MP4 those of the movie module; where it cannot be loaded, its sessions fail.
std::shared_ptr<platform::ClipTranscoder> makeClipTranscoder();

/// A scaler from the module.
Result<std::unique_ptr<engine::PictureScaler>> makePictureScaler();

}  // namespace velmora::linux_backend
