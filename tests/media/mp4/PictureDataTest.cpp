#include "media/mp4/PictureData.h"

#include "tests/support/media/MemoryFile.h"

#include <gtest/gtest.h>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

std::vector<std::byte> bytes(std::initializer_list<int> values)
{
    std::vector<std::byte> result;
    for (const auto value : values)
        result.push_back(static_cast<std::byte>(value));
    return result;
}

Track trackWith(std::vector<std::byte> configuration)
{
    Track track;
    track.format = std::make_shared<const FormatDescription>(
        VideoFormat{FourCharacterCode{"avc1"}, 320, 240, ColourDescription::bt709(), std::move(configuration)});
    return track;
}

PictureContent contentOf(const std::vector<std::byte>& picture, int lengthSize = 4)
{
    MemoryFile file{picture};
    const auto track = trackWith(bytes({1, 100, 0, 31, 0xFC | (lengthSize - 1), 0xE1}));
    const auto content = readPictureContent(file, track, {0, static_cast<std::uint32_t>(picture.size()), 0, 0, 0, true});
    EXPECT_TRUE(content);
    return content.value_or(PictureContent{});
}

TEST(PictureData, DecodingCanBeginAtAnIdrPictureAndNotAtAnother)
{
    EXPECT_TRUE(contentOf(bytes({0, 0, 0, 2, 0x65, 1})).startsAfresh);
    EXPECT_FALSE(contentOf(bytes({0, 0, 0, 2, 0x41, 1})).startsAfresh);
    EXPECT_TRUE(contentOf(bytes({0, 2, 0x09, 0x10, 0, 2, 0x65, 1}), 2).startsAfresh);
}

TEST(PictureData, DecodingCanBeginWhereARecoveryPointIsReachedAtOnce)
{
    // Payload 6 of one byte: the count 0 is one bit.
    EXPECT_TRUE(contentOf(bytes({0, 0, 0, 5, 0x06, 6, 1, 0xC4, 0x80, 0, 0, 0, 2, 0x41, 1})).startsAfresh);
    // The count 3 is 00100.
    EXPECT_FALSE(contentOf(bytes({0, 0, 0, 5, 0x06, 6, 1, 0x24, 0x80, 0, 0, 0, 2, 0x41, 1})).startsAfresh);
    // After another message, whose bytes are kept from looking like a start code.
    EXPECT_TRUE(contentOf(bytes({0, 0, 0, 11, 0x06, 5, 3, 0, 0, 3, 1, 6, 1, 0xC4, 0x80, 0, 0, 0, 2, 0x41, 1})).startsAfresh);
}

TEST(PictureData, ParameterSetsCountWhenBothKindsAreThere)
{
    EXPECT_TRUE(contentOf(bytes({0, 0, 0, 2, 0x67, 1, 0, 0, 0, 2, 0x68, 1, 0, 0, 0, 2, 0x65, 1})).hasParameterSets);
    EXPECT_FALSE(contentOf(bytes({0, 0, 0, 2, 0x67, 1, 0, 0, 0, 2, 0x65, 1})).hasParameterSets);
    EXPECT_FALSE(contentOf(bytes({0, 0, 0, 2, 0x68, 1, 0, 0, 0, 2, 0x65, 1})).hasParameterSets);
}

TEST(PictureData, WhatIsNoSequenceOfUnitsHasNothing)
{
    for (const auto& picture :
        {bytes({}), bytes({0, 0}), bytes({0, 0, 0, 0, 0x65}), bytes({0, 0, 0, 9, 0x65, 1}), bytes({0xFF, 0xFF, 0xFF, 0xFF, 0x65})})
        EXPECT_FALSE(contentOf(picture).startsAfresh);
}

TEST(PictureData, WhatPrecedesBytesThatAreNoUnitCountsAndWhatFollowsDoesNot)
{
    EXPECT_TRUE(contentOf(bytes({0, 0, 0, 2, 0x65, 1, 0, 0, 0, 9, 0x41})).startsAfresh);
    EXPECT_FALSE(contentOf(bytes({0, 0, 0, 2, 0x41, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0x65, 1})).startsAfresh);
}

TEST(PictureData, ASampleEntryMayBeWithoutParameterSets)
{
    EXPECT_TRUE(hasParameterSetsInEntry(trackWith(bytes({1, 100, 0, 31, 0xFF, 0xE1}))));
    EXPECT_FALSE(hasParameterSetsInEntry(trackWith(bytes({1, 100, 0, 31, 0xFF, 0xE0}))));
    EXPECT_FALSE(hasParameterSetsInEntry(trackWith({})));
}

}  // namespace
}  // namespace velmora::mp4
