#include "app/UnheardSoundNotice.h"

#include "media/LiveTime.h"
#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCaptureStream.h"
#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeUserNotificationCenter.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using platform::UnheardReason;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class UnheardSoundNoticeTest : public testing::Test {
protected:
    UnheardSoundNoticeTest()
    {
        platform::PlatformServices all;
        all.captureStreams = streams;
        all.compressionSessions = std::make_shared<fake::FakeCompressionSessions>();
        all.assetWriters = writers;
        services = observer->observed(std::move(all));
    }

    void capture()
    {
        stream = services.captureStreams->makeStream(platform::ContentFilter::desktopIndependentWindow({}), {}, {});
        executor->runAll();
    }

    void beginFile()
    {
        file = services.assetWriters->makeAssetWriter(folder.path() / "clip.mp4", platform::AssetFileType::mpeg4).value();
        sound = file->makeInput(MediaType::audio, platform::AudioOutputSettings{}, nullptr);
        if (file->canAdd(*sound))
            file->add(sound);
        executor->runAll();
        began = *observer->silentSince();
    }

    void hear(MonotonicTime when, bool isSilent)
    {
        auto block = std::make_shared<SampleBuffer>(*test::audioSample(0));
        block->presentationTimeStamp = liveTime(when);
        if (!isSilent)
            block->data = DataBlock::owning(std::vector<std::byte>(8192, std::byte{1}));
        sound->append(block);
    }

    void lookAfter(std::chrono::nanoseconds time)
    {
        notice.look(began + time);
        executor->runAll();
    }

    /// What the desktop says of the silence, to the oldest question.
    void answer(std::optional<UnheardReason> reason)
    {
        ASSERT_FALSE(streams->streams.back()->silenceQuestions.empty());
        auto question = std::move(streams->streams.back()->silenceQuestions.front());
        streams->streams.back()->silenceQuestions.pop_front();
        question(reason);
        executor->runAll();
    }

    [[nodiscard]] std::size_t questions() const { return streams->streams.back()->silenceQuestions.size(); }
    [[nodiscard]] const auto& told() const { return centre->requests; }

    test::TemporaryDirectory folder;
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeCaptureStreams> streams = std::make_shared<fake::FakeCaptureStreams>();
    std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    std::shared_ptr<fake::FakeUserNotificationCenter> centre = std::make_shared<fake::FakeUserNotificationCenter>();
    std::shared_ptr<RecordingObserver> observer = RecordingObserver::create(executor);
    UnheardSoundNotice notice{{.observer = observer, .notificationCenter = centre, .applicationName = [] { return "Plàyer"; }}};
    platform::PlatformServices services;
    std::shared_ptr<platform::CaptureStream> stream;
    std::shared_ptr<platform::AssetWriter> file;
    std::shared_ptr<platform::AssetWriterInput> sound;
    MonotonicTime began;
};

TEST_F(UnheardSoundNoticeTest, TenSecondsOfSilenceWithAReasonAreToldOnce)
{
    capture();
    beginFile();
    hear(began + 9s, true);
    lookAfter(9s);
    EXPECT_EQ(questions(), 0U);
    lookAfter(10s);
    ASSERT_EQ(questions(), 1U);
    EXPECT_THAT(told(), IsEmpty());
    answer(UnheardReason::muted);
    ASSERT_THAT(told(), SizeIs(1));
    EXPECT_EQ(told()[0].content.title, "No Sound in the Recording");
    EXPECT_THAT(told()[0].content.body, HasSubstr("Plàyer plays, but its sound is muted"));
    EXPECT_EQ(told()[0].content.categoryIdentifier, "") << "nothing of a saved clip's";
    for (auto later = 11s; later < 200s; ++later)
        lookAfter(later);
    while (questions() > 0)
        answer(UnheardReason::muted);
    EXPECT_THAT(told(), SizeIs(1));
}

TEST_F(UnheardSoundNoticeTest, SilenceWithoutAReasonIsAskedAboutLessAndLessOftenAndNeverTold)
{
    capture();
    beginFile();
    int asked = 0;
    for (auto later = 0s; later < 600s; ++later) {
        lookAfter(later);
        for (; questions() > 0; ++asked)
            answer(std::nullopt);
    }
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_LE(asked, 13);
    EXPECT_GE(asked, 8) << "it may be muted later";
}

TEST_F(UnheardSoundNoticeTest, SoundBeginsTheTimeAnew)
{
    capture();
    beginFile();
    hear(began + 8s, false);
    lookAfter(10s);
    lookAfter(17s);
    EXPECT_EQ(questions(), 0U);
    lookAfter(18s);
    EXPECT_EQ(questions(), 1U);
    hear(began + 19s, false);
    answer(UnheardReason::muted);
    EXPECT_THAT(told(), IsEmpty()) << "it was heard while that was found out";
}

TEST_F(UnheardSoundNoticeTest, APauseIsNotSilence)
{
    capture();
    beginFile();
    ASSERT_TRUE(observer->setPaused(true, began + 5s));
    lookAfter(60s);
    EXPECT_EQ(questions(), 0U);
    ASSERT_TRUE(observer->setPaused(false, began + 60s));
    lookAfter(69s);
    EXPECT_EQ(questions(), 0U);
    lookAfter(70s);
    EXPECT_EQ(questions(), 1U);
}

TEST_F(UnheardSoundNoticeTest, WithoutAServerItIsToldOnlyOfWhatWasHeardBefore)
{
    capture();
    beginFile();
    lookAfter(10s);
    answer(UnheardReason::noServer);
    EXPECT_THAT(told(), IsEmpty()) << "nobody knows whether it plays";
    hear(began + 20s, false);
    lookAfter(30s);
    answer(UnheardReason::noServer);
    ASSERT_THAT(told(), SizeIs(1));
    EXPECT_THAT(told()[0].content.body, HasSubstr("No sound server answers any more"));
}

TEST_F(UnheardSoundNoticeTest, TheNextCaptureIsToldAnewAndTheNextRecordingOfThisOneIsNot)
{
    capture();
    for (int round = 0; round < 2; ++round) {
        beginFile();
        lookAfter(10s);
        answer(UnheardReason::muted);
        file->finishWriting([] {});
        executor->runAll();
        lookAfter(60s);
        EXPECT_EQ(questions(), 0U);
        std::filesystem::remove(folder.path() / "clip.mp4");
    }
    EXPECT_THAT(told(), SizeIs(1));
    capture();
    beginFile();
    lookAfter(10s);
    answer(UnheardReason::muted);
    EXPECT_THAT(told(), SizeIs(2));
}

TEST_F(UnheardSoundNoticeTest, AnAnswerOfAnEarlierCaptureIsNotBelieved)
{
    capture();
    beginFile();
    lookAfter(10s);
    auto late = std::move(streams->streams.back()->silenceQuestions.front());
    capture();
    late(UnheardReason::muted);
    executor->runAll();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(UnheardSoundNoticeTest, EachReasonHasASentence)
{
    for (const auto reason : {UnheardReason::muted, UnheardReason::undecoded, UnheardReason::anotherServer, UnheardReason::noStream}) {
        EXPECT_THAT(unheardSoundText(reason, "A"), HasSubstr("A "));
        EXPECT_THAT(unheardSoundText(reason, ""), HasSubstr("The application "));
    }
}

}  // namespace
}  // namespace velmora
