#include "platform/null/NullServices.h"

#include <gtest/gtest.h>

namespace velmora::null_backend {
namespace {

TEST(NullServices, SayWhyNothingCanBeListed)
{
    std::string said;
    makeShareableContent("No display.")->getShareableContent(true, false, [&](Result<platform::ShareableContent> result) {
        said = result.error().localizedDescription;
    });
    EXPECT_EQ(said, "No display.");
}

TEST(NullServices, SayWhyNothingCanBeCaptured)
{
    const auto stream = makeCaptureStreams("No display.")->makeStream(platform::ContentFilter::desktopIndependentWindow({}), {}, {});
    EXPECT_TRUE(stream->addStreamOutput({}, platform::StreamOutputType::screen, nullptr));
    std::string said;
    stream->startCapture([&](Result<void> result) { said = result.error().localizedDescription; });
    EXPECT_EQ(said, "No display.");
    bool stopped = false;
    stream->stopCapture([&](Result<void> result) { stopped = result.has_value(); });
    EXPECT_TRUE(stopped);
}

}  // namespace
}  // namespace velmora::null_backend
