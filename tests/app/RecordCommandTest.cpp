#include "app/RecordCommand.h"

#include "app/MainThreadExecutor.h"
#include "app/TerminationSignals.h"
#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCaptureStream.h"
#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeScreens.h"
#include "platform/fake/FakeShareableContent.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <iterator>
#include <pthread.h>

namespace velmora {
namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;

constexpr std::chrono::seconds patience{60};

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

class RecordCommandTest : public testing::Test {
protected:
    RecordCommandTest()
    {
        TerminationSignals::block();
        command.windowID = 7;
        command.output = folder.path() / "clip.mp4";
        content->content.displays = {{1, {0, 0, 1920, 1080}}};
        content->content.windows.push_back({
            .windowID = 7,
            .title = "Film",
            .frame = {0, 0, 640, 480},
            .windowLayer = 0,
            .isOnScreen = true,
            .owningApplication = platform::RunningApplication{"player", "Player", 4242},
        });
        files->movies = {folder.path()};
        services.fileManager = files;
        services.screens = std::make_shared<fake::FakeScreens>();
        services.shareableContent = content;
        services.captureStreams = streams;
        services.compressionSessions = encoders;
        services.assetWriters = writers;
        writers->onCreate = [this](fake::FakeAssetWriter& writer) {
            writer.onAdd = [this](fake::FakeAssetWriterInput& input) {
                if (input.mediaType == MediaType::video)
                    input.refuses = [this, &writer = input.writer](const SampleBuffer& sample) { return refuses(writer, sample); };
            };
        };
    }

    /// Once the condition holds, the step is taken, in the event loop of the command.
    void when(std::function<bool()> condition, std::function<void()> step) { steps_.emplace_back(std::move(condition), std::move(step)); }

    int run()
    {
        QTimer timer;
        const auto deadline = std::chrono::steady_clock::now() + patience;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "what the test waits for never comes";
                return QCoreApplication::exit(-1);
            }
            if (arePicturesDelivered_ && writers->writers.empty())
                streams->streams[0]->deliver(test::screenSample(++pictures_ * 16'000'000), platform::StreamOutputType::screen);
            if (next_ < steps_.size() && steps_[next_].first())
                steps_[next_++].second();
        });
        timer.start(std::chrono::milliseconds{1});
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = runRecordCommand(command, services, std::make_shared<MainThreadExecutor>());
        std::fflush(stdout);
        output = testing::internal::GetCapturedStdout();
        errors = testing::internal::GetCapturedStderr();
        EXPECT_EQ(next_, steps_.size()) << "the command ended before the test was through\n" << errors;
        return status;
    }

    /// Nothing is saved, and that is why.
    void expectFailure(const std::string& message)
    {
        EXPECT_EQ(run(), command_line::failed);
        EXPECT_EQ(output, "");
        EXPECT_EQ(errors, message + "\n");
    }

    /// What was written is saved.
    void expectEarlyEnd(const std::string& reason)
    {
        EXPECT_EQ(run(), command_line::endedEarly);
        EXPECT_EQ(output, command.output->string() + "\n");
        EXPECT_EQ(errors, "The recording ended early: " + reason + "\n");
    }

    [[nodiscard]] bool isCapturing() const { return !streams->streams.empty() && streams->streams[0]->started; }

    /// From now on, until there is a file for them. A single one might come before the capture takes any, or while the encoder is being
    /// made.
    void deliverPictures() { arePicturesDelivered_ = true; }

    /// Pictures come until one of them is in the file.
    void recordSomething()
    {
        when([this] { return isCapturing(); }, [this] { deliverPictures(); });
        when([this] { return !writers->writers.empty(); }, [this] { writeKeyFrame(); });
        when([this] { return written > 0; }, [] {});
    }

    void writeKeyFrame() { encoders->newest()->emitOutput(0, test::videoSample(1'000'000'000, true)); }

    static void interrupt() { ::pthread_kill(::pthread_self(), SIGINT); }

    /// Not yet seen by the command.
    static bool isInterruptPending()
    {
        sigset_t pending;
        sigpending(&pending);
        return sigismember(&pending, SIGINT) == 1;
    }

    virtual bool refuses(fake::FakeAssetWriter&, const SampleBuffer&)
    {
        ++written;
        return false;
    }

    int argumentCount = 1;
    char name[8] = "velmora";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};

    const test::TemporaryDirectory folder;
    command_line::Record command;
    platform::PlatformServices services;
    const std::shared_ptr<fake::FakeFileManager> files = std::make_shared<fake::FakeFileManager>();
    const std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    const std::shared_ptr<fake::FakeCaptureStreams> streams = std::make_shared<fake::FakeCaptureStreams>();
    const std::shared_ptr<fake::FakeCompressionSessions> encoders = std::make_shared<fake::FakeCompressionSessions>();
    const std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    std::atomic<int> written = 0;
    std::string output;
    std::string errors;

private:
    std::vector<std::pair<std::function<bool()>, std::function<void()>>> steps_;
    std::size_t next_ = 0;
    std::int64_t pictures_ = 0;
    bool arePicturesDelivered_ = false;
};

TEST_F(RecordCommandTest, TheUsersInterruptEndsItWellAndPrintsThePath)
{
    recordSomething();
    when([] { return true; }, interrupt);
    EXPECT_EQ(run(), command_line::succeeded);
    EXPECT_EQ(output, command.output->string() + "\n");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(writers->writers[0]->finishCount, 1);
}

TEST_F(RecordCommandTest, PicturesThatTheMachineWasTooSlowForAreSaidAtTheEnd)
{
    recordSomething();
    when([] { return true; },
        [this] {
            for (int i = 0; i < 9; ++i)
                encoders->newest()->emitOutput(0, nullptr);
            interrupt();
        });
    EXPECT_EQ(run(), command_line::succeeded) << "what was recorded is a clip";
    EXPECT_EQ(output, command.output->string() + "\n");
    EXPECT_EQ(errors, "The machine did not keep up: the recording lost 9 of " + std::to_string(9 + written) + " pictures.\n");
}

TEST_F(RecordCommandTest, BeginsWhenTheEncoderIsReady)
{
    encoders->encodesAtOnce = false;
    when([this] { return isCapturing(); }, [this] { deliverPictures(); });
    when([this] { return encoders->newest() != nullptr; },
        [this] {
            EXPECT_TRUE(writers->writers.empty()) << "it begins while the encoder is being made";
            writeKeyFrame();
        });
    when([this] { return !writers->writers.empty(); }, [this] { writeKeyFrame(); });
    when([this] { return written > 0; }, interrupt);
    EXPECT_EQ(run(), command_line::succeeded);
}

TEST_F(RecordCommandTest, AWindowThatClosesEndsItEarlyAndWhatWasRecordedIsSaved)
{
    recordSomething();
    when([] { return true; }, [this] { streams->streams[0]->stopWithError({"X11", 1, "The window was closed.", nullptr}); });
    expectEarlyEnd("The window was closed.");
    EXPECT_EQ(writers->writers[0]->finishCount, 1);
    EXPECT_EQ(writers->writers[0]->cancelCount, 0);
    EXPECT_TRUE(std::filesystem::exists(*command.output));
}

TEST_F(RecordCommandTest, AWindowThatClosesBeforeTheFirstPictureIsAFailure)
{
    when([this] { return isCapturing(); }, [this] { deliverPictures(); });
    when([this] { return !writers->writers.empty(); },
        [this] {
            writers->writers[0]->removesFileAtFinish = true;
            std::filesystem::remove(*command.output);
            streams->streams[0]->stopWithError({"X11", 1, "The window was closed.", nullptr});
        });
    expectFailure("Selected window was closed or is no longer available. Please select a window.");
    EXPECT_EQ(writers->writers[0]->cancelCount, 1) << "an empty file is nothing to keep";
}

TEST_F(RecordCommandTest, AnInterruptWhileTheClipOfAClosedWindowIsBeingSavedChangesNothing)
{
    recordSomething();
    when([] { return true; },
        [this] {
            writers->writers[0]->holdsFinish = true;
            streams->streams[0]->stopWithError({"X11", 1, "The window was closed.", nullptr});
        });
    when([] { return true; }, interrupt);
    when([] { return !isInterruptPending(); }, [this] { writers->writers[0]->answerFinish(); });
    expectEarlyEnd("The window was closed.");
    EXPECT_EQ(writers->writers[0]->finishCount, 1);
}

TEST_F(RecordCommandTest, AWindowThatClosesWhileTheClipIsBeingSavedChangesNothing)
{
    MainThreadExecutor mainThread;
    bool isClosed = false;
    recordSomething();
    when([] { return true; },
        [&] {
            interrupt();
            mainThread.async([&] {
                isClosed = true;
                streams->streams[0]->stopWithError({"X11", 1, "The window was closed.", nullptr});
            });
        });
    EXPECT_EQ(run(), command_line::succeeded);
    EXPECT_TRUE(isClosed);
    EXPECT_EQ(output, command.output->string() + "\n");
    EXPECT_EQ(errors, "");
}

TEST_F(RecordCommandTest, AnInterruptBeforeTheCaptureSaysThatNothingWasRecorded)
{
    when([this] { return isCapturing(); }, interrupt);
    expectFailure("Nothing has been recorded yet.");
    EXPECT_FALSE(std::filesystem::exists(*command.output));
}

TEST_F(RecordCommandTest, AnInterruptBeforeTheFirstPictureIsInTheFileSaysThatNothingWasRecorded)
{
    when([this] { return isCapturing(); }, [this] { deliverPictures(); });
    when([this] { return !writers->writers.empty(); },
        [this] {
            // As the real one does with an empty file.
            writers->writers[0]->finishStatus = platform::AssetWriter::Status::failed;
            writers->writers[0]->removesFileAtFinish = true;
            interrupt();
        });
    expectFailure("Nothing has been recorded yet.");
}

class FullDiskRecordCommandTest : public RecordCommandTest {
protected:
    bool refuses(fake::FakeAssetWriter& writer, const SampleBuffer& sample) override
    {
        if (!isFull)
            return RecordCommandTest::refuses(writer, sample);
        if (interruptComesFirst)
            ::pthread_kill(commandsThread_, SIGINT);
        writer.fail(posixError(ENOSPC, "clip.mp4"));
        return true;
    }

    void fillTheDisk()
    {
        isFull = true;
        writeKeyFrame();
    }

    std::atomic<bool> isFull = false;
    bool interruptComesFirst = false;

private:
    const ::pthread_t commandsThread_ = ::pthread_self();
};

TEST_F(FullDiskRecordCommandTest, AWriterThatFailsInTheMiddleEndsItEarlyWithWhatWasWritten)
{
    recordSomething();
    when([] { return true; }, [this] { fillTheDisk(); });
    expectEarlyEnd("clip.mp4: No space left on device");
}

TEST_F(FullDiskRecordCommandTest, AWriterThatFailsWithNothingWrittenIsAFailure)
{
    recordSomething();
    when([] { return true; },
        [this] {
            writers->writers[0]->removesFileAtFinish = true;
            fillTheDisk();
        });
    expectFailure("Failed saving recording: clip.mp4: No space left on device");
}

TEST_F(FullDiskRecordCommandTest, ADiskThatIsFullFromTheFirstPictureOnIsSaidEvenIfAnInterruptCameFirst)
{
    interruptComesFirst = true;
    when([this] { return isCapturing(); }, [this] { deliverPictures(); });
    when([this] { return !writers->writers.empty(); },
        [this] {
            writers->writers[0]->removesFileAtFinish = true;
            fillTheDisk();
        });
    expectFailure("Failed saving recording: clip.mp4: No space left on device");
}

class TwoEncodersRecordCommandTest : public RecordCommandTest {
protected:
    bool refuses(fake::FakeAssetWriter& writer, const SampleBuffer& sample) override
    {
        return sample.format->video()->width != 640 || RecordCommandTest::refuses(writer, sample);
    }
};

TEST_F(TwoEncodersRecordCommandTest, AnotherEncoderWhosePicturesDoNotFitEndsItEarlyWithWhatWasWritten)
{
    recordSomething();
    when([] { return true; },
        [this] {
            auto foreign = std::make_shared<SampleBuffer>(*test::videoSample(2'000'000'000, true));
            foreign->format = std::make_shared<const FormatDescription>(VideoFormat{FourCharacterCode{"avc1"}, 320, 240, {}, {}});
            encoders->newest()->emitOutput(0, foreign);
        });
    expectEarlyEnd("Another encoder has taken over, and its pictures do not belong in the same file");
    EXPECT_EQ(writers->writers[0]->finishCount, 1);
}

TEST_F(RecordCommandTest, AnEncoderThatFailsForGoodEndsItEarlyWithWhatWasWritten)
{
    recordSomething();
    when([] { return true; },
        [this] {
            for (int i = 0; i < 30; ++i)
                encoders->newest()->emitOutput(-5, nullptr);
        });
    expectEarlyEnd("The encoder keeps failing (Status: -5)");
    EXPECT_EQ(writers->writers[0]->finishCount, 1);
}

TEST_F(RecordCommandTest, AnEncoderThatFailsForGoodBeforeItsFirstPictureIsAFailure)
{
    encoders->encodesAtOnce = false;
    when([this] { return isCapturing(); }, [this] { deliverPictures(); });
    when([this] { return encoders->newest() != nullptr; },
        [this] {
            for (int i = 0; i < 30; ++i)
                encoders->newest()->emitOutput(-5, nullptr);
        });
    expectFailure("Failed to start recording: The encoder keeps failing (Status: -5)");
    EXPECT_TRUE(writers->writers.empty());
}

TEST_F(RecordCommandTest, NoEncoderAtAllIsAFailureThatSaysWhy)
{
    encoders->createStatus = -12903;
    when([this] { return isCapturing(); }, [this] { deliverPictures(); });
    expectFailure("Failed to start recording: The encoder cannot be started (Status: -12903).");
}

TEST_F(RecordCommandTest, SoundThatIsLostIsSaidAndTheRecordingGoesOn)
{
    recordSomething();
    when([] { return true; },
        [this] {
            streams->streams[0]->delegate.lock()->streamDidLoseSound(
                *streams->streams[0], {"Test", 1, "No sound server answers.", nullptr});
        });
    when([] { return true; }, interrupt);
    EXPECT_EQ(run(), command_line::succeeded);
    EXPECT_EQ(output, command.output->string() + "\n");
    EXPECT_EQ(errors, "Without sound: No sound server answers.\n");
}

TEST_F(RecordCommandTest, AFileThatAppearsAfterItBeganToCaptureIsNotReplaced)
{
    writers->createError = posixError(EEXIST, "clip.mp4");
    when([this] { return isCapturing(); },
        [this] {
            std::ofstream{*command.output} << "mine";
            deliverPictures();
        });
    EXPECT_EQ(run(), command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, command.output->string() + " already exists; choose another name.\n");
    EXPECT_EQ(contentOf(*command.output), "mine");
}

/// Somebody else takes the first name that is tried.
class QuickerRecorder final : public platform::AssetWriterFactory {
public:
    explicit QuickerRecorder(std::shared_ptr<fake::FakeAssetWriters> inner) : inner_(std::move(inner)) { }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(
        const std::filesystem::path& outputURL, platform::AssetFileType type) override
    {
        if (taken.empty()) {
            taken = outputURL;
            std::ofstream{outputURL} << "mine";
            return fail(posixError(EEXIST, outputURL.native()));
        }
        return inner_->makeAssetWriter(outputURL, type);
    }

    std::filesystem::path taken;

private:
    const std::shared_ptr<fake::FakeAssetWriters> inner_;
};

TEST_F(RecordCommandTest, ANameOfOursThatAnotherTakesGivesWayToTheNext)
{
    const auto quicker = std::make_shared<QuickerRecorder>(writers);
    services.assetWriters = quicker;
    command.output.reset();
    recordSomething();
    when([] { return true; }, interrupt);
    EXPECT_EQ(run(), command_line::succeeded);
    EXPECT_EQ(output, (quicker->taken.parent_path() / (quicker->taken.stem().string() + "-1.mp4")).string() + "\n");
    EXPECT_EQ(contentOf(quicker->taken), "mine");
}

TEST_F(RecordCommandTest, AnOutputThatCannotBeExaminedIsAClearError)
{
    const auto loop = folder.path() / "loop";
    std::filesystem::create_symlink(loop, loop);
    const std::pair<std::filesystem::path, const char*> outputs[] = {
        {folder.path() / (std::string(252, 'x') + ".mp4"), "File name too long"},
        {folder.path() / std::string(4100, '/') / "clip.mp4", "File name too long"},
        {loop / "clip.mp4", "Too many levels of symbolic links"},
    };
    for (const auto& [path, why] : outputs) {
        command.output = path;
        EXPECT_EQ(run(), command_line::failed);
        EXPECT_EQ(output, "");
        EXPECT_THAT(errors, StartsWith("Failed to start recording: "));
        EXPECT_THAT(errors, EndsWith(std::string{why} + "\n"));
    }
    EXPECT_TRUE(streams->streams.empty()) << "nothing is captured for nothing";
}

TEST_F(RecordCommandTest, TheSoundOfAWindowThatNeedsNoRequestIsNotForTheCommandToChoose)
{
    command.sound = "Player";
    expectFailure("The sound of this window is its application's own: --sound is for windows that a Wayland desktop shares.");
}

}  // namespace
}  // namespace velmora
