// The contract of CompressionSession for the adapter of a Mac on its stand-in, as kind and as unkind as Video Toolbox's pages allow.
#include "platform/mac/MacCompressionSession.h"
#include "tests/platform/contracts/CompressionSessionContract.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/VideoToolboxStandIn.h"

namespace velmora::test {
namespace {

using platform::CompressionSessionFactory;

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
        standin::releaseFrames();
        standin::resetVideoToolbox();
        EXPECT_EQ(standin::ownedObjectCount(), objectsBefore_);
    }
    std::shared_ptr<CompressionSessionFactory> makeFactory(engine::KeyFrameRequests requests) override
    {
        return mac_backend::makeCompressionSessions(std::move(requests));
    }
    void settle() override { standin::releaseFrames(); }

private:
    std::size_t objectsBefore_ = 0;
};

NamedEncoder mac(std::string name, standin::VideoToolbox switches)
{
    return {std::move(name), [switches] { return std::make_unique<MacEncoder>(switches); }};
}

INSTANTIATE_TEST_SUITE_P(Mac, CompressionSessionContract,
    testing::Values(mac("OnStandIns", {}), mac("CalledBackWithinTheCall", {.callsBackWithinTheCall = true}),
        mac("CalledBackOnManyThreads", {.callsBackOnManyThreads = true}),
        mac("CalledBackDuringInvalidate", {.callsBackDuringInvalidate = true}),
        mac("CalledBackAfterInvalidate", {.callsBackAfterInvalidate = true})),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
