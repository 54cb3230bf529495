#include "app/RestoreCommand.h"

#include "platform/fake/FakeDiscardedRecordings.h"
#include "platform/fake/FakeFileManager.h"
#include "tests/support/TemporaryDirectory.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::DiscardedRecording;
using ::testing::HasSubstr;

DiscardedRecording discardedRecording(const std::string& name, std::int64_t time)
{
    DiscardedRecording made;
    made.file = "/trash/files/" + name;
    made.origin = "/clips/" + name;
    made.discardedAt = std::chrono::system_clock::time_point{std::chrono::seconds{time}};
    made.duration = 65.25;
    made.fileSize = 1'500'000;
    return made;
}

class RestoreCommandTest : public testing::Test {
protected:
    struct Outcome {
        int status = -1;
        std::string output;
        std::string errors;
    };

    Outcome run(const command_line::Restore& command = {})
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Outcome outcome;
        outcome.status = runRestoreCommand(command, recordings, files, folder.path());
        std::fflush(stdout);
        outcome.output = testing::internal::GetCapturedStdout();
        outcome.errors = testing::internal::GetCapturedStderr();
        return outcome;
    }

    test::TemporaryDirectory folder;
    fake::FakeDiscardedRecordings recordings;
    fake::FakeFileManager files;
};

TEST_F(RestoreCommandTest, RestoresTheNewestAndPrintsWhereItIs)
{
    recordings.recordings = {discardedRecording("new.mp4", 2), discardedRecording("old.mp4", 1)};
    const auto outcome = run();
    EXPECT_EQ(outcome.status, command_line::succeeded);
    EXPECT_EQ(outcome.output, (folder.path() / "new.mp4").native() + "\n");
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "new.mp4"));
    EXPECT_EQ(run().output, (folder.path() / "old.mp4").native() + "\n");
}

TEST_F(RestoreCommandTest, RestoresTheOneOfThatNameOrPath)
{
    recordings.recordings = {discardedRecording("new.mp4", 2), discardedRecording("old.mp4", 1)};
    EXPECT_EQ(run({.name = "old.mp4"}).output, (folder.path() / "old.mp4").native() + "\n");
    EXPECT_EQ(run({.name = "/trash/files/new.mp4"}).output, (folder.path() / "new.mp4").native() + "\n");
    const auto missing = run({.name = "old.mp4"});
    EXPECT_EQ(missing.status, command_line::failed);
    EXPECT_EQ(missing.errors, "No discarded recording called old.mp4 is in the trash.\n");
}

TEST_F(RestoreCommandTest, FailsWhereThereIsNothingAndSaysWhy)
{
    const auto outcome = run();
    EXPECT_EQ(outcome.status, command_line::failed);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "No recording that was discarded is in the trash.\n");
    recordings.recordings = {discardedRecording("a.mp4", 1)};
    recordings.restoreError = posixError(EBUSY, "a.mp4");
    EXPECT_THAT(run().errors, HasSubstr("still being finished"));
}

TEST_F(RestoreCommandTest, ListsThemForPeopleInLocalTimeAndForProgramsInUTC)
{
    EXPECT_EQ(run({.list = true}).output, "No recording that was discarded is in the trash.\n");
    EXPECT_EQ(run({.list = true, .json = true}).output, "[\n]\n");
    recordings.recordings = {discardedRecording("a\nb.mp4", 1'700'000'000), discardedRecording("\xFF.mp4", 1)};
    ASSERT_EQ(::setenv("TZ", "UTC-1", 1), 0);
    const auto people = run({.list = true});
    ::unsetenv("TZ");
    ::tzset();
    EXPECT_EQ(people.status, command_line::succeeded);
    EXPECT_THAT(people.output, HasSubstr("2023-11-14 23:13:20    1:05     1.5 MB  a\uFFFDb.mp4\n"));
    const auto programs = QJsonDocument::fromJson(QByteArray::fromStdString(run({.list = true, .json = true}).output)).array();
    ASSERT_EQ(programs.size(), 2);
    const auto first = programs[0].toObject();
    EXPECT_EQ(first.value(QLatin1String("name")).toString().toStdString(), "a\nb.mp4");
    EXPECT_EQ(first.value(QLatin1String("path")).toString().toStdString(), "/trash/files/a\nb.mp4");
    EXPECT_EQ(first.value(QLatin1String("origin")).toString().toStdString(), "/clips/a\nb.mp4");
    EXPECT_EQ(first.value(QLatin1String("discardedAt")).toString().toStdString(), "2023-11-14T22:13:20Z");
    EXPECT_EQ(first.value(QLatin1String("seconds")).toDouble(), 65.25);
    EXPECT_EQ(first.value(QLatin1String("bytes")).toInteger(), 1'500'000);
    EXPECT_EQ(programs[1].toObject().value(QLatin1String("path")).toString().toStdString(), "file:///trash/files/%FF.mp4");
    EXPECT_EQ(recordings.recordings.size(), 2U) << "a list changes nothing";
}

}  // namespace
}  // namespace velmora
