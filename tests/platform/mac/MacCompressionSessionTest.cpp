// What the contract of compression sessions leaves to Video Toolbox's own ways.
#include "platform/mac/MacCompressionSession.h"

#include "platform/mac/MediaConversion.h"
#include "tests/platform/contracts/CompressionSessionContract.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/CoreMediaStandIn.h"
#include "tests/platform/mac/standins/VideoToolboxStandIn.h"
#include "tests/support/media/TestPictures.h"

#include <gmock/gmock.h>

namespace velmora::mac_backend {
namespace {

using platform::CompressionProperty;
using platform::CompressionSession;
using platform::CompressionStatus;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

constexpr std::int32_t width = 64;
constexpr std::int32_t height = 48;

class MacCompressionSessionTest : public testing::Test {
protected:
    ~MacCompressionSessionTest() override
    {
        session_.reset();
        standin::releaseFrames();
        standin::resetVideoToolbox();
        output_.reset();
        EXPECT_EQ(standin::ownedObjectCount(), objectsBefore_);
    }

    void makeSession()
    {
        const auto session = makeCompressionSessions(requests_)->makeSession(
            width, height, FourCharacterCode{"avc1"}, test::CompressionOutput::callback(output_));
        ASSERT_TRUE(session);
        session_ = *session;
    }

    CompressionStatus encode(int number) { return session_->encodeFrame(picture_, MediaTime{number, 60}, MediaTime{1, 60}); }

    /// One letter a call: a frame, a key frame, none, a status.
    std::string calls()
    {
        std::string all;
        for (const auto& call : output_->calls())
            all += call.status != 0 ? 'E' : !call.sample ? '-' : call.sample->isSync() ? 'K' : 'f';
        return all;
    }

    const std::size_t objectsBefore_ = standin::ownedObjectCount();
    standin::VideoToolbox& switches_ = standin::videoToolbox();
    engine::KeyFrameRequests requests_;
    std::shared_ptr<test::CompressionOutput> output_ = std::make_shared<test::CompressionOutput>();
    PixelBufferRef picture_ = test::Canvas(width, height, 16).picture();
    std::shared_ptr<CompressionSession> session_;
};

TEST_F(MacCompressionSessionTest, PassesThePropertiesOnAsTheirPagesHaveThem)
{
    makeSession();
    EXPECT_EQ(session_->setProperty(CompressionProperty::realTime, true), 0);
    EXPECT_EQ(session_->setProperty(CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel), 0);
    EXPECT_EQ(session_->setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{30}), 0);
    EXPECT_EQ(session_->setProperty(CompressionProperty::averageBitRate, std::int64_t{8'000'000}), 0);
    EXPECT_EQ(session_->setProperty(CompressionProperty::allowFrameReordering, false), 0);
    EXPECT_EQ(session_->prepareToEncodeFrames(), 0);
    EXPECT_THAT(standin::videoToolboxRecord().properties,
        ElementsAre(Pair("kVTCompressionPropertyKey_RealTime", "true"),
            Pair("kVTCompressionPropertyKey_ProfileLevel", "kVTProfileLevel_H264_High_AutoLevel"),
            Pair("kVTCompressionPropertyKey_MaxKeyFrameInterval", "30"), Pair("kVTCompressionPropertyKey_AverageBitRate", "8000000"),
            Pair("kVTCompressionPropertyKey_AllowFrameReordering", "false")));
    EXPECT_EQ(standin::videoToolboxRecord().prepared, 1);
}

TEST_F(MacCompressionSessionTest, SaysWhatTheSystemAnswersToPropertiesAndPreparing)
{
    switches_.propertyStatus = kVTPropertyNotSupportedErr;
    switches_.prepareStatus = kVTVideoEncoderMalfunctionErr;
    makeSession();
    EXPECT_EQ(session_->setProperty(CompressionProperty::realTime, true), kVTPropertyNotSupportedErr);
    EXPECT_EQ(session_->prepareToEncodeFrames(), kVTVideoEncoderMalfunctionErr);
}

TEST_F(MacCompressionSessionTest, APropertyOfAnotherTypeIsRefused)
{
    makeSession();
    EXPECT_EQ(session_->setProperty(CompressionProperty::averageBitRate, true), kVTParameterErr);
    EXPECT_EQ(session_->setProperty(CompressionProperty::realTime, std::int64_t{1}), kVTParameterErr);
}

TEST_F(MacCompressionSessionTest, AFrameThatIsDroppedInTheEncoderIsCalledBackWithoutASampleInItsPlace)
{
    switches_.dropsEvery = 3;
    makeSession();
    for (int number = 0; number < 7; ++number)
        EXPECT_EQ(encode(number), 0);
    session_->completeFrames();
    EXPECT_EQ(calls(), "Kf-ff-f");
}

TEST_F(MacCompressionSessionTest, AFrameThatFailsIsCalledBackWithItsStatus)
{
    switches_.failsEvery = 2;
    makeSession();
    for (int number = 0; number < 4; ++number)
        EXPECT_EQ(encode(number), 0);
    session_->completeFrames();
    EXPECT_EQ(calls(), "KEfE");
    EXPECT_EQ(output_->calls()[1].status, kVTVideoEncoderMalfunctionErr);
}

TEST_F(MacCompressionSessionTest, AFrameThatIsDroppedAtOnceIsCalledBackThoughTheEncoderSaysNothingMoreOfIt)
{
    switches_.dropsAtOnceEvery = 2;
    makeSession();
    for (int number = 0; number < 4; ++number)
        EXPECT_EQ(encode(number), 0);
    output_->waitForCalls(4);
    EXPECT_EQ(calls(), "K-f-");
}

TEST_F(MacCompressionSessionTest, AFrameOfWhichNothingIsHeardCountsAsDroppedWithTheNextOrAtTheEnd)
{
    switches_.losesEvery = 3;
    makeSession();
    for (int number = 0; number < 6; ++number)
        EXPECT_EQ(encode(number), 0);
    output_->waitForCalls(5);
    EXPECT_EQ(calls(), "Kf-ff");
    session_->completeFrames();
    EXPECT_EQ(calls(), "Kf-ff-");
}

TEST_F(MacCompressionSessionTest, ARefusedFrameIsItsStatusAndIsNotCalledBack)
{
    makeSession();
    EXPECT_EQ(encode(0), 0);
    switches_.encodeStatus = kVTVideoEncoderMalfunctionErr;
    EXPECT_EQ(encode(1), kVTVideoEncoderMalfunctionErr);
    switches_.encodeStatus = noErr;
    EXPECT_EQ(encode(2), 0);
    session_->completeFrames();
    EXPECT_EQ(calls(), "Kf");
}

TEST_F(MacCompressionSessionTest, ARefusedFrameIsNotCalledBackThoughTheEncoderDoes)
{
    switches_.callsBackForRefusedFrames = true;
    makeSession();
    EXPECT_EQ(encode(0), 0);
    session_->completeFrames();
    switches_.encodeStatus = kVTVideoEncoderMalfunctionErr;
    EXPECT_EQ(encode(1), kVTVideoEncoderMalfunctionErr);
    switches_.encodeStatus = noErr;
    EXPECT_EQ(encode(2), 0);
    session_->completeFrames();
    EXPECT_EQ(calls(), "Kf");
}

TEST_F(MacCompressionSessionTest, FramesOfMoreThanOnePieceAreWhole)
{
    makeSession();
    for (int number = 0; number < 2; ++number)
        EXPECT_EQ(encode(number), 0);
    session_->completeFrames();
    ASSERT_EQ(calls(), "Kf");
    for (int number = 0; number < 2; ++number) {
        const auto bytes = output_->calls()[static_cast<std::size_t>(number)].sample->data.bytes;
        ASSERT_THAT(bytes, SizeIs(6));
        EXPECT_EQ(std::to_integer<int>(bytes[5]), number + 1);
    }
}

TEST_F(MacCompressionSessionTest, ThePictureItselfIsGivenToTheEncoder)
{
    makeSession();
    EXPECT_EQ(encode(0), 0);
    auto* const pixels = standin::makePixelBuffer(width, height);
    auto captured = pictureOf(pixels);
    const auto* const memory = captured->baseAddress;
    EXPECT_EQ(session_->encodeFrame(captured, MediaTime{1, 60}, {}), 0);
    session_->completeFrames();
    EXPECT_EQ(standin::videoToolboxRecord().frames[0].base, picture_->baseAddress);
    EXPECT_EQ(standin::videoToolboxRecord().frames[1].base, memory);
    EXPECT_TRUE(standin::isLocked(pixels));
    captured.reset();
    EXPECT_FALSE(standin::isLocked(pixels));
    CFRelease(pixels);
}

TEST_F(MacCompressionSessionTest, APictureLivesUntilTheEncoderIsDoneWithItAndNoLonger)
{
    switches_.holdsFrames = true;
    makeSession();
    auto picture = test::Canvas(width, height).picture();
    const std::weak_ptr<const PixelBuffer> watched = picture;
    EXPECT_EQ(session_->encodeFrame(picture, MediaTime{0, 60}, {}), 0);
    picture.reset();
    EXPECT_FALSE(watched.expired());
    session_->completeFrames();
    EXPECT_TRUE(watched.expired());
}

TEST_F(MacCompressionSessionTest, AKeyFrameThatTheEncoderRefusesIsAskedForAgainWithEveryPicture)
{
    switches_.refusesKeyFrames = true;
    makeSession();
    for (const int number : {0, 10, 30, 31}) {
        EXPECT_EQ(encode(number), 0);
        session_->completeFrames();
    }
    std::vector<bool> asked;
    for (const auto& frame : standin::videoToolboxRecord().frames)
        asked.push_back(frame.asKeyFrame);
    EXPECT_THAT(asked, ElementsAre(true, false, true, true));
    EXPECT_EQ(calls(), "Kfff");
}

TEST_F(MacCompressionSessionTest, OneKeyFrameIsAskedForHoweverManyPicturesFollowBeforeItIsThere)
{
    switches_.holdsFrames = true;
    makeSession();
    for (int number = 0; number < 40; ++number)
        EXPECT_EQ(encode(number), 0);
    const auto request = requests_.ask();
    for (int number = 40; number < 44; ++number)
        EXPECT_EQ(encode(number), 0);
    std::vector<int> asked;
    for (int number = 0; const auto& frame : standin::videoToolboxRecord().frames) {
        if (frame.asKeyFrame)
            asked.push_back(number);
        ++number;
    }
    EXPECT_THAT(asked, ElementsAre(0, 40));
    session_->completeFrames();
    EXPECT_FALSE(requests_.last());
}

TEST_F(MacCompressionSessionTest, ARequestWhoseFrameIsDroppedIsFulfilledByAnother)
{
    switches_.dropsEvery = 2;
    makeSession();
    EXPECT_EQ(encode(0), 0);
    session_->completeFrames();
    const auto request = requests_.ask();
    EXPECT_EQ(encode(1), 0);
    session_->completeFrames();
    EXPECT_TRUE(requests_.last());
    EXPECT_EQ(encode(2), 0);
    session_->completeFrames();
    EXPECT_EQ(calls(), "K-K");
    EXPECT_FALSE(requests_.last());
}

TEST_F(MacCompressionSessionTest, WhatIsEncodedAfterTheEndIsHeardByNobody)
{
    switches_.holdsFrames = true;
    switches_.callsBackAfterInvalidate = true;
    makeSession();
    EXPECT_EQ(encode(0), 0);
    EXPECT_EQ(encode(1), 0);
    session_->invalidate();
    session_.reset();
    standin::releaseFrames();
    EXPECT_EQ(calls(), "");
}

TEST_F(MacCompressionSessionTest, FramesWithOtherLengthsThanOurFilesHaveAreNone)
{
    switches_.lengthSize = 2;
    makeSession();
    EXPECT_EQ(encode(0), 0);
    session_->completeFrames();
    EXPECT_EQ(calls(), "-");
}

TEST_F(MacCompressionSessionTest, ASessionThatCannotBeMadeIsItsStatusWithAReasonForPeople)
{
    switches_.createStatus = kVTCouldNotFindVideoEncoderErr;
    const auto factory = makeCompressionSessions();
    const auto session = factory->makeSession(width, height, FourCharacterCode{"avc1"}, [](CompressionStatus, const auto&) {});
    ASSERT_FALSE(session);
    EXPECT_EQ(session.error(), kVTCouldNotFindVideoEncoderErr);
    EXPECT_EQ(factory->checkSize(width, height), kVTCouldNotFindVideoEncoderErr);
    EXPECT_NE(factory->description(session.error()), "");
    EXPECT_EQ(factory->description(kVTVideoEncoderMalfunctionErr), "");
}

TEST_F(MacCompressionSessionTest, EverySessionThatIsMadeIsInvalidated)
{
    makeSession();
    EXPECT_EQ(makeCompressionSessions()->checkSize(width, height), 0);
    session_.reset();
    EXPECT_EQ(standin::videoToolboxRecord().created, 2);
    EXPECT_EQ(standin::videoToolboxRecord().invalidated, 2);
}

}  // namespace
}  // namespace velmora::mac_backend
