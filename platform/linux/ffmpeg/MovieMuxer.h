// A file of any format that libavformat writes, into whatever takes bytes.
#pragma once

#include "engine/codecs/MovieCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdint>
#include <memory>
#include <optional>

extern "C" {
#include <libavformat/avformat.h>
}

namespace velmora::linux_backend {

/// Used on one thread. Where a call fails, `failure()` says what the receiver of the bytes said, if it was that.
class MovieMuxer {
public:
    /// Null where there is no memory, or libavformat does not write that format.
    static std::unique_ptr<MovieMuxer> create(const char* format, const engine::WriteMovie& write);

    ~MovieMuxer();
    MovieMuxer(const MovieMuxer&) = delete;
    MovieMuxer& operator=(const MovieMuxer&) = delete;

    /// Streams come before begin(). Null: out of memory.
    [[nodiscard]] AVStream* addStream(const AVCodecContext& encoder);
    [[nodiscard]] AVStream* addStream();

    // Each returns 0 or an AVERROR.
    [[nodiscard]] int begin();
    [[nodiscard]] int setOption(const char* name, std::int64_t value);

    /// Takes the packet's bytes. Its times are in `timeBase`.
    [[nodiscard]] int add(AVPacket& packet, const AVStream& stream, AVRational timeBase);
    [[nodiscard]] int end();

    [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }

private:
    explicit MovieMuxer(const engine::WriteMovie& write) : write_(write) { }
    int write(std::span<const std::byte> bytes);
    std::int64_t seek(std::int64_t offset, int whence);

    const engine::WriteMovie& write_;
    AVFormatContext* context_ = nullptr;
    std::int64_t position_ = 0;
    std::int64_t size_ = 0;
    std::optional<Error> failure_;
    bool isRunning_ = false;  ///< begun, and not ended
    bool isGivenUp_ = false;  ///< nobody takes its bytes any more
};

}  // namespace velmora::linux_backend
