#include "app/CommandLine.h"
#include "app/CommandDescription.h"
#include "tests/support/TemporaryDirectory.h"

#include <QRegularExpression>

#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::command_line {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

tl::expected<Command, QString> parsed(QStringList arguments)
{
    arguments.prepend(QStringLiteral("velmora"));
    return parse(arguments);
}

template <typename Expected>
Expected commandOf(const QStringList& arguments)
{
    const auto command = parsed(arguments);
    EXPECT_TRUE(command.has_value()) << (command ? "" : command.error().toStdString());
    return command ? std::get<Expected>(*command) : Expected{};
}

std::string complaint(const QStringList& arguments)
{
    const auto command = parsed(arguments);
    EXPECT_FALSE(command.has_value());
    return command ? std::string{} : command.error().toStdString();
}

TEST(CommandLine, ListsWindowsForPeopleOrForPrograms)
{
    EXPECT_FALSE(commandOf<Windows>({"windows"}).json);
    EXPECT_TRUE(commandOf<Windows>({"windows", "--json"}).json);
}

TEST(CommandLine, RecordsAWindowUntilASignalUnderTheDefaultName)
{
    const auto record = commandOf<Record>({"record", "--window", "4294967295"});
    EXPECT_EQ(record.windowID, 4'294'967'295U);
    EXPECT_FALSE(record.duration);
    EXPECT_FALSE(record.output);
}

TEST(CommandLine, TakesAWindowsNumberInHexadecimalAsWindowToolsPrintIt)
{
    EXPECT_EQ(commandOf<Record>({"record", "--window=0x1a00003"}).windowID, 0x1a00003U);
}

TEST(CommandLine, TakesADurationInSecondsAndAnOutputRelativeToTheWorkingFolder)
{
    const auto record = commandOf<Record>({"record", "--window", "7", "--duration", "2.5", "--output", "a/../clip.mp4"});
    EXPECT_EQ(record.duration, 2500ms);
    EXPECT_EQ(record.output, std::filesystem::current_path() / "clip.mp4");
}

TEST(CommandLine, TakesWhoseSoundGoesWithAWindow)
{
    EXPECT_EQ(commandOf<Record>({"record", "--window", "7", "--sound", "Player One"}).sound, "Player One");
    EXPECT_FALSE(commandOf<Record>({"record", "--window", "7"}).sound);
    const auto select = commandOf<Control>({"select", "7", "--sound", "none"});
    EXPECT_EQ(select.windowID, 7U);
    EXPECT_EQ(select.sound, "none");
    EXPECT_FALSE(commandOf<Control>({"select", "7"}).sound);
    EXPECT_NE(complaint({"record", "--window", "7", "--sound", ""}).find("--sound"), std::string::npos);
    EXPECT_NE(complaint({"select", "7", "--sound="}).find("--sound"), std::string::npos);
}

TEST(CommandLine, RefusesADurationThatIsNoNumberAboveZero)
{
    for (const auto* text : {"0", "-1", "soon", "inf", "nan", "1e300", ""})
        EXPECT_NE(complaint({"record", "--window", "7", "--duration", text}).find("number of seconds"), std::string::npos) << text;
}

TEST(CommandLine, RefusesAWindowThatIsNoNumber)
{
    for (const auto* text : {"film", "-1", "4294967296", "1.5", ""})
        EXPECT_NE(complaint({"record", "--window", text}).find("window"), std::string::npos) << text;
    EXPECT_NE(complaint({"record"}).find("--window"), std::string::npos);
}

TEST(CommandLine, RefusesWhatItDoesNotKnow)
{
    EXPECT_NE(complaint({"film"}).find("'film'"), std::string::npos);
    EXPECT_NE(complaint({"windows", "--xml"}).find("xml"), std::string::npos);
    EXPECT_NE(complaint({"windows", "now"}).find("'now'"), std::string::npos);
    EXPECT_NE(complaint({"record", "--window", "7", "clip.mp4"}).find("'clip.mp4'"), std::string::npos);
    EXPECT_NE(complaint({"record", "--window", "7", "--output", ""}).find("--output needs a file's name."), std::string::npos);
    EXPECT_NE(complaint({"repair"}).find("one file"), std::string::npos);
    EXPECT_NE(complaint({"repair", "a", "b"}).find("one file"), std::string::npos);
}

TEST(CommandLine, AnArgumentKeepsEveryByte)
{
    for (const std::string bytes : {"/clips/caf\xE9 \xFF\x80.mp4", "/a\xC3\xA9 \xC3.mp4", "/\xF0\x9F\x8E\xAC\xF0\x9F.mp4",
             "/\xED\xB3\xBF.mp4", "/\xEF\xBF\xBD \xE2\x82.mp4", "/\xF4\x8F\xBF\xBF\xF4\x90\x80\x80.mp4"})
        EXPECT_EQ(commandOf<Repair>({"repair", argumentText(bytes)}).file.native(), bytes);
    EXPECT_EQ(argumentText("–\xE2\x82\xAC"), QStringLiteral("–€"));
    const auto file = argumentText("\xFF.mp4");
    EXPECT_EQ(commandOf<Control>({"preview", file}).file, std::filesystem::current_path() / "\xFF.mp4");
    EXPECT_EQ(commandOf<Trim>({"trim", file, "--start", "0", "--end", "1", "--output", file}).output,
        std::filesystem::current_path() / "\xFF.mp4");
    EXPECT_EQ(commandOf<Record>({"record", "--window", "7", "--output", file}).output, std::filesystem::current_path() / "\xFF.mp4");
}

TEST(CommandLine, WithoutAWorkingFolderARelativePathIsAnError)
{
    const auto before = std::filesystem::current_path();
    {
        const test::TemporaryDirectory folder;
        std::filesystem::current_path(folder.path());
    }
    const auto wrong = complaint({"record", "--window", "7", "--output", "clip.mp4"});
    const auto absolute = parsed({"record", "--window", "7", "--output", "/tmp/clip.mp4"});
    std::filesystem::current_path(before);
    EXPECT_EQ(wrong, "The working folder cannot be found: No such file or directory.");
    EXPECT_TRUE(absolute.has_value());
}

TEST(CommandLine, AFileWhoseNameBeginsLikeAnOptionIsWrittenWithItsFolder)
{
    EXPECT_EQ(complaint({"share", "-holiday.mp4", "--limit", "10MB"}),
        "Unknown option '-holiday.mp4'. A file of that name is written './-holiday.mp4'.");
    EXPECT_EQ(commandOf<Share>({"share", "./-holiday.mp4", "--limit", "10MB"}).file, std::filesystem::current_path() / "-holiday.mp4");
    EXPECT_EQ(commandOf<Share>({"share", "--limit", "10MB", "--", "-holiday.mp4"}).file, std::filesystem::current_path() / "-holiday.mp4");
    EXPECT_EQ(complaint({"share", "clip.mp4", "-x"}), "Unknown option 'x'.");
    EXPECT_EQ(complaint({"share", "clip.mp4", "--foo"}), "Unknown option 'foo'.");
}

TEST(CommandLine, AFileWithoutANameIsNone)
{
    EXPECT_EQ(complaint({"repair", ""}), "A file's name cannot be empty.");
    EXPECT_EQ(complaint({"preview", ""}), "A file's name cannot be empty.");
    EXPECT_EQ(complaint({"trim", "", "--start", "0", "--end", "1"}), "A file's name cannot be empty.");
}

TEST(CommandLine, RepairsOneFile)
{
    EXPECT_EQ(commandOf<Repair>({"repair", "/tmp/clip.mp4"}).file, "/tmp/clip.mp4");
}

TEST(CommandLine, CutsLeaveOutWhatTheySayOfAClipOrAPartOfIt)
{
    const auto cuts = commandOf<Trim>({"trim", "clip.mp4", "--cut", "1.5-2", "--cut", "1:05-1:06:07.25"});
    EXPECT_EQ(cuts.range, wholeClip);
    EXPECT_EQ(cuts.cuts, (std::vector<TimeRange>{{{3, 2}, {2, 1}}, {{65, 1}, {15869, 4}}}));
    const auto both = commandOf<Trim>({"trim", "clip.mp4", "--cut", "5-6", "--start", "2"});
    EXPECT_EQ(both.range, (TimeRange{{2, 1}, wholeClip.end}));
    EXPECT_EQ(commandOf<Trim>({"trim", "clip.mp4", "--cut", "5-6", "--end", "9"}).range, (TimeRange{MediaTime::zero(), {9, 1}}));
    EXPECT_TRUE(commandOf<Trim>({"trim", "clip.mp4", "--start", "1", "--end", "2"}).cuts.empty());
}

TEST(CommandLine, ACutThatMakesNoSenseIsExplained)
{
    EXPECT_EQ(complaint({"trim", "a", "--cut", "5"}), "'5' is not a stretch of time, such as 12.5-1:03.");
    EXPECT_EQ(complaint({"trim", "a", "--cut", "1-2-3"}), "'1-2-3' is not a stretch of time, such as 12.5-1:03.");
    EXPECT_EQ(complaint({"trim", "a", "--cut", "x-3"}), "'x' is not a time in seconds, such as 83.5 or 1:23.5.");
    EXPECT_EQ(complaint({"trim", "a", "--cut", "3-"}), "'' is not a time in seconds, such as 83.5 or 1:23.5.");
    EXPECT_EQ(complaint({"trim", "a", "--cut", "3-3"}), "The end of the cut '3-3' has to be after its beginning.");
    EXPECT_EQ(complaint({"trim", "a", "--cut", "1-2", "--start", "4", "--end", "3"}), "The end has to be after the start.");
}

TEST(CommandLine, JoinsTwoFilesOrMore)
{
    const auto join = commandOf<Join>({"join", "a.mp4", "b.mp4", "a.mp4"});
    const auto here = std::filesystem::current_path();
    EXPECT_EQ(join.files, (std::vector{here / "a.mp4", here / "b.mp4", here / "a.mp4"}));
    EXPECT_FALSE(join.output);
    EXPECT_EQ(commandOf<Join>({"join", "a", "b", "--output", "c/all.mp4"}).output, here / "c/all.mp4");
    EXPECT_EQ(complaint({"join", "a.mp4"}), "'velmora join' takes two files or more.");
    EXPECT_EQ(complaint({"join"}), "'velmora join' takes two files or more.");
    EXPECT_EQ(complaint({"join", "a", ""}), "A file's name cannot be empty.");
}

TEST(CommandLine, TrimsOneFileToTheRange)
{
    const auto trim = commandOf<Trim>({"trim", "clip.mp4", "--start", "1.5", "--end", "83.25"});
    EXPECT_EQ(trim.file, std::filesystem::current_path() / "clip.mp4");
    EXPECT_EQ(trim.range.start, (MediaTime{3, 2}));
    EXPECT_EQ(trim.range.end, (MediaTime{333, 4}));
    EXPECT_FALSE(trim.output);
    EXPECT_EQ(commandOf<Trim>({"trim", "a.mp4", "--start", "0", "--end", "1", "--output", "b/part.mp4"}).output,
        std::filesystem::current_path() / "b/part.mp4");
}

TEST(CommandLine, TakesTimesAsSecondsOrWithColons)
{
    const auto start = [](const char* text) {
        return commandOf<Trim>({"trim", "clip.mp4", "--end", "99:59", "--start", text}).range.start;
    };
    EXPECT_EQ(start("0"), MediaTime::zero());
    EXPECT_EQ(start("0.001"), (MediaTime{1, 1000}));
    EXPECT_EQ(start("1:23.456"), (MediaTime{83'456, 1000}));
    EXPECT_EQ(start("01:05"), (MediaTime{65, 1}));
    EXPECT_EQ(start("75:00"), (MediaTime{4500, 1}));
    EXPECT_EQ(start("1:02:03.5"), (MediaTime{37'235, 10}));
}

TEST(CommandLine, SharesOneFileWithinALimit)
{
    const auto share = commandOf<Share>({"share", "clip.mp4"});
    EXPECT_EQ(share.file, std::filesystem::current_path() / "clip.mp4");
    EXPECT_EQ(share.settings.limit, 10'000'000U);
    EXPECT_FALSE(share.settings.hasConstantRate);
    EXPECT_FALSE(share.output);
    EXPECT_FALSE(share.json);
    EXPECT_EQ(commandOf<Share>({"share", "a.mp4", "--limit", "25MB"}).settings.limit, 25'000'000U);
    EXPECT_EQ(commandOf<Share>({"share", "a.mp4", "--limit=8 MiB", "--output", "b.mp4", "--json"}).settings.limit, 8'388'608U);
    EXPECT_EQ(commandOf<Share>({"share", "a.mp4", "--output", "b.mp4"}).output, std::filesystem::current_path() / "b.mp4");
    EXPECT_NE(complaint({"share", "a.mp4", "--limit", "much"}).find("10MB"), std::string::npos);
    EXPECT_NE(complaint({"share", "a.mp4", "--limit", "0"}).find("10MB"), std::string::npos);
    EXPECT_NE(complaint({"share"}).find("one file"), std::string::npos);
    EXPECT_NE(complaint({"share", "a.mp4", "b.mp4"}).find("one file"), std::string::npos);
}

TEST(CommandLine, AConstantRateHasNoLimitUnlessTold)
{
    const auto constant = commandOf<Share>({"share", "a.mp4", "--format", "mp4-constant"}).settings;
    EXPECT_TRUE(constant.hasConstantRate);
    EXPECT_EQ(constant.limit, 0U);
    EXPECT_EQ(commandOf<Share>({"share", "a.mp4", "--format", "mp4-constant", "--limit", "5"}).settings.limit, 5'000'000U);
    EXPECT_FALSE(commandOf<Share>({"share", "a.mp4", "--format", "mp4"}).settings.hasConstantRate);
    for (const auto& [name, format] : {std::pair{"mp4", platform::CopyFormat::mp4}, {"gif", platform::CopyFormat::gif},
             {"webp", platform::CopyFormat::webp}, {"webm", platform::CopyFormat::webm}}) {
        const auto settings = commandOf<Share>({"share", "a.mp4", "--format", name}).settings;
        EXPECT_EQ(settings.format, format) << name;
        EXPECT_EQ(settings.limit, 10'000'000U) << name;
    }
    EXPECT_NE(complaint({"share", "a.mp4", "--format", "avi"}).find("mp4-constant"), std::string::npos);
}

TEST(CommandLine, RefusesWhatIsNoTime)
{
    for (const auto* text : {"", "-1", "+1", "soon", "inf", "nan", "1e3", "0x10", "1.", ".5", "1.2.3", "1:5", "1:60", "1:75.5", ":30",
             "1:", "1:2:3", "1:02:03:04", "1.5:00", "12345678901", " 1"})
        EXPECT_NE(complaint({"trim", "clip.mp4", "--start", text, "--end", "99:59"}).find("is not a time"), std::string::npos) << text;
}

TEST(CommandLine, RefusesAPartThatIsNone)
{
    EXPECT_NE(complaint({"trim"}).find("one file"), std::string::npos);
    EXPECT_NE(complaint({"trim", "a", "b", "--start", "0", "--end", "1"}).find("one file"), std::string::npos);
    EXPECT_NE(complaint({"trim", "a", "--start", "0"}).find("--end"), std::string::npos);
    EXPECT_NE(complaint({"trim", "a", "--end", "1"}).find("--start"), std::string::npos);
    EXPECT_NE(complaint({"trim", "a", "--start", "2", "--end", "2"}).find("after the start"), std::string::npos);
    EXPECT_NE(complaint({"trim", "a", "--start", "2", "--end", "1"}).find("after the start"), std::string::npos);
    EXPECT_NE(complaint({"trim", "a", "--start", "0", "--end", "1", "--output", ""}).find("--output"), std::string::npos);
}

TEST(CommandLine, StartsTheProgramWhenNothingIsSaid)
{
    const auto command = parsed({});
    ASSERT_TRUE(command.has_value());
    EXPECT_TRUE(std::holds_alternative<command_line::Run>(*command));
}

TEST(CommandLine, SpeaksToTheProgramThatRuns)
{
    using Action = Control::Action;
    EXPECT_EQ(commandOf<Control>({"toggle"}).action, Action::toggle);
    EXPECT_EQ(commandOf<Control>({"stop"}).action, Action::stop);
    EXPECT_EQ(commandOf<Control>({"choose"}).action, Action::choose);
    EXPECT_EQ(commandOf<Control>({"clips"}).action, Action::clips);
    EXPECT_EQ(commandOf<Control>({"quit"}).action, Action::quit);
    EXPECT_EQ(commandOf<Control>({"status"}).action, Action::status);
    EXPECT_FALSE(commandOf<Control>({"status"}).json);
    EXPECT_TRUE(commandOf<Control>({"status", "--json"}).json);
    EXPECT_EQ(commandOf<Control>({"select", "0x1a00003"}).windowID, 0x1a00003U);
    EXPECT_EQ(commandOf<Control>({"preview", "clip.mp4"}).file, std::filesystem::current_path() / "clip.mp4");
}

TEST(CommandLine, TheDoctorTakesJsonAndNothingElse)
{
    EXPECT_FALSE(commandOf<Doctor>({"doctor"}).json);
    EXPECT_TRUE(commandOf<Doctor>({"doctor", "--json"}).json);
    EXPECT_FALSE(parse({"velmora", "doctor", "me"}));
}

TEST(CommandLine, RefusesTooLittleAndTooMuchForTheProgramThatRuns)
{
    EXPECT_NE(complaint({"toggle", "now"}).find("'now'"), std::string::npos);
    EXPECT_NE(complaint({"clips", "mine"}).find("'mine'"), std::string::npos);
    EXPECT_NE(complaint({"select"}).find("velmora windows"), std::string::npos);
    EXPECT_NE(complaint({"select", "film"}).find("'film'"), std::string::npos);
    EXPECT_NE(complaint({"preview"}).find("one file"), std::string::npos);
    EXPECT_NE(complaint({"preview", "a", "b"}).find("one file"), std::string::npos);
    EXPECT_NE(complaint({"stop", "--json"}).find("json"), std::string::npos);
}

TEST(CommandLine, ChoosesAWindowByItsApplicationOrItsTitleInPlaceOfItsNumber)
{
    const auto described = commandOf<Control>({"select", "--application", "Player One", "--title", "film", "--wait", "--sound", "none"});
    EXPECT_EQ(described.action, Control::Action::select);
    EXPECT_EQ(described.application, "Player One");
    EXPECT_EQ(described.title, "film");
    EXPECT_EQ(described.sound, "none");
    EXPECT_TRUE(described.wait);
    EXPECT_FALSE(commandOf<Control>({"select", "--title", "film"}).wait);
    EXPECT_NE(complaint({"select", "7", "--title", "film"}).find("not both"), std::string::npos);
    EXPECT_NE(complaint({"select", "7", "--wait"}).find("--wait"), std::string::npos);
    EXPECT_NE(complaint({"select", "--title", ""}).find("--title"), std::string::npos);
    EXPECT_NE(complaint({"select", "--application="}).find("--application"), std::string::npos);
}

TEST(CommandLine, KeepsSavesAndForgetsAReplay)
{
    using Action = Control::Action;
    EXPECT_EQ(commandOf<Control>({"pause"}).action, Action::pause);
    EXPECT_EQ(commandOf<Control>({"pause", "--toggle"}).action, Action::togglePause);
    EXPECT_EQ(commandOf<Control>({"resume"}).action, Action::resume);
    EXPECT_EQ(complaint({"pause", "now"}), "Unexpected argument 'now'.");
    EXPECT_NE(complaint({"resume", "--toggle"}), "");
    EXPECT_EQ(commandOf<Control>({"replay", "on"}).action, Action::replayOn);
    EXPECT_EQ(commandOf<Control>({"replay", "on"}).seconds, 0);
    EXPECT_EQ(commandOf<Control>({"replay", "on", "12.5"}).seconds, 12.5);
    EXPECT_EQ(commandOf<Control>({"replay", "off"}).action, Action::replayOff);
    EXPECT_EQ(commandOf<Control>({"replay", "save"}).action, Action::replaySave);
    EXPECT_EQ(commandOf<Control>({"replay", "save", "3"}).seconds, 3);
    for (const QStringList& wrongUse : {QStringList{"replay"}, {"replay", "maybe"}, {"replay", "off", "3"}, {"replay", "on", "1", "2"}})
        EXPECT_NE(complaint(wrongUse).find("on, off or save"), std::string::npos);
    for (const auto* text : {"0", "soon", "inf", "1e3", ""})
        EXPECT_NE(complaint({"replay", "save", text}).find("above zero"), std::string::npos) << text;
}

TEST(CommandLine, RestoresTheNewestOrTheOneOfThatNameOrListsThem)
{
    EXPECT_FALSE(commandOf<Restore>({"restore"}).name);
    EXPECT_EQ(commandOf<Restore>({"restore", "a.mp4"}).name, "a.mp4");
    EXPECT_TRUE(commandOf<Restore>({"restore", "--list"}).list);
    EXPECT_TRUE(commandOf<Restore>({"restore", "--list", "--json"}).json);
    EXPECT_NE(complaint({"restore", "--json"}).find("--list"), std::string::npos);
    EXPECT_NE(complaint({"restore", "--list", "a.mp4"}).find("--list"), std::string::npos);
    EXPECT_NE(complaint({"restore", "a.mp4", "b.mp4"}).find("at most one"), std::string::npos);
}

TEST(CommandLine, TellsEventsToPeopleOrToPrograms)
{
    EXPECT_FALSE(commandOf<Events>({"events"}).json);
    EXPECT_TRUE(commandOf<Events>({"events", "--json"}).json);
}

TEST(CommandLine, HelpsAtEveryPlaceItIsAskedFor)
{
    for (const QStringList& arguments : {QStringList{"--help"}, {"-h"}, {"windows", "--help"}, {"record", "-h"}, {"repair", "--help"},
             {"trim", "-h"}, {"toggle", "--help"}, {"select", "-h"}})
        EXPECT_EQ(commandOf<Print>(arguments).text, helpText());
    EXPECT_TRUE(commandOf<Print>({"--version"}).text.startsWith(QLatin1String("velmora ")));
}

TEST(CommandLine, UnderstandsEveryCommandThatIsDescribedWithEveryOption)
{
    int count = 0;
    for (const auto& group : commandGroups()) {
        for (const auto& command : group.commands) {
            if (command.name.empty())
                continue;
            ++count;
            QStringList arguments{QString::fromUtf8(command.name.data(), static_cast<qsizetype>(command.name.size()))};
            for (const auto& option : command.options) {
                arguments.append(QStringLiteral("--%1").arg(QString::fromStdString(std::string{option.name})));
                if (option.argument)
                    arguments.append(option.name == "end" ? QStringLiteral("2")
                            : option.name == "cut"        ? QStringLiteral("3-4")
                            : option.name == "format"     ? QStringLiteral("mp4")
                                                          : QStringLiteral("1"));
            }
            if (command.argument)
                arguments.append(command.argument->kind == ArgumentDescription::Kind::word ? QStringLiteral("on") : QStringLiteral("1"));
            if (command.argumentRepeats)
                arguments.append(QStringLiteral("2"));
            const auto understood = parsed(arguments);
            EXPECT_TRUE(understood.has_value()) << command.name << ": " << (understood ? "" : understood.error().toStdString());
        }
    }
    EXPECT_EQ(count, 20);
}

TEST(CommandLine, ExplainsItselfInLinesOf80Columns)
{
    for (const auto& line : helpText().split(QLatin1Char('\n')))
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

TEST(CommandLine, WhatACommandDoesStandsIndentedUnderIt)
{
    const QString indentation{6, QLatin1Char(' ')};
    const auto lines = helpText().split(QLatin1Char('\n'));
    qsizetype explanations = 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].isEmpty() || lines[i].startsWith(QLatin1String("  velmora")) || !lines[i].startsWith(QLatin1Char(' ')))
            continue;
        ++explanations;
        EXPECT_TRUE(lines[i].startsWith(indentation) && lines[i].size() > 6 && lines[i][6] != QLatin1Char(' ')) << lines[i].toStdString();
        EXPECT_FALSE(lines[i - 1].isEmpty()) << lines[i].toStdString();
    }
    EXPECT_GT(explanations, 10);
}

/// The words of `text` whose letters are not cased as in a sentence.
std::vector<std::string> misspelt(const QString& text)
{
    static const QStringList names{
        QStringLiteral("Ctrl+C"), QStringLiteral("Opus"), QStringLiteral("Shared"), QStringLiteral("Velmora"), QStringLiteral("Wayland")};
    std::vector<std::string> wrong;
    bool beginsSentence = true;
    for (const auto& typed : text.split(QLatin1Char(' '))) {
        const bool endsSentence = typed.endsWith(QLatin1Char('.'));
        QString word = typed;
        word.remove(QRegularExpression{QStringLiteral("^[('-]+|[).,;']+$")});
        const bool isPlaceholder = word == word.toUpper();
        const bool isRight = isPlaceholder || names.contains(word)
            || word == (beginsSentence ? word.at(0).toUpper() + word.mid(1).toLower() : word.toLower());
        if (!isRight)
            wrong.push_back(typed.toStdString());
        beginsSentence = endsSentence;
    }
    return wrong;
}

TEST(CommandLine, ExplainsItselfInSentences)
{
    const auto expectSentences = [](std::string_view text) {
        EXPECT_THAT(misspelt(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))), IsEmpty()) << text;
        EXPECT_TRUE(text.empty() || text.ends_with('.')) << text;
    };
    for (const auto& group : commandGroups()) {
        for (const auto& command : group.commands) {
            expectSentences(command.summary);
            if (!command.details.empty())
                expectSentences(command.details);
            for (const auto& option : command.options)
                expectSentences(option.summary);
        }
    }
    EXPECT_THAT(misspelt(QStringLiteral("Lists Windows. here as json to Velmora.")), ElementsAre("Windows.", "here"));
}

}  // namespace
}  // namespace velmora::command_line
