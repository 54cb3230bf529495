#include "platform/mac/MacPictureDecoder.h"

#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/DecompressionStandIn.h"

#include <array>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using mac_backend::makePictureDecoder;
using testing::ElementsAre;

constexpr std::array first{std::byte{1}, std::byte{2}};
constexpr std::array second{std::byte{3}};

VideoFormat format(const char (&codec)[5] = "avc1", std::int32_t width = 1920, std::int32_t height = 1080)
{
    return {.codec = FourCharacterCode{codec},
        .width = width,
        .height = height,
        .colour = {},
        .decoderConfiguration = {std::byte{1}, std::byte{100}, std::byte{0}, std::byte{31}}};
}

class MacPictureDecoderTest : public testing::Test {
protected:
    MacPictureDecoderTest() { standin::decompression() = {}; }
    ~MacPictureDecoderTest() override
    {
        EXPECT_EQ(standin::decompression().sessions, 0);
        EXPECT_EQ(standin::ownedObjectCount(), 0U);
    }
    MacPictureDecoderTest(const MacPictureDecoderTest&) = delete;
    MacPictureDecoderTest& operator=(const MacPictureDecoderTest&) = delete;
};

TEST_F(MacPictureDecoderTest, PutsOutTheRequestedPictureAloneAndScaledToFit)
{
    const auto decoder = makePictureDecoder(format(), {.time = 900, .maximumWidth = 320, .maximumHeight = 320});
    ASSERT_TRUE(decoder);
    const auto before = (*decoder)->decode(first, 0);
    ASSERT_TRUE(before);
    EXPECT_EQ(*before, nullptr);
    const auto picture = (*decoder)->decode(second, 900);
    ASSERT_TRUE(picture);
    ASSERT_NE(*picture, nullptr);
    EXPECT_EQ((*picture)->width, 320);
    EXPECT_EQ((*picture)->height, 180);
    EXPECT_EQ((*picture)->format, FourCharacterCode{"BGRA"});
    const auto& record = standin::decompression();
    EXPECT_THAT(record.putOut, ElementsAre(900));
    EXPECT_THAT(record.samples, ElementsAre(ElementsAre(1, 2), ElementsAre(3)));
}

TEST_F(MacPictureDecoderTest, ThePictureOutlivesItsDecoder)
{
    PixelBufferRef picture;
    {
        const auto decoder = makePictureDecoder(format(), {.time = 0, .maximumWidth = 64, .maximumHeight = 64});
        ASSERT_TRUE(decoder);
        picture = (*decoder)->decode(first, 0).value();
    }
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->baseAddress[0], std::byte{0});
}

TEST_F(MacPictureDecoderTest, NeverMakesAPictureLarger)
{
    const auto decoder = makePictureDecoder(format("avc1", 64, 48), {.time = 0, .maximumWidth = 320, .maximumHeight = 320});
    ASSERT_TRUE(decoder);
    EXPECT_EQ(standin::decompression().width, 64);
    EXPECT_EQ(standin::decompression().height, 48);
}

TEST_F(MacPictureDecoderTest, GivesTheDecoderTheConfigurationInTheBoxOfItsCodec)
{
    for (const auto& [codec, box] :
        {std::pair{format("avc1"), "avcC"}, {format("hvc1"), "hvcC"}, {format("hev1"), "hvcC"}, {format("av01"), "av1C"}}) {
        ASSERT_TRUE(makePictureDecoder(codec, {.time = 0, .maximumWidth = 64, .maximumHeight = 64}));
        const auto& described = standin::decompression().format;
        EXPECT_EQ(described.codec, codec.codec.value);
        EXPECT_EQ(described.box, box);
        EXPECT_THAT(described.configuration, ElementsAre(1, 100, 0, 31));
        EXPECT_EQ(described.width, 1920);
        EXPECT_EQ(described.height, 1080);
    }
}

TEST_F(MacPictureDecoderTest, FailsForOtherCodecsAndSizesThatAreNone)
{
    EXPECT_FALSE(makePictureDecoder(format("mp4v"), {.time = 0, .maximumWidth = 64, .maximumHeight = 64}));
    EXPECT_FALSE(makePictureDecoder(format("avc1", 0, 48), {.time = 0, .maximumWidth = 64, .maximumHeight = 64}));
    EXPECT_FALSE(makePictureDecoder(format(), {.time = 0, .maximumWidth = 0, .maximumHeight = 64}));
}

TEST_F(MacPictureDecoderTest, WhatTheSystemRefusesIsAnErrorWithItsCode)
{
    standin::decompression().createStatus = -12906;
    const auto none = makePictureDecoder(format(), {.time = 0, .maximumWidth = 64, .maximumHeight = 64});
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().code, -12906);

    standin::decompression() = {.decodeStatus = -12909};
    const auto decoder = makePictureDecoder(format(), {.time = 0, .maximumWidth = 64, .maximumHeight = 64});
    ASSERT_TRUE(decoder);
    EXPECT_EQ((*decoder)->decode(first, 0).error().code, -12909);
}

TEST_F(MacPictureDecoderTest, ADamagedPictureAndALostOneAreErrors)
{
    standin::decompression() = {.outputStatus = -12909};
    auto decoder = makePictureDecoder(format(), {.time = 0, .maximumWidth = 64, .maximumHeight = 64});
    EXPECT_EQ((*decoder)->decode(first, 0).error().code, -12909);

    standin::decompression() = {.losesPictures = true, .sessions = 1};
    decoder = makePictureDecoder(format(), {.time = 0, .maximumWidth = 64, .maximumHeight = 64});
    EXPECT_FALSE((*decoder)->decode(first, 0));
}

TEST_F(MacPictureDecoderTest, FailsWhereThePictureIsNotAmongTheSamplesAndForAnEmptyOne)
{
    const auto decoder = makePictureDecoder(format(), {.time = 900, .maximumWidth = 64, .maximumHeight = 64});
    EXPECT_FALSE((*decoder)->decode({}, 0));
    ASSERT_TRUE((*decoder)->decode(first, 0));
    EXPECT_FALSE((*decoder)->finish());
}

TEST_F(MacPictureDecoderTest, DecodesNoMoreThanOnePictureIsWorth)
{
    const auto decoder = makePictureDecoder(format("avc1", 16384, 16384), {.time = 900, .maximumWidth = 64, .maximumHeight = 64});
    ASSERT_TRUE(decoder);
    std::int64_t time = 0;
    while (time < 100 && (*decoder)->decode(first, time))
        ++time;
    EXPECT_EQ(time, std::int64_t{1920} * 1080 * 30 * 120 / (std::int64_t{16384} * 16384));
}

}  // namespace
}  // namespace velmora::test
