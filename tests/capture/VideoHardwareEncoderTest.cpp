#include "capture/VideoHardwareEncoder.h"

#include "platform/fake/FakeCompressionSession.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Samples.h"

#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace velmora {
namespace {

using platform::CompressionProperty;
using platform::CompressionPropertyValue;

class VideoHardwareEncoderTest : public testing::Test {
protected:
    VideoHardwareEncoderTest()
    {
        encoder->setOnEncodedSample([this](const SampleBufferRef& sample) {
            EXPECT_TRUE(encoder->outputQueue().isCurrent());
            delivered.push_back(sample->presentationTimeStamp.value);
        });
    }

    ~VideoHardwareEncoderTest() override
    {
        if (encoder)
            drainOutput();  // the callback uses the members
    }

    void encode(std::int64_t time, std::int32_t width = 640, std::int32_t height = 480)
    {
        encoder->encode(test::picture(width, height), MediaTime::nanoseconds(time), MediaTime{1, 60});
    }

    void drainOutput() { encoder->outputQueue().drain(); }

    test::CapturedLog log;
    std::shared_ptr<fake::FakeCompressionSessions> sessions = std::make_shared<fake::FakeCompressionSessions>();
    std::vector<std::int64_t> delivered;  // on the output queue, read after drainOutput()
    std::unique_ptr<VideoHardwareEncoder> encoder = std::make_unique<VideoHardwareEncoder>(sessions);
};

TEST_F(VideoHardwareEncoderTest, MakesNoSessionBeforeTheFirstFrame)
{
    EXPECT_EQ(sessions->attempts, 0);
    EXPECT_EQ(encoder->currentWidth(), 0);
    EXPECT_EQ(encoder->currentHeight(), 0);
    EXPECT_EQ(encoder->outputQueue().label(), "com.velmora.encoder.output");
    EXPECT_EQ(encoder->outputQueue().qualityOfService(), SerialQueue::QualityOfService::userInteractive);
}

TEST_F(VideoHardwareEncoderTest, SetsFivePropertiesInOrderAndNothingElseWhateverTheSessionSays)
{
    encode(1, 1280, 720);
    ASSERT_EQ(sessions->records.size(), 1U);
    const auto& record = *sessions->records[0];
    EXPECT_EQ(record.width, 1280);
    EXPECT_EQ(record.height, 720);
    EXPECT_EQ(record.codec, FourCharacterCode{"avc1"});
    const std::vector<std::pair<CompressionProperty, CompressionPropertyValue>> expected{
        {CompressionProperty::realTime, true},
        {CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel},
        {CompressionProperty::maxKeyFrameInterval, std::int64_t{30}},
        {CompressionProperty::averageBitRate, std::int64_t{8'000'000}},
        {CompressionProperty::allowFrameReordering, false},
    };
    EXPECT_EQ(record.properties, expected);
    EXPECT_TRUE(record.prepared);
    EXPECT_EQ(record.propertiesAtPrepare, record.properties.size()) << "what comes later no longer counts";
    EXPECT_EQ(log->messages(), std::vector<std::string>{"Initialized hardware video encoder (1280x720 H.264)"});
}

TEST_F(VideoHardwareEncoderTest, PassesThePictureItselfWithItsTimeAndDuration)
{
    const auto picture = test::picture(640, 480);
    encoder->encode(picture, MediaTime::nanoseconds(123), MediaTime{1, 60});
    ASSERT_EQ(sessions->records.size(), 1U);
    const auto& frames = sessions->records[0]->frames;
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].pixelBuffer, picture);
    EXPECT_EQ(frames[0].presentationTimeStamp, MediaTime::nanoseconds(123));
    EXPECT_EQ(frames[0].duration, (MediaTime{1, 60}));
}

TEST_F(VideoHardwareEncoderTest, DeliversSamplesOneAtATimeInOrderOnItsOutputQueue)
{
    for (int i = 1; i <= 50; ++i)
        encode(i);
    drainOutput();
    ASSERT_EQ(delivered.size(), 50U);
    EXPECT_TRUE(std::is_sorted(delivered.begin(), delivered.end()));
    EXPECT_EQ(sessions->attempts, 1);
}

TEST_F(VideoHardwareEncoderTest, AFrameOfNoWidthOrHeightProducesNoCallAndNoLogLine)
{
    encode(1, 0, 480);
    encode(2, 640, 0);
    EXPECT_EQ(sessions->attempts, 0);
    EXPECT_TRUE(log->lines().empty());
    EXPECT_EQ(encoder->currentWidth(), 0);
}

TEST_F(VideoHardwareEncoderTest, AFrameOfOnePixelIsEncoded)
{
    encode(1, 1, 1);
    drainOutput();
    EXPECT_EQ(delivered, std::vector<std::int64_t>{1});
}

TEST_F(VideoHardwareEncoderTest, AResizedWindowCompletesTheOldSessionAndItsPendingSamplesFirst)
{
    sessions->encodesAtOnce = false;
    encode(1);
    encode(2);
    drainOutput();
    EXPECT_TRUE(delivered.empty());
    encode(3, 800, 600);
    drainOutput();
    EXPECT_EQ(delivered, (std::vector<std::int64_t>{1, 2}));
    ASSERT_EQ(sessions->records.size(), 2U);
    EXPECT_TRUE(sessions->records[0]->completed);
    EXPECT_TRUE(sessions->records[0]->invalidated);
    EXPECT_EQ(sessions->records[1]->width, 800);
    EXPECT_EQ(encoder->currentWidth(), 800);
    EXPECT_EQ(encoder->currentHeight(), 600);
    EXPECT_EQ(log->messages(),
        (std::vector<std::string>{
            "Initialized hardware video encoder (640x480 H.264)", "Initialized hardware video encoder (800x600 H.264)"}));
    encoder->invalidate();
    drainOutput();
    EXPECT_EQ(delivered, (std::vector<std::int64_t>{1, 2, 3}));
}

TEST_F(VideoHardwareEncoderTest, AChangeOfHeightAloneMakesANewSession)
{
    encode(1, 640, 480);
    encode(2, 640, 482);
    EXPECT_EQ(sessions->attempts, 2);
}

TEST_F(VideoHardwareEncoderTest, AFailedCreationIsLoggedAndTriedAgainWithEveryFrame)
{
    sessions->createStatus = -12902;
    encode(1);
    encode(2);
    EXPECT_EQ(sessions->attempts, 2);
    EXPECT_EQ(log->count("VTCompressionSessionCreate failed: -12902"), 2U);
    EXPECT_EQ(encoder->currentWidth(), 640) << "the size of the failed attempt is kept";
    EXPECT_EQ(encoder->currentHeight(), 480);

    sessions->createStatus = 0;
    encode(3);
    drainOutput();
    EXPECT_EQ(delivered, std::vector<std::int64_t>{3});
}

TEST_F(VideoHardwareEncoderTest, ACreationThatSucceedsWithoutASessionIsLoggedAsStatusZero)
{
    struct NoSessions final : platform::CompressionSessionFactory {
        tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
            std::int32_t, std::int32_t, FourCharacterCode, platform::CompressionSession::OutputCallback) override
        {
            return nullptr;
        }
    };
    VideoHardwareEncoder without{std::make_shared<NoSessions>()};
    without.encode(test::picture(640, 480), MediaTime::nanoseconds(1), MediaTime{1, 60});
    EXPECT_EQ(log->messages(), std::vector<std::string>{"VTCompressionSessionCreate failed: 0"});
    EXPECT_EQ(without.currentWidth(), 640);
}

TEST_F(VideoHardwareEncoderTest, AFailedSubmissionIsLoggedAndTheNextFrameIsSubmittedNormally)
{
    encode(1);
    sessions->records[0]->encodeStatus = -5;
    encode(2);
    sessions->records[0]->encodeStatus = 0;
    encode(3);
    drainOutput();
    EXPECT_EQ(delivered, (std::vector<std::int64_t>{1, 3}));
    EXPECT_EQ(log->count("VTCompressionSessionEncodeFrame failed with status -5"), 1U);
    EXPECT_EQ(sessions->attempts, 1);
}

TEST_F(VideoHardwareEncoderTest, AnEncodingErrorOrADroppedFrameIsIgnoredWithoutALogLine)
{
    encode(1);
    const auto linesBefore = log->lines().size();
    sessions->sessions[0]->emitOutput(-1, test::videoSample(7, true));
    sessions->sessions[0]->emitOutput(0, nullptr);
    drainOutput();
    EXPECT_EQ(delivered, std::vector<std::int64_t>{1});
    EXPECT_EQ(log->lines().size(), linesBefore);
}

TEST_F(VideoHardwareEncoderTest, WithoutACallbackSamplesAreDiscarded)
{
    encoder->setOnEncodedSample(nullptr);
    encode(1);
    drainOutput();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(VideoHardwareEncoderTest, TheCallbackIsReadWhenASampleIsDeliveredNotWhenItIsMade)
{
    std::vector<std::int64_t> deliveredLater;
    encoder->setOnEncodedSample([&](const SampleBufferRef&) {
        // The output queue is busy here, so the next sample waits behind this one.
        encode(2);
        encoder->setOnEncodedSample(
            [&deliveredLater](const SampleBufferRef& sample) { deliveredLater.push_back(sample->presentationTimeStamp.value); });
    });
    encode(1);
    drainOutput();
    drainOutput();
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(deliveredLater, std::vector<std::int64_t>{2});
}

TEST_F(VideoHardwareEncoderTest, AfterInvalidateTheSizeIsZeroAndTheNextFrameMakesANewSession)
{
    encode(1);
    encoder->invalidate();
    EXPECT_EQ(encoder->currentWidth(), 0);
    EXPECT_EQ(encoder->currentHeight(), 0);
    EXPECT_TRUE(sessions->records[0]->invalidated);
    encode(2);
    EXPECT_EQ(sessions->attempts, 2);
}

TEST_F(VideoHardwareEncoderTest, InvalidateClearsTheSizeOfAFailedCreationToo)
{
    sessions->createStatus = -1;
    encode(1);
    encoder->invalidate();
    EXPECT_EQ(encoder->currentWidth(), 0);
}

TEST_F(VideoHardwareEncoderTest, ReleasingTheEncoderInvalidatesItsSessionAndLateOutputIsIgnored)
{
    encode(1);
    const auto record = sessions->records[0];
    drainOutput();
    encoder.reset();
    EXPECT_TRUE(record->completed);
    EXPECT_TRUE(record->invalidated);
    sessions->sessions[0]->emitOutput(0, test::videoSample(9, true));
    EXPECT_EQ(delivered, std::vector<std::int64_t>{1});
}

TEST_F(VideoHardwareEncoderTest, ASessionThatIsAbandonedEndsElsewhereAndNoneOfItsSamplesArrives)
{
    sessions->encodesAtOnce = false;
    encode(1);
    std::promise<void> released;
    std::promise<void> isCompleting;
    sessions->records[0]->onComplete = [&, caller = std::this_thread::get_id()] {
        // Here it would wait for ever.
        ASSERT_NE(std::this_thread::get_id(), caller);
        isCompleting.set_value();
        released.get_future().wait();
    };
    encoder->abandon();
    EXPECT_EQ(encoder->currentWidth(), 0);
    EXPECT_EQ(encoder->currentHeight(), 0);
    isCompleting.get_future().wait();
    released.set_value();
    encoder->endingQueue().drain();
    EXPECT_TRUE(sessions->records[0]->completed);
    EXPECT_TRUE(sessions->records[0]->invalidated);
    drainOutput();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(VideoHardwareEncoderTest, ASampleThatWaitsForDeliveryWhenItsSessionIsAbandonedDoesNotArrive)
{
    std::promise<void> isDelivering;
    std::promise<void> released;
    encoder->setOnEncodedSample([&](const SampleBufferRef& sample) {
        delivered.push_back(sample->presentationTimeStamp.value);
        if (delivered.size() > 1)
            return;
        isDelivering.set_value();
        released.get_future().wait();
    });
    encode(1);
    encode(2);
    isDelivering.get_future().wait();
    encoder->abandon();
    encode(3);
    released.set_value();
    drainOutput();
    EXPECT_EQ(delivered, (std::vector<std::int64_t>{1, 3})) << "the last one is of the session after it";
}

TEST_F(VideoHardwareEncoderTest, TheSessionAfterAnAbandonedOneIsMadeWhenThatHasEnded)
{
    encode(1);
    std::promise<void> released;
    sessions->records[0]->onComplete = [&] { released.get_future().wait(); };
    encoder->abandon();
    bool hadEnded = false;
    sessions->onMake = [&] { hadEnded = sessions->records[0]->invalidated; };
    std::thread later{[&] { released.set_value(); }};
    encode(2);
    later.join();
    EXPECT_TRUE(hadEnded);
    EXPECT_EQ(sessions->attempts, 2);
}

SampleBuffer sampleWith(std::optional<AttachmentsArray> attachments)
{
    SampleBuffer sample;
    if (attachments)
        sample.attachments = std::make_shared<const AttachmentsArray>(std::move(*attachments));
    return sample;
}

TEST(KeyFrameTest, ASampleWithoutAttachmentsOrWithNoneInTheArrayIsAKeyFrame)
{
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(sampleWith(std::nullopt)));
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(sampleWith(AttachmentsArray{})));
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(sampleWith(AttachmentsArray{AttachmentDictionary{}})));
}

TEST(KeyFrameTest, NotSyncOrDependsOnOthersMakesItNone)
{
    EXPECT_FALSE(VideoHardwareEncoder::isKeyFrame(sampleWith(AttachmentsArray{{{attachment_key::notSync, true}}})));
    EXPECT_FALSE(VideoHardwareEncoder::isKeyFrame(sampleWith(AttachmentsArray{{{attachment_key::dependsOnOthers, true}}})));
    EXPECT_FALSE(VideoHardwareEncoder::isKeyFrame(
        sampleWith(AttachmentsArray{{{attachment_key::notSync, false}, {attachment_key::dependsOnOthers, true}}})));
}

TEST(KeyFrameTest, NotSyncFalseAndNoDependsOnOthersIsAKeyFrame)
{
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(sampleWith(AttachmentsArray{{{attachment_key::notSync, false}}})));
}

TEST(KeyFrameTest, AValueThatIsNoBooleanCountsAsFalse)
{
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(sampleWith(
        AttachmentsArray{{{attachment_key::notSync, std::int64_t{1}}, {attachment_key::dependsOnOthers, std::string{"true"}}}})));
}

TEST(KeyFrameTest, OnlyTheFirstDictionaryCounts)
{
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(
        sampleWith(AttachmentsArray{AttachmentDictionary{}, AttachmentDictionary{{attachment_key::notSync, true}}})));
}

TEST(KeyFrameTest, TheAttachmentsThatSessionsUseSayWhatTheyMean)
{
    EXPECT_TRUE(VideoHardwareEncoder::isKeyFrame(*test::videoSample(0, true)));
    EXPECT_FALSE(VideoHardwareEncoder::isKeyFrame(*test::videoSample(0, false)));
}

}  // namespace
}  // namespace velmora
