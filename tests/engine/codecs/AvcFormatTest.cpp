#include "engine/codecs/AvcFormat.h"

#include <gtest/gtest.h>
#include <initializer_list>

namespace velmora::engine {
namespace {

std::vector<std::byte> bytes(std::initializer_list<int> values)
{
    std::vector<std::byte> out;
    for (const int value : values)
        out.push_back(static_cast<std::byte>(value));
    return out;
}

const auto parameterSetsInLengths = bytes({0, 0, 0, 5, 0x67, 100, 0, 31, 0xAC, 0, 0, 0, 3, 0x68, 0xEE, 0x3C});
const auto parameterSetsInStartCodes = bytes({0, 0, 0, 1, 0x67, 100, 0, 31, 0xAC, 0, 0, 1, 0x68, 0xEE, 0x3C});
const auto record = bytes({1, 100, 0, 31, 0xFF, 0xE1, 0, 5, 0x67, 100, 0, 31, 0xAC, 1, 0, 3, 0x68, 0xEE, 0x3C, 0xFD, 0xF8, 0xF8, 0});

TEST(AvcFormat, TheConfigurationIsTheSameFromEitherFraming)
{
    EXPECT_EQ(avcDecoderConfiguration(parameterSetsInLengths), record);
    EXPECT_EQ(avcDecoderConfiguration(parameterSetsInStartCodes), record);
}

TEST(AvcFormat, AConfigurationRecordIsTakenAsItIs)
{
    EXPECT_EQ(avcDecoderConfiguration(record), record);
}

TEST(AvcFormat, OnlyHighProfilesTellTheirChromaFormat)
{
    const auto configuration = avcDecoderConfiguration(bytes({0, 0, 1, 0x67, 77, 0, 31, 0xAC, 0, 0, 1, 0x68, 0xEE}));
    ASSERT_TRUE(configuration);
    EXPECT_EQ(*configuration, bytes({1, 77, 0, 31, 0xFF, 0xE1, 0, 5, 0x67, 77, 0, 31, 0xAC, 1, 0, 2, 0x68, 0xEE}));
    EXPECT_EQ(avcProfile(*configuration), 77);
    EXPECT_EQ(avcProfile(record), 100);
}

TEST(AvcFormat, WithoutParameterSetsThereIsNoConfiguration)
{
    EXPECT_FALSE(avcDecoderConfiguration({}));
    EXPECT_FALSE(avcDecoderConfiguration(bytes({0, 0, 0, 1, 0x65, 1, 2})));
    EXPECT_FALSE(avcDecoderConfiguration(bytes({0, 0, 0, 1, 0x67, 100, 0, 31, 0xAC})));
    EXPECT_FALSE(avcDecoderConfiguration(bytes({0, 0, 0, 9, 0x67, 100, 0, 31})));
}

TEST(AvcFormat, LengthsThatDoNotAgreeWithTheBufferAreRefused)
{
    EXPECT_FALSE(nalUnits(bytes({0, 0, 0, 4, 0x65, 1, 2}), NalFraming::lengthPrefixed));
    EXPECT_FALSE(nalUnits(bytes({0, 0, 0, 1, 0x65, 0, 0}), NalFraming::lengthPrefixed));
    EXPECT_FALSE(nalUnits(bytes({0, 0, 0, 0}), NalFraming::lengthPrefixed));
    EXPECT_EQ(nalUnits(bytes({0, 0, 0, 1, 0x65, 0, 0, 0, 2, 0x41, 7}), NalFraming::lengthPrefixed)->size(), 2U);
}

TEST(AvcFormat, FramingIsToldFromTheFirstBytes)
{
    EXPECT_EQ(framingOf(bytes({0, 0, 1, 0x65})), NalFraming::startCodes);
    EXPECT_EQ(framingOf(bytes({0, 0, 0, 1, 0x65})), NalFraming::startCodes);
    EXPECT_EQ(framingOf(bytes({0, 0, 0, 2, 0x65, 1})), NalFraming::lengthPrefixed);
    EXPECT_EQ(framingOf(bytes({0, 0})), NalFraming::lengthPrefixed);
}

TEST(AvcFormat, AnAccessUnitLosesItsStartCodesDelimitersAndParameterSets)
{
    const auto unit =
        bytes({0, 0, 0, 1, 0x09, 0x10, 0, 0, 0, 1, 0x67, 100, 0, 31, 0, 0, 1, 0x68, 1, 0, 0, 0, 1, 0x06, 5, 0, 0, 1, 0x65, 9, 8, 0, 0});
    EXPECT_EQ(withLengthPrefixes(unit), bytes({0, 0, 0, 2, 0x06, 5, 0, 0, 0, 3, 0x65, 9, 8}));
}

}  // namespace
}  // namespace velmora::engine
