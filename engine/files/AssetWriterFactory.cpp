#include "engine/files/AssetWriter.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/RecordingLayout.h"

#include <cerrno>

namespace velmora::engine {

Result<std::shared_ptr<platform::AssetWriter>> AssetWriterFactory::makeAssetWriter(
    const std::filesystem::path& outputURL, platform::AssetFileType)
{
    auto file = mp4::PosixFile::create(outputURL);
    if (!file)
        return fail(file.error());
    auto encoders = [ready = encoders_](const platform::AudioOutputSettings& settings) { return ready->take(settings); };
    auto writer = AssetWriter::create(std::move(*file), std::move(encoders), outputURL, cancelled_);
    if (!writer) {
        // Another recorder was quicker: the name is taken.
        const auto& error = writer.error();
        const bool isInUse = error.domain == mp4::errorDomain && error.code == static_cast<int>(mp4::ErrorCode::inUse);
        return fail(isInUse ? posixError(EEXIST, outputURL.filename().native()) : error);
    }
    // What is encoded from now on finds the writer: whoever makes it holds the pictures up for so long.
    (*writer)->askForKeyFrame(keyFrameRequests_);
    return std::shared_ptr<platform::AssetWriter>{std::move(*writer)};
}

}  // namespace velmora::engine
