#include "app/ShareCommand.h"

#include "app/TerminationSignals.h"
#include "platform/fake/FakeClipTranscoder.h"
#include "platform/fake/FakeFileManager.h"
#include "tests/app/CommandFixture.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>

namespace velmora {
namespace {

class ShareCommandTest : public CommandFixture {
protected:
    /// `step` is carried out on the session once the command waits for it.
    int run(const std::function<void(fake::FakeTranscodingSession&)>& step, std::size_t sessionCount = 1)
    {
        QTimer::singleShot(0, &application, [&] {
            ASSERT_EQ(transcoder->sessions.size(), sessionCount);
            step(*transcoder->sessions[0]);
        });
        return run();
    }

    int run()
    {
        return runCaptured([this] {
            return runShareCommand(command,
                {transcoder, std::make_shared<fake::FakeFileManager>(), std::make_shared<EventLoopExecutor>(),
                    [this] { return folder.path(); },
                    [this](const std::filesystem::path& file) {
                        copied.push_back(file);
                        return hasClipboard;
                    }});
        });
    }

    command_line::Share command{.file = folder.path() / "clip.mp4", .settings = {.limit = 10'000'000}};
    const std::shared_ptr<fake::FakeClipTranscoder> transcoder = std::make_shared<fake::FakeClipTranscoder>();
    std::vector<std::filesystem::path> copied;
    bool hasClipboard = false;
};

TEST_F(ShareCommandTest, PutsTheCopyOntoTheClipboardOfTheRunningProgramAndSaysSo)
{
    hasClipboard = true;
    EXPECT_EQ(run([](auto& session) { session.steps.complete(); }), command_line::succeeded);
    ASSERT_EQ(copied.size(), 1U);
    EXPECT_EQ(copied[0], folder.path() / "Shared" / "clip-10MB.mp4");
    EXPECT_EQ(errors, "9.6 MB, 1280 × 720, 30 pictures a second, sound at 96 kbit/s. It is on the clipboard.\n");
    command.json = true;
    run([this](auto&) { transcoder->sessions[1]->steps.complete(); }, 2);
    EXPECT_TRUE(QJsonDocument::fromJson(QByteArray::fromStdString(output)).object()["isOnClipboard"].toBool());
}

TEST_F(ShareCommandTest, ACopyWithANameOfItsOwnOrThatFailedIsNotForTheClipboard)
{
    hasClipboard = true;
    EXPECT_EQ(run([](auto& session) {
        session.steps.fail({"Velmora.Transcoding", 1, "10 MB are too little.", nullptr});
    }),
        command_line::failed);
    command.output = folder.path() / "mine.mp4";
    run([this](auto&) { transcoder->sessions[1]->steps.complete(); }, 2);
    EXPECT_TRUE(copied.empty());
}

TEST_F(ShareCommandTest, AGifHasItsExtensionAndSaysItsColours)
{
    command.settings.format = platform::CopyFormat::gif;
    EXPECT_EQ(run([](auto& session) {
        session.result = {.size = 2'000'000, .width = 640, .height = 360, .pictureRate = 15, .colours = 256, .rounds = 1};
        session.steps.complete();
    }),
        command_line::succeeded);
    EXPECT_EQ(output, (folder.path() / "Shared" / "clip-10MB.gif").native() + "\n");
    EXPECT_EQ(errors, "2 MB, 640 × 360, 15 pictures a second, 256 colours, no sound.\n");
}

TEST_F(ShareCommandTest, PrintsThePathOfTheCopyBelowTheClipsAndSaysWhatItIs)
{
    EXPECT_EQ(run([](auto& session) { session.steps.complete(); }), command_line::succeeded);
    EXPECT_EQ(output, (folder.path() / "Shared" / "clip-10MB.mp4").native() + "\n");
    EXPECT_EQ(errors, "9.6 MB, 1280 × 720, 30 pictures a second, sound at 96 kbit/s.\n");
    EXPECT_EQ(transcoder->sessions[0]->settings, command.settings);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "Shared"));
}

TEST_F(ShareCommandTest, ANameThatIsTakenMeanwhileGivesWayToTheNext)
{
    EXPECT_EQ(run([](auto& session) {
        EXPECT_TRUE(session.steps.takeOutputURL());
        session.steps.complete();
    }),
        command_line::succeeded);
    EXPECT_EQ(output, (folder.path() / "Shared" / "clip-10MB-1.mp4").native() + "\n");
}

TEST_F(ShareCommandTest, TheChosenOutputIsTakenAsItIs)
{
    command.output = folder.path() / "a" / "b" / "copy.mp4";
    EXPECT_EQ(run([](auto& session) { session.steps.complete(); }), command_line::succeeded);
    EXPECT_EQ(output, command.output->native() + "\n");
    EXPECT_FALSE(transcoder->sessions[0]->steps.nextOutputURL) << "the name is the user's choice";
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "Shared"));
}

TEST_F(ShareCommandTest, AnOutputThatIsThereIsRefusedNowAndMeanwhile)
{
    command.output = folder.path() / "copy.mp4";
    EXPECT_EQ(run([](auto& session) { session.steps.fail(posixError(EEXIST, "copy.mp4")); }), command_line::failed);
    EXPECT_EQ(errors, command.output->native() + " already exists; choose another name.\n");
    std::ofstream{*command.output} << "mine";
    EXPECT_EQ(run(), command_line::failed);
    EXPECT_EQ(errors, command.output->native() + " already exists; choose another name.\n");
    EXPECT_EQ(transcoder->sessions.size(), 1U);
}

TEST_F(ShareCommandTest, SaysThatAClipWasCopiedAsItIs)
{
    EXPECT_EQ(run([](auto& session) {
        session.result = {.isCopy = true, .size = 2'000'000};
        session.steps.complete();
    }),
        command_line::succeeded);
    EXPECT_EQ(errors, "The clip fits as it is and was copied: 2 MB.\n");
}

TEST_F(ShareCommandTest, TellsProgramsInJson)
{
    command.json = true;
    EXPECT_EQ(run([](auto& session) { session.steps.complete(); }), command_line::succeeded);
    EXPECT_EQ(errors, "");
    const auto object = QJsonDocument::fromJson(QByteArray::fromStdString(output)).object();
    EXPECT_EQ(object["file"].toString().toStdString(), (folder.path() / "Shared" / "clip-10MB.mp4").native());
    EXPECT_EQ(object["size"].toInteger(), 9'600'000);
    EXPECT_FALSE(object["isCopy"].toBool(true));
    EXPECT_EQ(object["width"].toInt(), 1280);
    EXPECT_EQ(object["height"].toInt(), 720);
    EXPECT_EQ(object["picturesPerSecond"].toDouble(), 30);
    EXPECT_EQ(object["soundBitRate"].toInt(), 96000);
    EXPECT_EQ(object["rounds"].toInt(), 1);
}

TEST_F(ShareCommandTest, SaysWhyItCannot)
{
    EXPECT_EQ(run([](auto& session) {
        session.steps.fail({"Velmora.Transcoding", 1, "10 MB are too little.", nullptr});
    }),
        command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "Cannot share " + command.file.native() + ": 10 MB are too little.\n");
    transcoder->createError = posixError(ENOENT, command.file.native());
    EXPECT_EQ(run(), command_line::failed);
    EXPECT_EQ(errors, "Cannot share " + command.file.native() + ": " + command.file.native() + ": No such file or directory\n");
}

TEST_F(ShareCommandTest, AFolderThatCannotBeMadeIsAnError)
{
    std::ofstream{folder.path() / "Shared"} << "a file";
    EXPECT_EQ(run(), command_line::failed);
    EXPECT_NE(errors.find("Not a directory"), std::string::npos) << errors;
}

TEST_F(ShareCommandTest, ASignalCancelsIt)
{
    TerminationSignals::block();
    EXPECT_EQ(run([](auto&) { ::pthread_kill(::pthread_self(), SIGINT); }), command_line::failed);
    EXPECT_EQ(transcoder->sessions[0]->steps.cancelCount, 1);
    EXPECT_EQ(errors, "Cancelled.\n");
    EXPECT_EQ(output, "");
}

}  // namespace
}  // namespace velmora
