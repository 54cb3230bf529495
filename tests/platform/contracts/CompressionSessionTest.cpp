// The contract of CompressionSession for the fake of the tests, for libavcodec, and for the adapter of a Mac on its stand-in, as kind and as
// unkind as Video Toolbox's pages allow.
#include "platform/fake/FakeCompressionSession.h"
#include "platform/linux/ffmpeg/LibavCompressionSession.h"
#include "platform/mac/MacCompressionSession.h"
#include "tests/platform/contracts/CompressionSessionContract.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/VideoToolboxStandIn.h"

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

class MacEncoder final : public EncoderBackEnd {
public:
    explicit MacEncoder(const standin::VideoToolbox& switches)
    {
        objectsBefore_ = standin::ownedObjectCount();
        standin::videoToolbox() = switches;
    }
    MacEncoder(const MacEncoder&) = delete;
    MacEncoder& operator=(const MacEncoder&) = delete;
    ~MacEncoder() override
    {
        if (standin::videoToolbox().callsBackAfterInvalidate)
            standin::releaseFrames();
        standin::resetVideoToolbox();
        EXPECT_EQ(standin::ownedObjectCount(), objectsBefore_);
    }
    std::shared_ptr<CompressionSessionFactory> makeFactory(engine::KeyFrameRequests requests) override
    {
        return mac_backend::makeCompressionSessions(std::move(requests));
    }

private:
    std::size_t objectsBefore_ = 0;
};

NamedEncoder mac(std::string name, standin::VideoToolbox switches)
{
    return {std::move(name), [switches] { return std::make_unique<MacEncoder>(switches); }};
}

INSTANTIATE_TEST_SUITE_P(BackEnds, CompressionSessionContract,
    testing::Values(NamedEncoder{"Fake", [] { return std::make_unique<FakeEncoder>(); }},
        NamedEncoder{"Libav", [] { return std::make_unique<LibavEncoder>(); }}, mac("MacOnStandIns", {}),
        mac("MacCalledBackWithinTheCall", {.callsBackWithinTheCall = true}),
        mac("MacCalledBackOnManyThreads", {.callsBackOnManyThreads = true}),
        mac("MacCalledBackDuringInvalidate", {.callsBackDuringInvalidate = true}),
        mac("MacCalledBackAfterInvalidate", {.callsBackAfterInvalidate = true})),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
