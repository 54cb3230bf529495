#include "platform/mac/MediaConversion.h"

#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/CoreMediaStandIn.h"

#include <gmock/gmock.h>

namespace velmora::mac_backend {
namespace {

using testing::ElementsAre;

class MediaConversionTest : public testing::Test {
protected:
    ~MediaConversionTest() override { EXPECT_EQ(standin::ownedObjectCount(), objectsBefore_); }

    static SampleBufferRef convert(const standin::FrameParts& parts)
    {
        const CfHandle<CMFormatDescriptionRef> format{standin::makeFormat(parts)};
        const CfHandle<CMSampleBufferRef> sample{standin::makeFrame(parts, format.get())};
        return CompressedFrames{}.frameOf(sample.get());
    }

    const std::size_t objectsBefore_ = standin::ownedObjectCount();
};

TEST_F(MediaConversionTest, TimesAreTheSameBothWays)
{
    EXPECT_EQ(fromCMTime(toCMTime(MediaTime{7, 60})), (MediaTime{7, 60}));
    EXPECT_EQ(toCMTime(MediaTime{7, 60}).epoch, 0);
    EXPECT_FALSE(fromCMTime(toCMTime(MediaTime::invalid())).isValid());
}

TEST_F(MediaConversionTest, ATimeThatIsInfiniteOrIndefiniteIsUnknownAndARoundedOneIsNot)
{
    for (const CMTimeFlags flag : {4U, 8U, 16U})
        EXPECT_FALSE(fromCMTime(CMTime{7, 60, kCMTimeFlags_Valid | flag, 0}).isValid());
    EXPECT_EQ(fromCMTime(CMTime{7, 60, kCMTimeFlags_Valid | kCMTimeFlags_HasBeenRounded, 0}), (MediaTime{7, 60}));
}

TEST_F(MediaConversionTest, TheDecoderConfigurationHasTheParameterSets)
{
    const auto frame = convert({});
    ASSERT_TRUE(frame);
    const auto& record = frame->format->video()->decoderConfiguration;
    const std::vector<int> expected{1, 100, 0, 31, 0xFF, 0xE1, 0, 5, 0x67, 100, 0, 31, 0xAC, 1, 0, 2, 0x68, 0xEE, 0xFD, 0xF8, 0xF8, 0};
    std::vector<int> bytes;
    for (const std::byte each : record)
        bytes.push_back(std::to_integer<int>(each));
    EXPECT_EQ(bytes, expected);
}

TEST_F(MediaConversionTest, ColourIsWhatTheDescriptionSaysAndElseUnspecified)
{
    EXPECT_EQ(convert({})->format->video()->colour, ColourDescription::bt709());
    EXPECT_EQ(convert({.saysBt709 = false})->format->video()->colour, ColourDescription{});
}

TEST_F(MediaConversionTest, AFrameIsAKeyFrameUnlessItsAttachmentsSayOtherwise)
{
    EXPECT_TRUE(convert({})->isSync());
    EXPECT_TRUE(convert({.hasAttachments = false})->isSync());
    EXPECT_FALSE(convert({.attachments = {kCMSampleAttachmentKey_NotSync}})->isSync());
    EXPECT_FALSE(convert({.attachments = {kCMSampleAttachmentKey_DependsOnOthers}})->isSync());
}

TEST_F(MediaConversionTest, AFrameWithoutBytesOrParameterSetsIsNone)
{
    EXPECT_FALSE(convert({.pieces = {}}));
    EXPECT_FALSE(convert({.pieces = {{}}}));
    EXPECT_FALSE(convert({.parameterSets = {}}));
    EXPECT_FALSE(convert({.parameterSets = {{0x67, 100, 0, 31}}}));
}

TEST_F(MediaConversionTest, FramesWithEqualDescriptionsShareOne)
{
    CompressedFrames frames;
    const CfHandle<CMFormatDescriptionRef> format{standin::makeFormat({})};
    const CfHandle<CMFormatDescriptionRef> equal{standin::makeFormat({})};
    const CfHandle<CMFormatDescriptionRef> other{standin::makeFormat({.width = 32})};
    std::vector<FormatDescriptionRef> all;
    for (const auto* each : {format.get(), equal.get(), other.get()}) {
        const CfHandle<CMSampleBufferRef> sample{standin::makeFrame({}, each)};
        all.push_back(frames.frameOf(sample.get())->format);
    }
    EXPECT_EQ(all[0], all[1]);
    EXPECT_NE(all[0], all[2]);
}

TEST_F(MediaConversionTest, APictureThatIsNotBgraIsNone)
{
    const CfHandle<CVPixelBufferRef> pixels{standin::makePixelBuffer(4, 4, 0x34323076)};
    EXPECT_FALSE(pictureOf(pixels.get()));
    EXPECT_FALSE(standin::isLocked(pixels.get()));
}

TEST_F(MediaConversionTest, SoundIsInterleavedHoweverItComes)
{
    for (const bool isPlanar : {true, false}) {
        const CfHandle<CMSampleBufferRef> sample{standin::makeSound({.channels = {{1, 2, 3}, {-1, -2, -3}},
            .time = CMTimeMake(5, 48000),
            .sampleRate = 48000,
            .isPlanar = isPlanar,
            .isFloat = true})};
        const auto sound = soundOf(sample.get());
        ASSERT_TRUE(sound);
        EXPECT_THAT(sound->samples, ElementsAre(1, -1, 2, -2, 3, -3));
        EXPECT_EQ(sound->channelCount, 2);
        EXPECT_EQ(sound->sampleRate, 48000);
        EXPECT_EQ(sound->time, (MediaTime{5, 48000}));
    }
}

TEST_F(MediaConversionTest, SoundMayHaveOneChannelOrMany)
{
    for (const std::size_t count : {std::size_t{1}, std::size_t{6}}) {
        const CfHandle<CMSampleBufferRef> sample{
            standin::makeSound({.channels = std::vector<std::vector<float>>(count, std::vector<float>(7, 0.5F)), .time = {}})};
        const auto sound = soundOf(sample.get());
        ASSERT_TRUE(sound);
        EXPECT_EQ(sound->samples.size(), count * 7);
    }
}

TEST_F(MediaConversionTest, SoundThatIsNotFloatIsNone)
{
    const CfHandle<CMSampleBufferRef> sample{
        standin::makeSound({.channels = {{1}, {2}}, .time = {}, .sampleRate = 48000, .isPlanar = true, .isFloat = false})};
    EXPECT_FALSE(soundOf(sample.get()));
}

TEST_F(MediaConversionTest, WhatIsNoSoundIsNone)
{
    const CfHandle<CMSampleBufferRef> sample{standin::makePicture(nullptr, CMTimeMake(1, 1), nullptr)};
    EXPECT_FALSE(soundOf(sample.get()));
}

}  // namespace
}  // namespace velmora::mac_backend
