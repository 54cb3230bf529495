#include "app/TrimCommand.h"

#include "app/JoinCommand.h"
#include "library/PathUtilities.h"
#include "platform/fake/FakeExportSession.h"
#include "platform/fake/FakeFileManager.h"
#include "tests/app/CommandFixture.h"

#include <QTimer>

#include <cerrno>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>

namespace velmora {
namespace {

class TrimCommandTest : public CommandFixture {
protected:
    /// `step` is carried out on the session once the command waits for it.
    int run(const std::function<void(fake::FakeExportSession&)>& step)
    {
        QTimer::singleShot(0, &application, [&] {
            ASSERT_EQ(exports->sessions.size(), 1U);
            step(*exports->sessions[0]);
        });
        return run();
    }

    int run()
    {
        const ExportServices services{exports, std::make_shared<fake::FakeFileManager>(), std::make_shared<EventLoopExecutor>()};
        return runCaptured([&] { return join ? runJoinCommand(*join, services) : runTrimCommand(command, services); });
    }

    command_line::Trim command{folder.path() / "clip.mp4", {{1, 1}, {2, 1}}, {}};
    std::optional<command_line::Join> join;  ///< in place of the trim
    const std::shared_ptr<fake::FakeExportSessionFactory> exports = std::make_shared<fake::FakeExportSessionFactory>();
};

TEST_F(TrimCommandTest, PrintsThePathOfThePart)
{
    command.output = folder.path() / "part.mp4";
    EXPECT_EQ(run([](auto& session) { session.complete(); }), command_line::succeeded);
    EXPECT_EQ(output, command.output->string() + "\n");
    EXPECT_EQ(errors, "");
    const auto& session = *exports->sessions[0];
    EXPECT_EQ(exports->lastPreset, platform::ExportPreset::passthrough);
    EXPECT_EQ(session.asset, command.file);
    EXPECT_EQ(session.range, command.range);
    EXPECT_EQ(session.output, command.output);
    EXPECT_FALSE(session.nextOutputURL) << "the name is the user's choice";
}

TEST_F(TrimCommandTest, WhatIsCutGoesToTheExport)
{
    command.cuts = {{{3, 2}, {2, 1}}, {{5, 1}, {6, 1}}};
    EXPECT_EQ(run([](auto& session) { session.complete(); }), command_line::succeeded);
    EXPECT_EQ(exports->sessions[0]->cuts, command.cuts);
    EXPECT_TRUE(exports->sessions[0]->joinedAssets.empty());
}

TEST_F(TrimCommandTest, ThePartLiesBesideTheClipUnderATrimmedName)
{
    EXPECT_EQ(run([](auto& session) { session.complete(); }), command_line::succeeded);
    const auto& url = exports->sessions[0]->output;
    EXPECT_EQ(url.parent_path(), folder.path());
    EXPECT_TRUE(url.filename().string().starts_with(std::string{PathUtilities::prefixTrimmed} + "-2"));
    EXPECT_EQ(url.extension(), ".mp4");
    EXPECT_EQ(output, url.string() + "\n");
}

TEST_F(TrimCommandTest, ANameThatIsTakenMeanwhileGivesWayToTheNextOfTheSameTime)
{
    std::filesystem::path first;
    EXPECT_EQ(run([&](auto& session) {
        first = session.output;
        std::ofstream{first} << "mine";
        EXPECT_TRUE(session.takeOutputURL());
        session.complete();
    }),
        command_line::succeeded);
    const auto expected = first.parent_path() / (first.stem().string() + "-1.mp4");
    EXPECT_EQ(output, expected.string() + "\n");
}

TEST_F(TrimCommandTest, AnOutputThatIsThereIsRefusedEvenALinkThatLeadsNowhere)
{
    std::ofstream{folder.path() / "part.mp4"} << "mine";
    std::filesystem::create_symlink(folder.path() / "nowhere", folder.path() / "link.mp4");
    for (const char* taken : {"part.mp4", "link.mp4"}) {
        command.output = folder.path() / taken;
        EXPECT_EQ(run(), command_line::failed);
        EXPECT_EQ(output, "");
        EXPECT_EQ(errors, command.output->string() + " already exists; choose another name.\n");
    }
    EXPECT_TRUE(exports->sessions.empty());
}

TEST_F(TrimCommandTest, AnOutputThatIsTakenMeanwhileIsRefusedInTheSameWords)
{
    command.output = folder.path() / "part.mp4";
    EXPECT_EQ(run([](auto& session) { session.fail(posixError(EEXIST, "part.mp4")); }), command_line::failed);
    EXPECT_EQ(errors, command.output->string() + " already exists; choose another name.\n");
}

TEST_F(TrimCommandTest, AMissingFolderOfTheOutputIsMade)
{
    command.output = folder.path() / "a" / "b" / "part.mp4";
    EXPECT_EQ(run([](auto& session) { session.complete(); }), command_line::succeeded);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "a" / "b"));
}

TEST_F(TrimCommandTest, SaysWhyItCannot)
{
    EXPECT_EQ(run([](auto& session) {
        session.fail({"MP4", 7, "The range begins after the end of the clip.", nullptr});
    }),
        command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "Cannot trim " + command.file.string() + ": The range begins after the end of the clip.\n");
}

TEST_F(TrimCommandTest, SaysWhyTheClipCannotBeOpened)
{
    exports->createError = posixError(ENOENT, "clip.mp4");
    EXPECT_EQ(run(), command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "Cannot trim " + command.file.string() + ": clip.mp4: No such file or directory\n");
}

TEST_F(TrimCommandTest, ACancelledOneIsAFailureWithoutAPath)
{
    EXPECT_EQ(run([](auto& session) { session.cancelExport(); }), command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "Cancelled.\n");
}

TEST_F(TrimCommandTest, AJoinedFileLiesBesideTheFirstClipUnderANameOfItsOwn)
{
    join = command_line::Join{{folder.path() / "a.mp4", folder.path() / "sub/b.mp4", folder.path() / "a.mp4"}};
    EXPECT_EQ(run([](auto& session) { session.complete(); }), command_line::succeeded);
    const auto& session = *exports->sessions[0];
    EXPECT_EQ(session.joinedAssets, join->files);
    EXPECT_EQ(session.output.parent_path(), folder.path());
    EXPECT_TRUE(session.output.filename().string().starts_with("Velmora-Joined-2"));
    EXPECT_EQ(output, session.output.string() + "\n");
}

TEST_F(TrimCommandTest, ClipsThatDoNotGoTogetherAreRefusedInTheExportsWords)
{
    join = command_line::Join{{folder.path() / "a.mp4", folder.path() / "b.mp4"}, folder.path() / "all.mp4"};
    EXPECT_EQ(run([](auto& session) { session.fail({"x", 1, "The clips do not go together: so it is.", nullptr}); }), command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "Cannot join the clips: The clips do not go together: so it is.\n");
}

}  // namespace
}  // namespace velmora
