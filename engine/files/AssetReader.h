// What is in a file of media, by this system's own MP4 reader and a decoder of the back end.
#pragma once

#include "base/SerialQueue.h"
#include "engine/codecs/PictureDecoder.h"
#include "platform/Asset.h"

#include <functional>
#include <string_view>

namespace velmora::engine {

/// The domain of errors that are neither the file system's nor those of reading and decoding.
inline constexpr std::string_view assetReaderErrorDomain = "Velmora.AssetReader";

enum class AssetReaderErrorCode : int {
    invalidRequest = 1,  ///< not a time, or not a size
    nothingInside = 2,  ///< no samples, or no pictures
    tooLarge = 3,  ///< more would have to be decoded than one picture is worth
};

/// Reads MP4 files of any origin, whole ones and unfinished recordings as far as they go. Durations and pictures have a queue each, so a
/// picture that takes long keeps no list waiting. Completions come on those queues. How much a file can make this read and decode
/// is bounded.
class AssetReader final : public platform::AssetReader {
public:
    /// `makeDecoder` is called on the queue of the pictures.
    explicit AssetReader(PictureDecoderFactory makeDecoder);

    void loadDuration(const std::filesystem::path& file, UniqueFunction<void(Result<MediaTime>)> completion) override;
    void loadPictureTimes(const std::filesystem::path& file, UniqueFunction<void(Result<std::vector<MediaTime>>)> completion) override;
    void generateImage(const std::filesystem::path& file, MediaTime time, std::int32_t maximumWidth, std::int32_t maximumHeight,
        UniqueFunction<void(Result<PixelBufferRef>)> completion) override;

private:
    const PictureDecoderFactory makeDecoder_;
    SerialQueue durations_{"com.velmora.asset.durations", SerialQueue::QualityOfService::utility};
    SerialQueue pictures_{"com.velmora.asset.pictures", SerialQueue::QualityOfService::utility};
};

}  // namespace velmora::engine
