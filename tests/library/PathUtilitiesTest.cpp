#include "library/PathUtilities.h"

#include "platform/fake/FakeFileManager.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryDirectory.h"

#include <QDateTime>
#include <QLocale>

#include <fstream>
#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

class PathUtilitiesTest : public testing::Test {
protected:
    [[nodiscard]] std::string nextName(std::string_view extension = PathUtilities::defaultExtension) const
    {
        return PathUtilities::generateUniqueFileURL(folder.path(), PathUtilities::prefixRecording, fileManager, extension, date)
            .filename()
            .string();
    }

    void occupy(const std::string& name) const { std::ofstream{folder.path() / name} << "taken"; }

    test::TemporaryDirectory folder;
    test::CapturedLog log;
    fake::FakeFileManager fileManager;
    const PathUtilities::Date date{1'741'370'699s};  // 2025-03-07 18:04:59 UTC
    const std::string stem = "Velmora-Recording-" + PathUtilities::formattedTimestamp(date);
};

TEST_F(PathUtilitiesTest, TheNamesAreFixed)
{
    EXPECT_EQ(PathUtilities::appFolderName, "Velmora");
    EXPECT_EQ(PathUtilities::prefixInstant, "Velmora");
    EXPECT_EQ(PathUtilities::prefixRecording, "Velmora-Recording");
    EXPECT_EQ(PathUtilities::prefixTrimmed, "Velmora-Trimmed");
}

TEST_F(PathUtilitiesTest, ATimestampIsWrittenWithHyphensInTheGivenTimeZone)
{
    EXPECT_EQ(PathUtilities::formattedTimestamp(date, QTimeZone::utc()), "2025-03-07-18-04-59");
    EXPECT_EQ(PathUtilities::formattedTimestamp(date, QTimeZone{3600 * 9}), "2025-03-08-03-04-59");
    EXPECT_EQ(PathUtilities::formattedTimestamp(date + 999ms, QTimeZone::utc()), "2025-03-07-18-04-59");
}

TEST_F(PathUtilitiesTest, TheTimeZoneIsTheSystemsUnlessOneIsGiven)
{
    EXPECT_EQ(PathUtilities::formattedTimestamp(date), PathUtilities::formattedTimestamp(date, QTimeZone::systemTimeZone()));
}

TEST_F(PathUtilitiesTest, AUserOfOtherDigitsAndATwelveHourClockStillGetsAsciiAndTwentyFourHours)
{
    const QLocale before;
    for (const auto* name : {"ar_EG", "fa_IR", "hi_IN", "en_US", "th_TH"}) {
        QLocale::setDefault(QLocale{QString::fromLatin1(name)});
        EXPECT_EQ(PathUtilities::formattedTimestamp(date, QTimeZone::utc()), "2025-03-07-18-04-59") << name;
    }
    QLocale::setDefault(before);
}

TEST_F(PathUtilitiesTest, AnEmptyFolderYieldsThePlainName)
{
    EXPECT_EQ(nextName(), stem + ".mp4");
}

TEST_F(PathUtilitiesTest, ASecondAndThirdRecordingOfTheSameSecondAreNumbered)
{
    occupy(stem + ".mp4");
    EXPECT_EQ(nextName(), stem + "-1.mp4");
    occupy(stem + "-1.mp4");
    EXPECT_EQ(nextName(), stem + "-2.mp4");
}

TEST_F(PathUtilitiesTest, AGapIsFilledFromTheFront)
{
    occupy(stem + "-2.mp4");
    EXPECT_EQ(nextName(), stem + ".mp4");
    occupy(stem + ".mp4");
    EXPECT_EQ(nextName(), stem + "-1.mp4");
    occupy(stem + "-1.mp4");
    EXPECT_EQ(nextName(), stem + "-3.mp4");
}

TEST_F(PathUtilitiesTest, TheCounterHasNoLeadingZeros)
{
    occupy(stem + ".mp4");
    for (int i = 1; i < 10; ++i)
        occupy(stem + "-" + std::to_string(i) + ".mp4");
    EXPECT_EQ(nextName(), stem + "-10.mp4");
}

TEST_F(PathUtilitiesTest, ADirectoryOfThatNameCountsAsTaken)
{
    std::filesystem::create_directory(folder.path() / (stem + ".mp4"));
    EXPECT_EQ(nextName(), stem + "-1.mp4");
}

TEST_F(PathUtilitiesTest, AnotherExtensionIsUsedUnchangedUnderTheSameRule)
{
    EXPECT_EQ(nextName("MOV"), stem + ".MOV");
    occupy(stem + ".MOV");
    EXPECT_EQ(nextName("MOV"), stem + "-1.MOV");
}

TEST_F(PathUtilitiesTest, ChoosingANameCreatesNothing)
{
    static_cast<void>(nextName());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(PathUtilitiesTest, TheDefaultFolderIsVelmoraInTheFirstMoviesFolder)
{
    fileManager.movies = {"/videos", "/other"};
    fileManager.home = "/users/someone";
    EXPECT_EQ(PathUtilities::defaultOutputDirectory(fileManager), "/videos/Velmora/");
}

TEST_F(PathUtilitiesTest, AnAccountWithoutAMoviesFolderGetsOneBelowItsHome)
{
    fileManager.home = "/users/someone";
    EXPECT_EQ(PathUtilities::defaultOutputDirectory(fileManager), "/users/someone/Movies/Velmora/");
}

TEST_F(PathUtilitiesTest, AnExistingFolderIsLeftAsItIs)
{
    const auto before = std::filesystem::last_write_time(folder.path());
    EXPECT_TRUE(PathUtilities::ensureDirectoryExists(folder.path(), fileManager));
    EXPECT_EQ(std::filesystem::last_write_time(folder.path()), before);
}

TEST_F(PathUtilitiesTest, AFolderIsCreatedWithAllItsMissingParents)
{
    const auto deep = folder.path() / "a" / "b" / "c" / "";
    EXPECT_TRUE(PathUtilities::ensureDirectoryExists(deep, fileManager));
    EXPECT_TRUE(std::filesystem::is_directory(deep));
}

TEST_F(PathUtilitiesTest, ARegularFileInTheFoldersPlaceIsFalseWithoutALogLine)
{
    occupy("file");
    EXPECT_FALSE(PathUtilities::ensureDirectoryExists(folder.path() / "file", fileManager));
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.path() / "file"));
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(PathUtilitiesTest, AFolderThatCannotBeCreatedIsFalseWithALogLine)
{
    occupy("file");
    EXPECT_FALSE(PathUtilities::ensureDirectoryExists(folder.path() / "file" / "below", fileManager));
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].category, "App");
    EXPECT_EQ(log->lines()[0].level, platform::LogLevel::error);
    EXPECT_EQ(log->lines()[0].message, "Failed to create directory at <private>: <private>");
}

}  // namespace
}  // namespace velmora
