#include "tests/platform/contracts/CompressionSessionContract.h"

#include "engine/codecs/AvcFormat.h"
#include "tests/support/media/TestPictures.h"

#include <future>
#include <gmock/gmock.h>
#include <thread>

namespace velmora::test {

using platform::CompressionProperty;
using platform::CompressionSession;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Ne;
using testing::SizeIs;

std::shared_ptr<CompressionSession> CompressionSessionContract::makeSession()
{
    auto session = factory_->makeSession(width, height, FourCharacterCode{"avc1"}, CompressionOutput::callback(output_));
    if (!session) {
        ADD_FAILURE() << "no session: " << session.error();
        return nullptr;
    }
    // As the program sets them, whatever comes back.
    static_cast<void>((*session)->setProperty(CompressionProperty::realTime, true));
    static_cast<void>((*session)->setProperty(CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel));
    static_cast<void>((*session)->setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{30}));
    static_cast<void>((*session)->setProperty(CompressionProperty::averageBitRate, std::int64_t{8'000'000}));
    static_cast<void>((*session)->setProperty(CompressionProperty::allowFrameReordering, false));
    static_cast<void>((*session)->prepareToEncodeFrames());
    return std::move(*session);
}

PixelBufferRef CompressionSessionContract::picture(int number)
{
    Canvas canvas(width, height, 32);
    paintMovingScene(canvas, number, 0);
    return canvas.picture();
}

void CompressionSessionContract::submit(CompressionSession& session, int count, int first)
{
    for (int number = first; number < first + count; ++number)
        EXPECT_EQ(session.encodeFrame(picture(number), MediaTime{number, 60}, MediaTime{1, 60}), 0) << number;
}

std::vector<SampleBufferRef> CompressionSessionContract::samples() const
{
    std::vector<SampleBufferRef> all;
    for (const auto& call : output_->calls()) {
        if (call.sample)
            all.push_back(call.sample);
    }
    return all;
}

namespace {

TEST_P(CompressionSessionContract, EveryPictureIsCalledBackOnceInTheOrderOfTheirTimes)
{
    const auto session = makeSession();
    for (int number = 0; number < 6; ++number) {
        submit(*session, 1, number);
        output_->waitForCalls(static_cast<std::size_t>(number) + 1);
    }
    EXPECT_EQ(session->completeFrames(), 0);

    ASSERT_THAT(output_->calls(), SizeIs(6));
    const auto all = samples();
    ASSERT_THAT(all, SizeIs(6));
    for (int number = 0; number < 6; ++number) {
        const auto& sample = *all[static_cast<std::size_t>(number)];
        EXPECT_EQ(sample.presentationTimeStamp, (MediaTime{number, 60}));
        EXPECT_EQ(sample.duration, (MediaTime{1, 60}));
        EXPECT_FALSE(sample.data.bytes.empty());
    }
    EXPECT_FALSE(output_->hasOverlapped());
}

TEST_P(CompressionSessionContract, CompletingReturnsWhenEverythingBeforeHasBeenCalledBack)
{
    const auto session = makeSession();
    submit(*session, 3);
    EXPECT_EQ(session->completeFrames(), 0);
    EXPECT_THAT(output_->calls(), SizeIs(3));
    submit(*session, 2, 3);
    EXPECT_EQ(session->completeFrames(), 0);
    EXPECT_THAT(output_->calls(), SizeIs(5));
}

TEST_P(CompressionSessionContract, CompletingWithoutAnyPictureReturns)
{
    EXPECT_EQ(makeSession()->completeFrames(), 0);
}

TEST_P(CompressionSessionContract, CallbacksRunOnAThreadOfTheSessionsOwn)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "stepped by the test";
    const auto session = makeSession();
    submit(*session, 3);
    session->completeFrames();
    std::vector<std::thread::id> threads;
    for (const auto& call : output_->calls())
        threads.push_back(call.thread);
    EXPECT_THAT(threads, Each(Ne(std::this_thread::get_id())));
    EXPECT_THAT(threads, Each(threads.front()));
}

TEST_P(CompressionSessionContract, AfterInvalidateNothingIsCalledBackAndEveryCallFails)
{
    const auto session = makeSession();
    submit(*session, 3);
    session->invalidate();
    const auto before = output_->calls().size();
    EXPECT_NE(session->encodeFrame(picture(9), MediaTime{9, 60}, {}), 0);
    EXPECT_NE(session->completeFrames(), 0);
    EXPECT_NE(session->prepareToEncodeFrames(), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::realTime, true), 0);
    session->invalidate();
    EXPECT_EQ(output_->calls().size(), before);
}

TEST_P(CompressionSessionContract, InvalidateWaitsForTheCallbackThatRuns)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "stepped by the test";
    const auto session = makeSession();
    output_->hold();
    submit(*session, 2);
    output_->waitForCalls(1);
    std::size_t countAtTheEnd = 0;
    auto ended = std::async(std::launch::async, [&] {
        session->invalidate();
        countAtTheEnd = output_->calls().size();
        return output_->isRunning();
    });
    // That it waits cannot be seen, only that it has not returned yet.
    EXPECT_EQ(ended.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
    output_->release();
    EXPECT_FALSE(ended.get());
    EXPECT_EQ(output_->calls().size(), countAtTheEnd);
}

TEST_P(CompressionSessionContract, AnEndedSessionDiscardsWhatIsPendingAndKeepsNoPicture)
{
    auto session = makeSession();
    auto pixels = picture(0);
    const std::weak_ptr<const PixelBuffer> watched = pixels;
    EXPECT_EQ(session->encodeFrame(pixels, MediaTime{0, 60}, {}), 0);
    pixels.reset();
    session.reset();
    encoder_->settle();
    EXPECT_TRUE(watched.expired() || !encoder_->isReal());
    EXPECT_LE(output_->calls().size(), 1U);
}

TEST_P(CompressionSessionContract, ACallbackMayInvalidateItsSession)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "stepped by the test";
    std::shared_ptr<CompressionSession> session;
    std::promise<void> ended;
    int count = 0;
    auto made = factory_->makeSession(width, height, FourCharacterCode{"avc1"}, [&](platform::CompressionStatus, const SampleBufferRef&) {
        ++count;
        session->invalidate();
        ended.set_value();
    });
    ASSERT_TRUE(made);
    session = *made;
    EXPECT_EQ(session->encodeFrame(picture(0), MediaTime{0, 60}, {}), 0);
    static_cast<void>(session->encodeFrame(picture(1), MediaTime{1, 60}, {}));
    ended.get_future().get();
    session.reset();
    made = nullptr;
    EXPECT_EQ(count, 1);
}

TEST_P(CompressionSessionContract, ACallbackMayNotCompleteItsOwnSession)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "stepped by the test";
    std::shared_ptr<CompressionSession> session;
    std::promise<platform::CompressionStatus> status;
    auto made = factory_->makeSession(width, height, FourCharacterCode{"avc1"},
        [&](platform::CompressionStatus, const SampleBufferRef&) { status.set_value(session->completeFrames()); });
    ASSERT_TRUE(made);
    session = *made;
    EXPECT_EQ(session->encodeFrame(picture(0), MediaTime{0, 60}, {}), 0);
    EXPECT_NE(status.get_future().get(), 0);
    session->invalidate();
}

TEST_P(CompressionSessionContract, AFrameOfAnotherSizeAWrongTimeOrNoPictureIsRefusedAndTheNextIsEncoded)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "takes everything";
    const auto session = makeSession();
    submit(*session, 1, 5);
    EXPECT_NE(session->encodeFrame(Canvas(width + 2, height).picture(), MediaTime{6, 60}, {}), 0);
    EXPECT_NE(session->encodeFrame(Canvas(width, height + 2).picture(), MediaTime{6, 60}, {}), 0);
    EXPECT_NE(session->encodeFrame(nullptr, MediaTime{6, 60}, {}), 0);
    EXPECT_NE(session->encodeFrame(picture(6), MediaTime::invalid(), {}), 0);
    EXPECT_NE(session->encodeFrame(picture(6), MediaTime{5, 60}, {}), 0);
    auto other = std::make_shared<PixelBuffer>(*picture(6));
    other->format = FourCharacterCode{"420v"};
    EXPECT_NE(session->encodeFrame(other, MediaTime{6, 60}, {}), 0);
    submit(*session, 1, 6);
    session->completeFrames();
    EXPECT_THAT(samples(), SizeIs(2));
    EXPECT_THAT(output_->calls(), SizeIs(2));
}

TEST_P(CompressionSessionContract, FramesSayWhatTheyAre)
{
    const auto session = makeSession();
    submit(*session, 2);
    session->completeFrames();
    const auto all = samples();
    ASSERT_THAT(all, SizeIs(2));
    const auto* const format = all[0]->format->video();
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->codec, FourCharacterCode{"avc1"});
    EXPECT_EQ(format->width, width);
    EXPECT_EQ(format->height, height);
    EXPECT_TRUE(all[0]->isSync());
    EXPECT_FALSE(all[1]->isSync());
    if (!encoder_->isReal())
        return;
    EXPECT_EQ(all[0]->format, all[1]->format);
    EXPECT_EQ(engine::avcProfile(format->decoderConfiguration), 100);
    for (const auto& sample : all)
        EXPECT_TRUE(engine::nalUnits(sample->data.bytes, engine::NalFraming::lengthPrefixed));
}

TEST_P(CompressionSessionContract, APictureHalfASecondAfterTheLastKeyFrameBecomesOne)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "chooses no key frames";
    const auto session = makeSession();
    std::vector<int> keyFrames;
    for (const int number : {0, 10, 29, 30, 40, 59, 60, 100}) {
        submit(*session, 1, number);
        session->completeFrames();
        if (samples().back()->isSync())
            keyFrames.push_back(number);
    }
    EXPECT_THAT(keyFrames, ElementsAre(0, 30, 60, 100));
}

TEST_P(CompressionSessionContract, TheFirstPictureAfterARequestBecomesAKeyFrameAndFulfilsIt)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "chooses no key frames";
    const auto session = makeSession();
    submit(*session, 2);
    session->completeFrames();
    const auto request = requests_.ask();
    EXPECT_TRUE(requests_.last());
    submit(*session, 2, 2);
    session->completeFrames();
    const auto all = samples();
    ASSERT_THAT(all, SizeIs(4));
    EXPECT_FALSE(all[1]->isSync());
    EXPECT_TRUE(all[2]->isSync());
    EXPECT_FALSE(all[3]->isSync());
    EXPECT_FALSE(requests_.last());
}

TEST_P(CompressionSessionContract, PicturesMayComeWhileTheSessionIsBeingCompletedAndEnded)
{
    const auto session = makeSession();
    std::thread submitting([&] {
        const auto pixels = picture(0);
        for (int number = 0; number < 60; ++number)
            static_cast<void>(session->encodeFrame(pixels, MediaTime{number, 60}, {}));
    });
    for (int round = 0; round < 5; ++round)
        static_cast<void>(session->completeFrames());
    session->invalidate();
    const auto after = output_->calls().size();
    submitting.join();
    EXPECT_EQ(output_->calls().size(), after);
    MediaTime last = MediaTime::invalid();
    for (const auto& sample : samples()) {
        EXPECT_TRUE(!last.isValid() || sample->presentationTimeStamp > last);
        last = sample->presentationTimeStamp;
    }
}

TEST_P(CompressionSessionContract, AnotherCodecOrNoSizeIsRefused)
{
    if (!encoder_->isReal())
        GTEST_SKIP() << "takes everything";
    EXPECT_FALSE(factory_->makeSession(width, height, FourCharacterCode{"jpeg"}, CompressionOutput::callback(output_)));
    EXPECT_FALSE(factory_->makeSession(0, height, FourCharacterCode{"avc1"}, CompressionOutput::callback(output_)));
    EXPECT_EQ(factory_->checkSize(width, height), 0);
    EXPECT_NE(factory_->checkSize(width, -2), 0);
}

}  // namespace
}  // namespace velmora::test
