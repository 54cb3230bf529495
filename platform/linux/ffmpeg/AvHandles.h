// Owners of FFmpeg's handles. Their free functions are called nowhere else.
#pragma once

#include <memory>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace velmora::linux_backend {

template <typename T, void (*Free)(T**)>
struct AvFree {
    void operator()(T* handle) const { Free(&handle); }
};

using AvFrame = std::unique_ptr<AVFrame, AvFree<AVFrame, av_frame_free>>;
using AvPacket = std::unique_ptr<AVPacket, AvFree<AVPacket, av_packet_free>>;
using AvCodecContext = std::unique_ptr<AVCodecContext, AvFree<AVCodecContext, avcodec_free_context>>;
using AvResampler = std::unique_ptr<SwrContext, AvFree<SwrContext, swr_free>>;
using AvBuffer = std::unique_ptr<AVBufferRef, AvFree<AVBufferRef, av_buffer_unref>>;

struct FreeSwsContext {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
using AvScaler = std::unique_ptr<SwsContext, FreeSwsContext>;

/// Options by name, as libavcodec takes them.
class AvDictionary {
public:
    AvDictionary() = default;
    ~AvDictionary() { av_dict_free(&entries_); }
    AvDictionary(const AvDictionary&) = delete;
    AvDictionary& operator=(const AvDictionary&) = delete;

    /// 0 or an AVERROR.
    int set(const char* key, const char* value) { return av_dict_set(&entries_, key, value, 0); }
    AVDictionary** get() { return &entries_; }

private:
    AVDictionary* entries_ = nullptr;
};

}  // namespace velmora::linux_backend
