// One saved clip.
#pragma once

#include "base/SerialQueue.h"
#include "media/MediaTime.h"
#include "media/PixelBuffer.h"
#include "platform/Asset.h"
#include "platform/Clock.h"
#include "platform/FileManager.h"

#include <QUuid>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

/// What files are described with.
struct ClipServices {
    std::shared_ptr<platform::FileManager> fileManager;
    std::shared_ptr<platform::AssetReader> assetReader;
    std::shared_ptr<platform::Clock> clock;
    std::shared_ptr<Executor> mainExecutor;
};

/// Describes a file as it was when it was loaded. Equal when all fields are.
struct ClipItem {
    using Date = std::chrono::system_clock::time_point;

    QUuid id = QUuid::createUuid();
    std::filesystem::path url;
    Date createdAt;  ///< of the file; when it was loaded, if the file does not say
    double duration = 0;  ///< seconds, finite; 0 when it could not be loaded
    std::int64_t fileSize = 0;  ///< bytes

    [[nodiscard]] std::string filename() const { return url.filename().string(); }

    /// "62:05": whole minutes and seconds, rounded.
    [[nodiscard]] std::string formattedDuration() const;

    /// "1.5 MB": in bytes, KB or MB of 1000, written as the user's locale writes numbers.
    [[nodiscard]] std::string formattedFileSize() const;

    /// Describes `url`; none when there is no such file. `completion` is called exactly once, on the main thread.
    static void load(
        const std::filesystem::path& url, const ClipServices& services, UniqueFunction<void(std::optional<ClipItem>)> completion);

    /// A still picture of the clip, at most 320 x 180. None on failure. `completion` is called exactly once, on the main thread.
    void generateThumbnail(
        const ClipServices& services, UniqueFunction<void(PixelBufferRef)> completion, MediaTime time = {600, 600}) const;

    friend bool operator==(const ClipItem&, const ClipItem&) = default;
};

}  // namespace velmora
