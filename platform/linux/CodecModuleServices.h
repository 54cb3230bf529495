// The services that need the codec module, made without loading it: it is loaded when the first of them is used.
#pragma once

#include "engine/codecs/PictureScaler.h"
#include "engine/files/Trash.h"
#include "platform/Asset.h"
#include "platform/AssetWriter.h"
#include "platform/CompressionSession.h"

#include <memory>

namespace velmora::linux_backend {

/// Sessions from the module; where it cannot be loaded, creation fails with status -1.
std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions();

/// Writers that encode sound with the module; where it cannot be loaded, a sound input cannot be added. Cancelled recordings go to `trash`.
std::shared_ptr<platform::AssetWriterFactory> makeAssetWriters(std::shared_ptr<const engine::Trash> trash);

/// A reader whose pictures are decoded by the module; where it cannot be loaded, there are no pictures.
std::shared_ptr<platform::AssetReader> makeAssetReader();

/// A scaler from the module.
Result<std::unique_ptr<engine::PictureScaler>> makePictureScaler();

}  // namespace velmora::linux_backend
