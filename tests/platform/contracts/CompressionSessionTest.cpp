// The contract of CompressionSession for the fake of the tests and for libavcodec.
#include "platform/fake/FakeCompressionSession.h"
#include "platform/linux/ffmpeg/LibavCompressionSession.h"
#include "tests/platform/contracts/CompressionSessionContract.h"

namespace velmora::test {
namespace {

using platform::CompressionSessionFactory;

class FakeEncoder final : public EncoderBackEnd {
public:
    std::shared_ptr<CompressionSessionFactory> makeFactory(engine::KeyFrameRequests) override
    {
        return std::make_shared<fake::FakeCompressionSessions>();
    }
    [[nodiscard]] bool isReal() const override { return false; }
};

class LibavEncoder final : public EncoderBackEnd {
public:
    std::shared_ptr<CompressionSessionFactory> makeFactory(engine::KeyFrameRequests requests) override
    {
        return std::make_shared<linux_backend::LibavCompressionSessionFactory>(std::move(requests));
    }
};

INSTANTIATE_TEST_SUITE_P(BackEnds, CompressionSessionContract,
    testing::Values(NamedEncoder{"Fake", [] { return std::make_unique<FakeEncoder>(); }},
        NamedEncoder{"Libav", [] { return std::make_unique<LibavEncoder>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
