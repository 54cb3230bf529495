#include "app/control/BusRequests.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(BusRequests, FilesOfThisComputerAreTakenInTheirOrderWithEveryByteOfTheirNames)
{
    EXPECT_THAT(bus_requests::files({QStringLiteral("file:///clips/b.mp4"), QStringLiteral("file:///clips/a%20%FF.mp4")}),
        ElementsAre("/clips/b.mp4", "/clips/a \xFF.mp4"));
}

TEST(BusRequests, WhatIsNoFileOfThisComputerIsLeftOut)
{
    EXPECT_THAT(bus_requests::files({QStringLiteral("https://example.org/a.mp4"), QStringLiteral("/clips/a.mp4"), QString{},
                    QStringLiteral("file:a.mp4"), QStringLiteral("file:")}),
        IsEmpty());
}

TEST(BusRequests, APathThatGoesOnBehindItsEndIsRefused)
{
    EXPECT_THAT(bus_requests::files({QStringLiteral("file:///clips/a.mp4%00.txt")}), IsEmpty());
    EXPECT_FALSE(bus_requests::file(QStringLiteral("/clips/a.mp4") + QChar{u'\0'} + QStringLiteral(".txt")));
}

TEST(BusRequests, APathIsTakenWhenItIsAbsolute)
{
    EXPECT_EQ(bus_requests::file(QStringLiteral("/clips/ä.mp4")), "/clips/ä.mp4");
    EXPECT_FALSE(bus_requests::file(QStringLiteral("clips/a.mp4")));
    EXPECT_FALSE(bus_requests::file({}));
}

}  // namespace
}  // namespace velmora
