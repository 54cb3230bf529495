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

TEST(BusRequests, APathOfAnyBytesIsTheSameAfterItsWayOverTheBus)
{
    for (const std::filesystem::path path : {"/clips/ä b%20.mp4", "/caf\xE9\xFF/a b%20?#.mp4", "/file:/a.mp4", "/\xEF\xBF\xBD.mp4"})
        EXPECT_EQ(bus_requests::file(QString::fromUtf8(bus_requests::text(path).toUtf8())), path);
    EXPECT_EQ(bus_requests::text("/clips/ä b.mp4"), QStringLiteral("/clips/ä b.mp4")) << "as people read it";
    EXPECT_FALSE(bus_requests::file(QStringLiteral("file:clip.mp4")));
}

TEST(BusRequests, APathIsTakenWhenItIsAbsolute)
{
    EXPECT_EQ(bus_requests::file(QStringLiteral("/clips/ä.mp4")), "/clips/ä.mp4");
    EXPECT_FALSE(bus_requests::file(QStringLiteral("clips/a.mp4")));
    EXPECT_FALSE(bus_requests::file({}));
}

TEST(BusRequests, OptionsOfACallThatAreUnknownOrOfAnotherKindAreLeftOut)
{
    const auto all = bus_requests::options(
        {{QStringLiteral("caller-tells"), true}, {QStringLiteral("sound"), QStringLiteral("Müsic")}, {QStringLiteral("colour"), 7}});
    EXPECT_TRUE(all.callerTells);
    EXPECT_EQ(all.sound, "Müsic");
    const auto none = bus_requests::options({{QStringLiteral("caller-tells"), QStringLiteral("true")}, {QStringLiteral("sound"), 7}});
    EXPECT_FALSE(none.callerTells);
    EXPECT_EQ(none.sound, std::nullopt);
    EXPECT_FALSE(bus_requests::options({}).callerTells);
    EXPECT_FALSE(bus_requests::options({{QStringLiteral("caller-tells"), false}}).callerTells);
}

}  // namespace
}  // namespace velmora
