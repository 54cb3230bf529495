#include "library/PathUtilities.h"

#include "platform/fake/FakeFileManager.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryDirectory.h"

#include <QDateTime>
#include <QLocale>

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// Sets TZ while it lives; the C library is not told.
class TimeZoneVariable {
public:
    explicit TimeZoneVariable(const std::string& value) { ::setenv("TZ", value.c_str(), 1); }
    ~TimeZoneVariable()
    {
        if (before_)
            ::setenv("TZ", before_->c_str(), 1);
        else
            ::unsetenv("TZ");
    }
    TimeZoneVariable(const TimeZoneVariable&) = delete;
    TimeZoneVariable& operator=(const TimeZoneVariable&) = delete;

private:
    const std::optional<std::string> before_ = std::getenv("TZ") ? std::optional<std::string>{std::getenv("TZ")} : std::nullopt;
};

std::string timestampIn(const std::string& timeZone, PathUtilities::Date date)
{
    const TimeZoneVariable variable{timeZone};
    return PathUtilities::formattedTimestamp(date);
}

PathUtilities::Date utc(std::chrono::year_month_day day, std::chrono::seconds time)
{
    return std::chrono::sys_days{day} + time;
}

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

TEST_F(PathUtilitiesTest, WithoutATimeZoneItIsTheProcesssLocalTimeAlsoWhereTheClockIsSet)
{
    using namespace std::chrono;
    struct Change {
        const char* timeZone;
        PathUtilities::Date at;
        const char* secondBefore;
        const char* then;
    };
    const Change changes[] = {
        {"Europe/Berlin", utc(2025y / 3 / 30, 1h), "2025-03-30-01-59-59", "2025-03-30-03-00-00"},
        {"Europe/Berlin", utc(2025y / 10 / 26, 1h), "2025-10-26-02-59-59", "2025-10-26-02-00-00"},
        {"America/New_York", utc(2025y / 3 / 9, 7h), "2025-03-09-01-59-59", "2025-03-09-03-00-00"},
        {"America/New_York", utc(2025y / 11 / 2, 6h), "2025-11-02-01-59-59", "2025-11-02-01-00-00"},
        {"America/St_Johns", utc(2025y / 3 / 9, 5h + 30min), "2025-03-09-01-59-59", "2025-03-09-03-00-00"},
        {"America/St_Johns", utc(2025y / 11 / 2, 4h + 30min), "2025-11-02-01-59-59", "2025-11-02-01-00-00"},
        {"Australia/Lord_Howe", utc(2025y / 4 / 5, 15h), "2025-04-06-01-59-59", "2025-04-06-01-30-00"},
        {"Australia/Lord_Howe", utc(2025y / 10 / 4, 15h + 30min), "2025-10-05-01-59-59", "2025-10-05-02-30-00"},
        {"America/Santiago", utc(2024y / 4 / 7, 3h), "2024-04-06-23-59-59", "2024-04-06-23-00-00"},
        {"America/Santiago", utc(2024y / 9 / 8, 4h), "2024-09-07-23-59-59", "2024-09-08-01-00-00"},
        {"Asia/Kathmandu", utc(2025y / 12 / 31, 18h + 15min), "2025-12-31-23-59-59", "2026-01-01-00-00-00"},
    };
    for (const auto& change : changes) {
        EXPECT_EQ(timestampIn(change.timeZone, change.at - 1s), change.secondBefore) << change.timeZone;
        EXPECT_EQ(timestampIn(change.timeZone, change.at), change.then) << change.timeZone;
    }
}

TEST_F(PathUtilitiesTest, ATimeZoneMayBeAPathOrARule)
{
    const auto copied = folder.path() / "zone";
    std::filesystem::copy_file("/usr/share/zoneinfo/Europe/Berlin", copied);
    for (const auto& timeZone : {"/usr/share/zoneinfo/Europe/Berlin", ":/usr/share/zoneinfo/Europe/Berlin", ":Europe/Berlin",
             copied.c_str(), "CET-1CEST,M3.5.0,M10.5.0/3"}) {
        EXPECT_EQ(timestampIn(timeZone, date), "2025-03-07-19-04-59") << timeZone;
        EXPECT_EQ(timestampIn(timeZone, date + 150 * 24h), "2025-08-04-20-04-59") << timeZone;
    }
    EXPECT_EQ(timestampIn("<+0545>-5:45", date), "2025-03-07-23-49-59");
}

TEST_F(PathUtilitiesTest, ATimeZoneThatNobodyKnowsIsUniversalTime)
{
    for (const auto* timeZone : {"", "Mars/Olympus_Mons", "/nowhere/zone", ":", "UTC"})
        EXPECT_EQ(timestampIn(timeZone, date), "2025-03-07-18-04-59") << timeZone;
}

TEST_F(PathUtilitiesTest, ANameHasTheTimeInEveryKindOfTimeZone)
{
    const TimeZoneVariable rule{"EST5EDT,M3.2.0,M11.1.0"};
    EXPECT_EQ(nextName(), "Velmora-Recording-2025-03-07-13-04-59.mp4");
    const TimeZoneVariable unknown{"Mars/Olympus_Mons"};
    EXPECT_EQ(nextName(), "Velmora-Recording-2025-03-07-18-04-59.mp4");
}

TEST_F(PathUtilitiesTest, ATimeZoneThatIsNoneIsTheProcesssOwn)
{
    const TimeZoneVariable variable{"Asia/Kathmandu"};
    EXPECT_EQ(PathUtilities::formattedTimestamp(date, QTimeZone{}), "2025-03-07-23-49-59");
    EXPECT_EQ(PathUtilities::formattedTimestamp(date, QTimeZone{"Mars/Olympus_Mons"}), "2025-03-07-23-49-59");
}

TEST_F(PathUtilitiesTest, AFractionOfASecondBelongsToTheSecondThatHasBegun)
{
    EXPECT_EQ(timestampIn("UTC", date + 999ms), "2025-03-07-18-04-59");
    EXPECT_EQ(timestampIn("UTC", PathUtilities::Date{-1ms}), "1969-12-31-23-59-59");
    EXPECT_EQ(PathUtilities::formattedTimestamp(PathUtilities::Date{-1ms}, QTimeZone::utc()), "1969-12-31-23-59-59");
}

TEST_F(PathUtilitiesTest, AUserOfOtherDigitsAndATwelveHourClockStillGetsAsciiAndTwentyFourHours)
{
    const QLocale before;
    for (const auto* name : {"ar_EG", "fa_IR", "hi_IN", "en_US", "th_TH"}) {
        QLocale::setDefault(QLocale{QString::fromLatin1(name)});
        EXPECT_EQ(PathUtilities::formattedTimestamp(date, QTimeZone::utc()), "2025-03-07-18-04-59") << name;
        EXPECT_EQ(timestampIn("UTC", date), "2025-03-07-18-04-59") << name;
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
