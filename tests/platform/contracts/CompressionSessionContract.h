// What every CompressionSession has to do, whichever encoder it is made for. A back end's test makes an Encoder and instantiates the suite.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "platform/CompressionSession.h"
#include "tests/support/CompressionOutput.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace velmora::test {

/// An encoder, and whatever a test has to know of it.
class EncoderBackEnd {
public:
    virtual ~EncoderBackEnd() = default;

    virtual std::shared_ptr<platform::CompressionSessionFactory> makeFactory(engine::KeyFrameRequests requests) = 0;

    /// Encodes what it is given: its frames can be decoded, and it chooses its key frames.
    [[nodiscard]] virtual bool isReal() const { return true; }

    /// Returns when it is done with pictures that no session wants any more.
    virtual void settle() { }
};

struct NamedEncoder {
    std::string name;
    std::function<std::unique_ptr<EncoderBackEnd>()> make;
};

class CompressionSessionContract : public testing::TestWithParam<NamedEncoder> {
protected:
    static constexpr std::int32_t width = 128;
    static constexpr std::int32_t height = 96;

    std::shared_ptr<platform::CompressionSession> makeSession();

    /// Of the size of the session, different for each number.
    static PixelBufferRef picture(int number);

    /// Submits that many at 60 a second, from `first` on.
    static void submit(platform::CompressionSession& session, int count, int first = 0);

    /// The samples among the calls.
    [[nodiscard]] std::vector<SampleBufferRef> samples() const;

    const std::unique_ptr<EncoderBackEnd> encoder_ = GetParam().make();
    engine::KeyFrameRequests requests_;
    const std::shared_ptr<CompressionOutput> output_ = std::make_shared<CompressionOutput>();
    const std::shared_ptr<platform::CompressionSessionFactory> factory_ = encoder_->makeFactory(requests_);
};

}  // namespace velmora::test
