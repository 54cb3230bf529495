// A sample: a picture, a block of sound or a compressed frame, with its time, its format and its attachments.
#pragma once

#include "media/FormatDescription.h"
#include "media/MediaTime.h"
#include "media/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace velmora {

/// Bytes that somebody else owns and nobody changes: a codec's packet, a sound server's block. Sharing it copies nothing.
struct DataBlock {
    std::span<const std::byte> bytes;
    std::shared_ptr<const void> owner;

    /// A block that owns `bytes`.
    static DataBlock owning(std::vector<std::byte> bytes);
};

/// One dictionary of attachments: few entries, looked up by key.
class AttachmentDictionary {
public:
    using Value = std::variant<bool, std::int64_t, double, std::string>;

    AttachmentDictionary() = default;
    AttachmentDictionary(std::initializer_list<std::pair<std::string_view, Value>> entries);

    /// The value stored under `key`; none when the key is missing.
    [[nodiscard]] const Value* find(std::string_view key) const;

    /// The Boolean stored under `key`; false when the key is missing or its value is not a Boolean.
    [[nodiscard]] bool boolean(std::string_view key) const;

    void set(std::string_view key, Value value);

private:
    std::vector<std::pair<std::string, Value>> entries_;
};

using AttachmentsArray = std::vector<AttachmentDictionary>;

namespace attachment_key {
inline constexpr std::string_view notSync = "NotSync";  ///< Boolean: the sample is not a sync sample
inline constexpr std::string_view dependsOnOthers = "DependsOnOthers";  ///< Boolean: decoding needs other samples
}  // namespace attachment_key

/// Immutable once shared; passed between queues by reference. Either `imageBuffer` (a picture) or `data` (everything else) is set.
struct SampleBuffer {
    FormatDescriptionRef format;
    MediaTime presentationTimeStamp;
    MediaTime duration;  ///< invalid when unknown
    std::int64_t sampleCount = 1;  ///< frames of sound in `data` for "lpcm"; 1 for everything else
    DataBlock data;
    PixelBufferRef imageBuffer;
    /// One dictionary for each sample, or none at all. Shared, because nearly every frame has one of two values.
    std::shared_ptr<const AttachmentsArray> attachments;

    /// True unless the first attachment dictionary says that the sample is not a sync sample or depends on others.
    [[nodiscard]] bool isSync() const;

    /// The attachments of a key frame and of a frame that needs others, as compression sessions attach them.
    static const std::shared_ptr<const AttachmentsArray>& syncAttachments();
    static const std::shared_ptr<const AttachmentsArray>& notSyncAttachments();
};

using SampleBufferRef = std::shared_ptr<const SampleBuffer>;

}  // namespace velmora
