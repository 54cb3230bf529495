#include "platform/mac/MacLogSink.h"

#include "tests/platform/mac/standins/LogStandIn.h"

#include <gmock/gmock.h>
#include <thread>

namespace velmora::test {
namespace {

using platform::LogLevel;
using testing::ElementsAre;
using testing::SizeIs;

// By the numbers that the system's own page has for them.
constexpr unsigned standardType = 0;
constexpr unsigned infoType = 1;
constexpr unsigned errorType = 16;

TEST(MacLogSink, WritesEachRecordToTheLogOfItsSubsystemAndCategory)
{
    static_cast<void>(standin::takeLogLines());
    const auto sink = mac_backend::makeLogSink();
    sink->write({"com.velmora", "capture", LogLevel::info, "one"});
    sink->write({"com.velmora", "writer", LogLevel::standard, "two"});
    sink->write({"com.velmora", "capture", LogLevel::error, "three"});
    EXPECT_THAT(standin::takeLogLines(),
        ElementsAre(standin::LogLine{"com.velmora", "capture", infoType, "one"},
            standin::LogLine{"com.velmora", "writer", standardType, "two"},
            standin::LogLine{"com.velmora", "capture", errorType, "three"}));
}

TEST(MacLogSink, AMessageIsNoFormatAndNeedsNoNulBehindIt)
{
    static_cast<void>(standin::takeLogLines());
    const std::string_view text = "100 %s of it and more";
    mac_backend::makeLogSink()->write({"com.velmora", "capture", LogLevel::info, text.substr(0, 6)});
    EXPECT_THAT(standin::takeLogLines(), ElementsAre(standin::LogLine{"com.velmora", "capture", infoType, "100 %s"}));
}

TEST(MacLogSink, TakesRecordsFromManyThreads)
{
    static_cast<void>(standin::takeLogLines());
    const auto sink = mac_backend::makeLogSink();
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&sink] {
            for (int count = 0; count < 100; ++count)
                sink->write({"com.velmora", "many", LogLevel::info, "x"});
        });
    }
    for (auto& each : threads)
        each.join();
    EXPECT_THAT(standin::takeLogLines(), SizeIs(400));
}

}  // namespace
}  // namespace velmora::test
