#include "engine/capture/CaptureStreams.h"

#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/Samples.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace velmora::engine {
namespace {

using platform::StreamOutputType;

// A test's hold on a source, which the stream owns.
struct SourceState {
    std::optional<Error> startError;
    std::optional<Error> updateError;
    std::vector<std::pair<std::int32_t, std::int32_t>> sizesAsked;
    bool started = false;
    std::atomic<int> stopCount = 0;
    std::atomic<int> wishes = 0;  ///< for a picture
    std::atomic<int> wishesAtStop = 0;
    AudioTarget target;
    AudioSourceFormat format;
    VideoSource::Callbacks video;
    AudioSource::BlockCallback audio;
};

class ScriptedVideo final : public VideoSource {
public:
    explicit ScriptedVideo(std::shared_ptr<SourceState> state) : state_(std::move(state)) { }

    Result<void> start(Callbacks callbacks) override
    {
        if (state_->startError)
            return fail(*state_->startError);
        state_->video = std::move(callbacks);
        state_->started = true;
        return {};
    }

    Result<void> updateSize(std::int32_t width, std::int32_t height) override
    {
        state_->sizesAsked.emplace_back(width, height);
        if (state_->updateError)
            return fail(*state_->updateError);
        return {};
    }

    void wantPicture() override { ++state_->wishes; }

    void stop() override
    {
        ++state_->stopCount;
        state_->wishesAtStop = state_->wishes.load();
    }

private:
    std::shared_ptr<SourceState> state_;
};

class ScriptedAudio final : public AudioSource {
public:
    explicit ScriptedAudio(std::shared_ptr<SourceState> state) : state_(std::move(state)) { }

    Result<void> start(const AudioTarget& target, AudioSourceFormat format, BlockCallback block) override
    {
        if (state_->startError)
            return fail(*state_->startError);
        state_->target = target;
        state_->format = format;
        state_->audio = std::move(block);
        state_->started = true;
        return {};
    }

    void stop() override { ++state_->stopCount; }

private:
    std::shared_ptr<SourceState> state_;
};

class StreamReceiver final : public platform::StreamOutput, public platform::StreamDelegate {
public:
    void streamDidOutputSampleBuffer(const platform::CaptureStream&, const SampleBufferRef& sample, StreamOutputType type) override
    {
        received.emplace_back(type, sample);
    }

    void streamDidStopWithError(const platform::CaptureStream&, const Error& error) override { stopped.set_value(error); }

    void streamDidLoseSound(const platform::CaptureStream&, const Error& error) override { losses.push_back(error.localizedDescription); }
    void streamDidRegainSound(const platform::CaptureStream&) override { ++regains; }
    void streamContentDidSettle(const platform::CaptureStream&, std::int32_t width, std::int32_t height) override
    {
        settled.emplace_back(width, height);
    }

    std::vector<std::pair<StreamOutputType, SampleBufferRef>> received;
    std::promise<Error> stopped;
    std::vector<std::string> losses;
    int regains = 0;
    std::vector<std::pair<std::int32_t, std::int32_t>> settled;
};

class LinuxCaptureStreamTest : public testing::Test {
protected:
    void make()
    {
        const platform::ShareableWindow window{.windowID = 5,
            .title = "t",
            .frame = {0, 0, 640, 480},
            .windowLayer = 0,
            .isOnScreen = true,
            .owningApplication = platform::RunningApplication{"player", "Player", 42}};
        platform::StreamConfiguration configuration;
        configuration.capturesAudio = capturesAudio;
        configuration.excludesCurrentProcessAudio = true;
        stream = makeCaptureStreams(
            {.makeVideoSource = [this](auto&, auto&) { return std::make_unique<ScriptedVideo>(video); },
                .makeAudioSource = [this]() -> std::unique_ptr<AudioSource> { return std::make_unique<ScriptedAudio>(audio); },
                .shareableContent = content,
                .listSoundStreams = listSoundStreams,
                .processes = {.record =
                                  [](auto) {
                                      return std::optional{ProcessRecord{1, 1}};
                                  },
                    .executable = {},
                    .now = [] { return std::uint64_t{2}; },
                    .own = 7},
                .keyFrameRequests = requests})
                     ->makeStream(platform::ContentFilter::desktopIndependentWindow(window), configuration, receiver);
        ASSERT_TRUE(stream->addStreamOutput(receiver, StreamOutputType::screen, pictures));
        ASSERT_TRUE(stream->addStreamOutput(receiver, StreamOutputType::audio, sounds));
    }

    Result<void> start()
    {
        std::promise<Result<void>> done;
        stream->startCapture([&](Result<void> result) { done.set_value(std::move(result)); });
        return done.get_future().get();
    }

    void stop()
    {
        std::promise<void> done;
        stream->stopCapture([&](const Result<void>&) { done.set_value(); });
        done.get_future().get();
    }

    /// What is waiting in a queue holds the stream's delivery, which holds the queue.
    void TearDown() override
    {
        pictures->runAll();
        sounds->runAll();
    }

    std::optional<platform::UnheardReason> whySilent()
    {
        std::promise<std::optional<platform::UnheardReason>> answer;
        stream->explainSilence([&](auto reason) { answer.set_value(reason); });
        return answer.get_future().get();
    }

    KeyFrameRequests requests;
    std::function<Result<std::vector<SoundStream>>()> listSoundStreams;
    bool capturesAudio = true;
    std::shared_ptr<SourceState> video = std::make_shared<SourceState>();
    std::shared_ptr<SourceState> audio = std::make_shared<SourceState>();
    std::shared_ptr<StreamReceiver> receiver = std::make_shared<StreamReceiver>();
    std::shared_ptr<fake::ManualExecutor> pictures = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::ManualExecutor> sounds = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    std::shared_ptr<platform::CaptureStream> stream;
};

TEST_F(LinuxCaptureStreamTest, DeliversPicturesAndSoundOnTheirOwnQueues)
{
    make();
    ASSERT_TRUE(start());
    const auto picture = test::screenSample(1);
    const auto sound = test::audioSample(2);
    video->video.picture(picture);
    audio->audio(sound);
    EXPECT_TRUE(receiver->received.empty());
    pictures->runAll();
    ASSERT_EQ(receiver->received.size(), 1U);
    EXPECT_EQ(receiver->received[0].first, StreamOutputType::screen);
    EXPECT_EQ(receiver->received[0].second, picture);
    sounds->runAll();
    ASSERT_EQ(receiver->received.size(), 2U);
    EXPECT_EQ(receiver->received[1].second, sound);
    stop();
}

TEST_F(LinuxCaptureStreamTest, SaysWhyNothingIsHeardOfItsWindowsApplication)
{
    using platform::UnheardReason;
    std::vector<SoundStream> streams{{.identity = {42, true, "Player", "player", {}}, .mediaName = {}, .isPlaying = true, .isMuted = true}};
    bool isServed = true;
    listSoundStreams = [&]() -> Result<std::vector<SoundStream>> {
        return isServed ? Result<std::vector<SoundStream>>{streams} : fail("Test", 1, "No server.");
    };
    make();
    ASSERT_TRUE(start());
    EXPECT_EQ(whySilent(), UnheardReason::muted);
    streams.front().isMuted = false;
    EXPECT_EQ(whySilent(), std::nullopt);
    // Of the same name, but not below the window's process; the only window there is belongs to another.
    streams.front().identity.processID = 43;
    EXPECT_EQ(whySilent(), UnheardReason::noStream);
    content->content.windows.push_back(
        {.windowID = 6, .title = {}, .frame = {}, .owningApplication = platform::RunningApplication{"player", "Player", 43}});
    EXPECT_EQ(whySilent(), std::nullopt) << "it plays for its own window";
    isServed = false;
    EXPECT_EQ(whySilent(), UnheardReason::noServer);
    stop();
}

TEST_F(LinuxCaptureStreamTest, NobodyIsAskedWhyAStreamWithoutSoundIsSilent)
{
    listSoundStreams = []() -> Result<std::vector<SoundStream>> { return fail("Test", 1, "No server."); };
    capturesAudio = false;
    make();
    ASSERT_TRUE(start());
    EXPECT_EQ(whySilent(), std::nullopt);
    stop();
}

TEST_F(LinuxCaptureStreamTest, WhereNobodyKnowsTheStreamsOfSoundNothingIsSaid)
{
    make();
    ASSERT_TRUE(start());
    EXPECT_EQ(whySilent(), std::nullopt);
    stop();
}

/// Gives an environment variable another value for as long as it lives.
class ChangedVariable {
public:
    ChangedVariable(const char* name, const char* value) : name_(name)
    {
        if (const char* old = std::getenv(name))
            old_ = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ChangedVariable() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }
    ChangedVariable(const ChangedVariable&) = delete;
    ChangedVariable& operator=(const ChangedVariable&) = delete;

private:
    const char* const name_;
    std::optional<std::string> old_;
};

TEST_F(LinuxCaptureStreamTest, TellsItsDelegateWhichSizeTheWindowHasSettledAtWhileItRuns)
{
    make();
    ASSERT_TRUE(start());
    video->video.settled(1920, 1080);
    EXPECT_EQ(receiver->settled, (std::vector<std::pair<std::int32_t, std::int32_t>>{{1920, 1080}}));
    stop();
    video->video.settled(640, 480);
    EXPECT_EQ(receiver->settled.size(), 1U);
}

TEST_F(LinuxCaptureStreamTest, AnUpdateOfTheSizeIsTheSourcesUnlessNoPictureHasThatSizeOrTheStreamHasEnded)
{
    const auto update = [this](std::int32_t width, std::int32_t height) {
        std::promise<Result<void>> done;
        stream->updateSize(width, height, [&](Result<void> result) { done.set_value(std::move(result)); });
        return done.get_future().get();
    };
    make();
    ASSERT_TRUE(start());
    EXPECT_TRUE(update(1920, 1080));
    EXPECT_FALSE(update(0, 1080));
    EXPECT_FALSE(update(1920, 32768));
    video->updateError = Error{"X11", 9, "It is gone.", nullptr};
    EXPECT_EQ(update(960, 540).error(), *video->updateError);
    EXPECT_EQ(video->sizesAsked, (std::vector<std::pair<std::int32_t, std::int32_t>>{{1920, 1080}, {960, 540}}));
    stop();
    EXPECT_FALSE(update(640, 480));
    EXPECT_EQ(video->sizesAsked.size(), 2U);
}

TEST_F(LinuxCaptureStreamTest, WhoAsksForAKeyFrameGetsAPictureOfTheSourceWhileItRuns)
{
    make();
    static_cast<void>(requests.ask());
    EXPECT_EQ(video->wishes, 0) << "before the start there is nobody to ask";
    ASSERT_TRUE(start());
    static_cast<void>(requests.ask());
    static_cast<void>(requests.ask());
    EXPECT_EQ(video->wishes, 2);
    stop();
    static_cast<void>(requests.ask());
    EXPECT_EQ(video->wishes, 2);
}

TEST_F(LinuxCaptureStreamTest, ASourceIsAskedForNothingOnceItHasBeenStopped)
{
    for (int round = 0; round < 50; ++round) {
        video = std::make_shared<SourceState>();
        make();
        ASSERT_TRUE(start());
        std::atomic<bool> isOver = false;
        std::thread impatient{[&] {
            while (!isOver) {
                static_cast<void>(requests.ask());
                std::this_thread::yield();
            }
        }};
        stop();
        isOver = true;
        impatient.join();
        EXPECT_EQ(video->wishes.load(), video->wishesAtStop.load());
    }
}

TEST_F(LinuxCaptureStreamTest, ASourceThatDidNotStartIsAskedForNothing)
{
    make();
    video->startError = Error{"test", 1, "no", nullptr};
    ASSERT_FALSE(start());
    static_cast<void>(requests.ask());
    EXPECT_EQ(video->wishes, 0);
}

TEST_F(LinuxCaptureStreamTest, SoundThatCannotBeHadIsToldWithWhatAPersonCanDo)
{
    const Error noServer{"Velmora.AudioSource", 1, "No sound server answers.", nullptr};
    const auto loss = [&](const Error& error) {
        audio->startError = error;
        make();
        EXPECT_TRUE(start());
        stop();
        return receiver->losses.back();
    };
    {
        const ChangedVariable unset{"XDG_RUNTIME_DIR", nullptr};
        EXPECT_EQ(loss(noServer), "There is no runtime folder: XDG_RUNTIME_DIR is not set.");
    }
    {
        const ChangedVariable gone{"XDG_RUNTIME_DIR", "/run/user/nobody"};
        EXPECT_EQ(loss(noServer), "There is no runtime folder /run/user/nobody.");
    }
    const ChangedVariable there{"XDG_RUNTIME_DIR", "/tmp"};
    EXPECT_EQ(loss(noServer), "No sound server answers.");
    auto outOfFiles = noServer;
    outOfFiles.underlying = std::make_shared<const Error>(posixError(EMFILE, "No PipeWire server answers"));
    EXPECT_EQ(loss(outOfFiles), "Too many files are open.");
    EXPECT_EQ(receiver->losses.size(), 4U);
}

TEST_F(LinuxCaptureStreamTest, SoundThatNeverComesIsMissedAfterThreeSecondsOfPicturesAndWelcomeLater)
{
    make();
    ASSERT_TRUE(start());
    constexpr std::int64_t begin = 7'000'000'000;
    constexpr std::int64_t second = 1'000'000'000;
    for (const auto time : {begin, begin + second, begin + 3 * second - 1})
        video->video.picture(test::screenSample(time));
    EXPECT_TRUE(receiver->losses.empty());
    for (int i = 0; i < 3; ++i)
        video->video.picture(test::screenSample(begin + (3 + i) * second));
    EXPECT_EQ(receiver->losses, std::vector<std::string>{"No sound server answers."});
    audio->audio(test::audioSample(begin + 9 * second));
    audio->audio(test::audioSample(begin + 10 * second));
    EXPECT_EQ(receiver->regains, 1);
    video->video.picture(test::screenSample(begin + 20 * second));
    EXPECT_EQ(receiver->losses.size(), 1U);
    stop();
}

TEST_F(LinuxCaptureStreamTest, SoundThatComesOrIsNotWantedIsNotMissed)
{
    for (const bool isWanted : {true, false}) {
        capturesAudio = isWanted;
        make();
        ASSERT_TRUE(start());
        if (isWanted)
            audio->audio(test::audioSample(1));
        for (const std::int64_t time : {1'000'000'000LL, 9'000'000'000LL})
            video->video.picture(test::screenSample(time));
        stop();
    }
    EXPECT_TRUE(receiver->losses.empty());
    EXPECT_EQ(receiver->regains, 0);
}

TEST_F(LinuxCaptureStreamTest, AsksForTheSoundOfTheProcessThatOwnsTheWindow)
{
    make();
    ASSERT_TRUE(start());
    EXPECT_EQ(audio->target.processID, 42);
    EXPECT_EQ(audio->target.applicationName, "Player");
    EXPECT_EQ(audio->target.bundleIdentifier, "player");
    EXPECT_TRUE(audio->target.excludesCurrentProcess);
    EXPECT_EQ(audio->format.sampleRate, 48000);
    EXPECT_EQ(audio->format.channelCount, 2);
}

TEST_F(LinuxCaptureStreamTest, KnowsWhichProcessesOwnWindowsOfOtherApplications)
{
    const auto owned = [](std::string bundle, std::int32_t processID) {
        platform::ShareableWindow window;
        window.owningApplication = platform::RunningApplication{std::move(bundle), "", processID};
        return window;
    };
    content->content.windows = {owned("player", 42), owned("player", 43), owned("terminal", 50)};
    make();
    ASSERT_TRUE(start());
    const auto& ownsOther = audio->target.ownsWindowsOfAnotherApplication;
    EXPECT_FALSE(ownsOther(42));
    EXPECT_FALSE(ownsOther(43)) << "a second window of the same application";
    EXPECT_TRUE(ownsOther(50));
    EXPECT_FALSE(ownsOther(99));
    content->error = Error{"Desktop", 1, "gone", nullptr};
    EXPECT_FALSE(ownsOther(50));
}

TEST_F(LinuxCaptureStreamTest, WithoutASoundServerTheStreamDeliversPicturesOnly)
{
    audio->startError = Error{"Sound", 1, "no sound server", nullptr};
    make();
    EXPECT_TRUE(start());
    EXPECT_TRUE(video->started);
    stop();
    EXPECT_EQ(audio->stopCount, 0);
}

TEST_F(LinuxCaptureStreamTest, AsksForNoSoundWhenNoneIsWanted)
{
    capturesAudio = false;
    make();
    ASSERT_TRUE(start());
    EXPECT_FALSE(audio->started);
}

TEST_F(LinuxCaptureStreamTest, AWindowThatCannotBeCapturedFailsTheStartWithItsError)
{
    video->startError = Error{"X11", 3, "no such window", nullptr};
    make();
    const auto result = start();
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), *video->startError);
    EXPECT_EQ(audio->stopCount, 1);
}

TEST_F(LinuxCaptureStreamTest, RefusesAMicrophoneOutput)
{
    make();
    EXPECT_FALSE(stream->addStreamOutput(receiver, StreamOutputType::microphone, pictures));
}

TEST_F(LinuxCaptureStreamTest, AfterAStopWasAskedForNothingArrivesNotEvenWhatWasQueued)
{
    make();
    ASSERT_TRUE(start());
    video->video.picture(test::screenSample(1));
    stop();
    audio->audio(test::audioSample(2));
    pictures->runAll();
    sounds->runAll();
    EXPECT_TRUE(receiver->received.empty());
    EXPECT_GE(video->stopCount, 1);
    EXPECT_GE(audio->stopCount, 1);
}

TEST_F(LinuxCaptureStreamTest, TellsItsDelegateOnceWhenTheWindowGoes)
{
    make();
    ASSERT_TRUE(start());
    video->video.stopped({"X11", 4, "The window is gone.", nullptr});
    video->video.stopped({"X11", 4, "again", nullptr});  // a second promise.set_value would throw
    EXPECT_EQ(receiver->stopped.get_future().get().localizedDescription, "The window is gone.");
    video->video.picture(test::screenSample(1));
    pictures->runAll();
    EXPECT_TRUE(receiver->received.empty());
    stop();
}

TEST_F(LinuxCaptureStreamTest, DoesNotTellOfAWindowThatGoesAfterTheStop)
{
    make();
    ASSERT_TRUE(start());
    stop();
    video->video.stopped({"X11", 4, "late", nullptr});
    const auto told = receiver->stopped.get_future();
    stop();  // after whatever the late call queued
    EXPECT_EQ(told.wait_for(std::chrono::seconds{0}), std::future_status::timeout);
}

TEST_F(LinuxCaptureStreamTest, ReleasedWithoutAStopItStopsItsSources)
{
    make();
    ASSERT_TRUE(start());
    std::weak_ptr<platform::CaptureStream> watch = stream;
    stream.reset();
    while (!watch.expired())  // the start's own work may hold it for a moment
        std::this_thread::yield();
    // It expires before the destructor ends, whose last act is the count.
    while (video->stopCount == 0)
        std::this_thread::yield();
    EXPECT_EQ(video->stopCount, 1);
}

}  // namespace
}  // namespace velmora::engine
