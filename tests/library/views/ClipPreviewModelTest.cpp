#include "library/views/ClipPreviewModel.h"

#include "library/PathUtilities.h"
#include "tests/library/views/PreviewFixture.h"
#include "tests/support/FolderContents.h"
#include "tests/support/Samples.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

class ClipPreviewModelTest : public testing::Test, protected test::PreviewFixture {
protected:
    [[nodiscard]] std::string message() const { return model->trimStatusMessage().toStdString(); }

    /// Counts how often the signal comes from now on.
    [[nodiscard]] std::shared_ptr<int> count(void (ClipPreviewModel::*signal)()) const
    {
        auto number = std::make_shared<int>(0);
        QObject::connect(model.get(), signal, model.get(), [number] { ++*number; });
        return number;
    }

    /// The file names in the clip's folder.
    [[nodiscard]] std::vector<std::string> files() const { return test::namesIn(clip.parent_path()); }
};

TEST_F(ClipPreviewModelTest, BeforeItIsShownNothingIsLoaded)
{
    EXPECT_TRUE(model->isLoading());
    EXPECT_TRUE(players->players.empty());
    EXPECT_FALSE(model->isPlaying());
    EXPECT_EQ(model->currentTime(), 0);
    EXPECT_EQ(model->totalDuration(), 0);
    EXPECT_EQ(model->trimStartTime(), 0);
    EXPECT_EQ(model->trimEndTime(), 0);
    EXPECT_FALSE(model->isExportingTrim());
    EXPECT_EQ(message(), "");
}

TEST_F(ClipPreviewModelTest, ShownItMakesOnePlayerOfItsClipAndObservesTenTimesASecond)
{
    appear();
    appear();
    ASSERT_THAT(players->players, SizeIs(1));
    EXPECT_EQ(player().file, clip);
    ASSERT_THAT(player().observers, SizeIs(1));
    EXPECT_EQ(player().observers.begin()->second.interval, (MediaTime{1, 10}));
    EXPECT_FALSE(model->isLoading());
    EXPECT_FALSE(player().isPlaying);
}

TEST_F(ClipPreviewModelTest, TheFirstSelectionIsTheWholeClip)
{
    assetReader->durations[clip] = MediaTime{90'045, 9'000};
    appear();
    EXPECT_EQ(model->totalDuration(), 10.005);
    EXPECT_EQ(model->trimStartTime(), 0);
    EXPECT_EQ(model->trimEndTime(), 10.005);
    EXPECT_EQ(player().endTime, (MediaTime{6003, 600}));
    EXPECT_THAT(player().seeks, IsEmpty());
}

TEST_F(ClipPreviewModelTest, TheSlidersBoundsAreAnnouncedBeforeTheirValues)
{
    model->setupPlayer();
    std::vector<std::string> order;
    QObject::connect(model.get(), &ClipPreviewModel::boundsChanged, model.get(), [&] { order.emplace_back("bounds"); });
    QObject::connect(model.get(), &ClipPreviewModel::trimChanged, model.get(), [&] { order.emplace_back("trim"); });
    executor->runAll();
    EXPECT_THAT(order, ElementsAre("bounds", "trim"));
}

TEST_F(ClipPreviewModelTest, WhileItLoadsTheSlidersHaveATenthOfASecond)
{
    model->setupPlayer();
    EXPECT_EQ(model->scrubMaximum(), 0.1);
    EXPECT_EQ(model->startMaximum(), 0.1);
    EXPECT_EQ(model->endMinimum(), 0);
}

TEST_F(ClipPreviewModelTest, AClipWhoseDurationCannotBeReadKeepsATenthOfASecond)
{
    assetReader->durations.clear();
    appear();
    EXPECT_EQ(model->totalDuration(), 0);
    EXPECT_EQ(model->trimEndTime(), 0);
    EXPECT_EQ(model->scrubMaximum(), 0.1);
    EXPECT_EQ(model->startMaximum(), 0.1);
    EXPECT_EQ(model->endMinimum(), 0);
    EXPECT_EQ(model->problem(), QString{});
    model->scrub(0.05);
    EXPECT_THAT(player().seeks, ElementsAre(MediaTime{30, 600}));
}

TEST_F(ClipPreviewModelTest, TheStartRangesUpToTheEndAndTheEndFromTheStart)
{
    appear();
    model->moveTrimEnd(6);
    EXPECT_EQ(model->startMaximum(), 6);
    EXPECT_EQ(model->scrubMaximum(), 10);
    model->moveTrimStart(4);
    EXPECT_EQ(model->endMinimum(), 4);
    EXPECT_EQ(model->selectedText().toStdString(), "Selected: 00:02");
}

TEST_F(ClipPreviewModelTest, AClipOfLessThanATenthOfASecondStillHasARange)
{
    assetReader->durations[clip] = MediaTime{1, 25};
    appear();
    EXPECT_EQ(model->trimEndTime(), 0.04);
    EXPECT_EQ(model->scrubMaximum(), 0.1);
    EXPECT_EQ(model->startMaximum(), 0.1);
}

TEST_F(ClipPreviewModelTest, AnEndBelowATenthOfASecondLetsTheStartPassItAndSavingThenSaysSo)
{
    appear();
    model->moveTrimEnd(0.05);
    EXPECT_EQ(model->startMaximum(), 0.1);
    model->moveTrimStart(0.09);
    EXPECT_EQ(model->trimStartTime(), 0.09);
    EXPECT_EQ(model->trimEndTime(), 0.05);
    model->saveTrimmedClip();
    EXPECT_EQ(session().range, (TimeRange{{54, 600}, {30, 600}}));
    session().fail({"Velmora.MP4", 5, "The range begins after its end.", nullptr});
    executor->runAll();
    EXPECT_EQ(message(), "Trim error: The range begins after its end.");
    EXPECT_THAT(files(), ElementsAre("clip.mp4"));
    EXPECT_THAT(listedClips(), ElementsAre("clip.mp4"));
}

TEST_F(ClipPreviewModelTest, TheButtonPlaysAndPausesAndShowsWhatItWillDo)
{
    appear();
    EXPECT_EQ(model->playSymbol().toStdString(), "play.circle.fill");
    EXPECT_EQ(model->playAction().toStdString(), "Play");
    model->togglePlaying();
    EXPECT_TRUE(model->isPlaying());
    EXPECT_TRUE(player().isPlaying);
    EXPECT_EQ(model->playSymbol().toStdString(), "pause.circle.fill");
    EXPECT_EQ(model->playAction().toStdString(), "Pause");
    model->togglePlaying();
    EXPECT_FALSE(model->isPlaying());
    EXPECT_FALSE(player().isPlaying);
}

TEST_F(ClipPreviewModelTest, ThePositionFollowsThePlayer)
{
    appear();
    model->togglePlaying();
    player().passTime({75, 10});
    EXPECT_EQ(model->currentTime(), 7.5);
    EXPECT_EQ(model->currentTimeText().toStdString(), "00:08");
    EXPECT_EQ(model->totalDurationText().toStdString(), "00:10");
    EXPECT_TRUE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, PlayingStopsByItselfWithTheFirstObservationAtTheEnd)
{
    appear();
    model->moveTrimEnd(2);
    model->scrub(1.9);
    model->togglePlaying();
    player().passTime({199, 100});
    EXPECT_TRUE(model->isPlaying());
    player().passTime({2, 1});
    EXPECT_FALSE(model->isPlaying());
    EXPECT_FALSE(player().isPlaying);
}

TEST_F(ClipPreviewModelTest, PlayingStopsAlsoWhereTheObservationJumpsOverTheEnd)
{
    appear();
    model->moveTrimEnd(2);
    model->scrub(1);
    model->togglePlaying();
    player().passTime({205, 100});
    EXPECT_FALSE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, PlayingStopsAtAnEndThatIsNoMultipleOfThePlayersTime)
{
    assetReader->durations[clip] = MediaTime{5'933'367, 1'000'000};
    appear();
    model->togglePlaying();
    player().stopByItself({3560, 600});
    EXPECT_FALSE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, PlayAtTheSelectionsEndPlaysItAgainFromItsStartAndPausesThereAgain)
{
    appear();
    model->moveTrimStart(3);
    model->moveTrimEnd(5);
    model->togglePlaying();
    EXPECT_EQ(player().seeks.back(), (MediaTime{3, 1}));
    EXPECT_EQ(model->currentTime(), 3);
    EXPECT_TRUE(player().isPlaying);
    player().stopByItself({5, 1});
    EXPECT_FALSE(model->isPlaying());
    EXPECT_EQ(model->playSymbol().toStdString(), "play.circle.fill");
    model->togglePlaying();
    EXPECT_EQ(player().seeks.back(), (MediaTime{3, 1}));
    EXPECT_TRUE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, PlayBehindTheSelectionPlaysItFromItsStartAndBeforeItFromThere)
{
    appear();
    model->moveTrimStart(3);
    model->moveTrimEnd(5);
    model->scrub(8);
    model->togglePlaying();
    EXPECT_EQ(player().seeks.back(), (MediaTime{3, 1}));
    model->togglePlaying();
    model->scrub(1);
    model->togglePlaying();
    EXPECT_EQ(player().seeks.back(), (MediaTime{1, 1})) << "what comes before the selection can be watched";
    EXPECT_TRUE(player().isPlaying);
}

TEST_F(ClipPreviewModelTest, PlayAtAnEndThatIsNoMultipleOfThePlayersTimeBeginsAgain)
{
    assetReader->durations[clip] = MediaTime{5'933'367, 1'000'000};
    appear();
    model->togglePlaying();
    player().stopByItself({3560, 600});
    model->togglePlaying();
    ASSERT_THAT(player().seeks, SizeIs(1));
    EXPECT_EQ(player().seeks.back(), MediaTime::zero());
    EXPECT_TRUE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, ASelectionWithoutLengthIsNotPlayedAgain)
{
    appear();
    model->moveTrimEnd(4);
    model->moveTrimStart(4);
    const auto seeks = player().seeks;
    model->togglePlaying();
    EXPECT_EQ(player().seeks, seeks);
    player().stopByItself({4, 1});
    EXPECT_FALSE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, AnObservationAtTheEndWhileItIsPausedStopsNothing)
{
    appear();
    const auto toggles = count(&ClipPreviewModel::isPlayingChanged);
    player().passTime({10, 1});
    EXPECT_EQ(model->currentTime(), 10);
    EXPECT_EQ(*toggles, 0);
}

TEST_F(ClipPreviewModelTest, MovingAHandleSeeksToItOnAScaleOf600)
{
    appear();
    model->moveTrimStart(1.234567);
    EXPECT_EQ(model->currentTime(), 1.234567);
    EXPECT_EQ(model->trimStartTime(), 1.234567);
    model->moveTrimEnd(7.891011);
    EXPECT_EQ(model->currentTime(), 7.891011);
    EXPECT_EQ(player().endTime, (MediaTime{4735, 600}));
    ASSERT_THAT(player().seeks, SizeIs(2));
    EXPECT_EQ(player().seeks[0].value, 741);
    EXPECT_EQ(player().seeks[0].timescale, 600);
    EXPECT_EQ(player().seeks[1].value, 4735);
    EXPECT_EQ(player().seeks[1].timescale, 600);
}

TEST_F(ClipPreviewModelTest, ScrubbingSeeksAndLeavesTheSelectionAlone)
{
    appear();
    model->moveTrimEnd(5);
    model->scrub(8);
    EXPECT_THAT(player().seeks, ElementsAre(MediaTime{5, 1}, MediaTime{8, 1}));
    EXPECT_EQ(model->currentTime(), 8);
    EXPECT_EQ(model->trimEndTime(), 5);
}

TEST_F(ClipPreviewModelTest, AStepGoesToTheNextPictureAndBack)
{
    appear();
    model->stepCurrentTime(1);
    EXPECT_EQ(player().seeks.back(), (MediaTime{1, 50}));
    model->stepCurrentTime(1);
    EXPECT_EQ(player().seeks.back(), (MediaTime{2, 50}));
    model->stepCurrentTime(-1);
    EXPECT_EQ(player().seeks.back(), (MediaTime{1, 50}));
    model->stepCurrentTime(-1);
    model->stepCurrentTime(-1);
    EXPECT_EQ(player().seeks.back(), (MediaTime{0, 1}));
    EXPECT_EQ(model->currentTime(), 0);
}

TEST_F(ClipPreviewModelTest, AStepFromTheLastPictureGoesToTheClipsEndAndNoFurther)
{
    appear();
    model->scrub(9.98);
    model->stepCurrentTime(1);
    EXPECT_EQ(model->currentTime(), 10);
    model->stepCurrentTime(1);
    EXPECT_EQ(model->currentTime(), 10);
    model->stepCurrentTime(-1);
    EXPECT_EQ(model->currentTime(), 9.96) << "the end shows the last picture";
}

TEST_F(ClipPreviewModelTest, AStepFromWithinAPictureGoesToTheNext)
{
    assetReader->pictureTimes = std::vector<MediaTime>{{0, 1}, {1, 10}, {31, 10}, {32, 10}};
    appear();
    model->scrub(2);
    model->stepCurrentTime(1);
    EXPECT_NEAR(model->currentTime(), 3.1, 1e-9);
    model->scrub(2);
    model->stepCurrentTime(-1);
    EXPECT_EQ(model->currentTime(), 0);
}

TEST_F(ClipPreviewModelTest, AStepLandsInThePictureWhereItsBeginningIsNoMultipleOfTheScale)
{
    // 59.94 a second: the nearest time on the scale of 600 may lie before the picture.
    std::vector<MediaTime> times;
    for (int i = 0; i < 599; ++i)
        times.emplace_back(i * 1001, 60'000);
    assetReader->pictureTimes = times;
    appear();
    for (std::size_t i = 1; i < times.size(); ++i) {
        model->stepCurrentTime(1);
        ASSERT_GE(player().seeks.back(), times[i]);
        ASSERT_TRUE(i + 1 == times.size() || player().seeks.back() < times[i + 1]);
    }
}

TEST_F(ClipPreviewModelTest, AStepFromWhereThePlayerPausedIsNeverLostInRounding)
{
    std::vector<MediaTime> times;
    for (int i = 0; i < 599; ++i)
        times.emplace_back(i * 1001, 60'000);
    assetReader->pictureTimes = times;
    appear();
    for (std::size_t i = 1; i + 2 < times.size(); ++i) {
        // A player's clock gives microseconds.
        player().passTime(times[i].converted(1'000'000));
        model->stepCurrentTime(1);
        ASSERT_GE(player().seeks.back(), times[i + 1]);
        ASSERT_LT(player().seeks.back(), times[i + 2]);
    }
}

TEST_F(ClipPreviewModelTest, WithoutTheTimesOfThePicturesAStepStaysWhereItIs)
{
    assetReader->pictureTimes = fail("Velmora.Fake", 1, "no pictures");
    appear();
    model->scrub(3);
    model->stepCurrentTime(1);
    EXPECT_EQ(model->currentTime(), 3);
}

TEST_F(ClipPreviewModelTest, StepsOfTheHandlesStayWithinTheirSliders)
{
    appear();
    model->stepTrimStart(-1);
    EXPECT_EQ(model->trimStartTime(), 0);
    model->stepTrimEnd(1);
    EXPECT_EQ(model->trimEndTime(), 10);
    model->stepTrimEnd(-1);
    EXPECT_EQ(model->trimEndTime(), 9.98) << "without the last picture";
    model->stepTrimEnd(-1);
    EXPECT_EQ(model->trimEndTime(), 9.96);
    model->moveTrimEnd(4);
    model->moveTrimStart(3.98);
    model->stepTrimStart(1);
    model->stepTrimStart(1);
    EXPECT_EQ(model->trimStartTime(), 4) << "not past the end";
    model->stepTrimEnd(-1);
    EXPECT_EQ(model->trimEndTime(), 4) << "not below the start";
    EXPECT_EQ(player().seeks.back(), (MediaTime{4, 1}));
}

TEST_F(ClipPreviewModelTest, TheKeysMakeTheSelectionBeginAndEndHere)
{
    appear();
    model->scrub(2);
    model->setTrimStartHere();
    model->scrub(7);
    model->setTrimEndHere();
    EXPECT_EQ(model->trimStartTime(), 2);
    EXPECT_EQ(model->trimEndTime(), 7);
    EXPECT_EQ(player().endTime, (MediaTime{7, 1}));
    EXPECT_THAT(player().seeks, SizeIs(2)) << "only the scrubbing";
}

TEST_F(ClipPreviewModelTest, TheKeysKeepTheStartBeforeTheEnd)
{
    appear();
    model->moveTrimEnd(5);
    model->scrub(8);
    model->setTrimStartHere();
    EXPECT_EQ(model->trimStartTime(), 5);
    model->moveTrimStart(4);
    model->scrub(1);
    model->setTrimEndHere();
    EXPECT_EQ(model->trimEndTime(), 4);
}

TEST_F(ClipPreviewModelTest, ASelectionThatBeginsHereBeginsWithThePictureThatIsShown)
{
    std::vector<MediaTime> times;
    for (int i = 0; i < 599; ++i)
        times.emplace_back(i * 1001, 60'000);
    assetReader->pictureTimes = times;
    appear();
    for (std::size_t i = 1; i + 1 < times.size(); ++i) {
        player().passTime(times[i].converted(1'000'000));
        model->setTrimStartHere();
        model->saveTrimmedClip();
        ASSERT_GE(session().range->start, times[i]);
        ASSERT_LT(session().range->start, times[i + 1]);
        session().cancelExport();
        executor->runAll();
    }
}

TEST_F(ClipPreviewModelTest, APositionBehindTheClipsEndDoesNotDragTheSelectionThere)
{
    appear();
    player().passTime({1001, 100});
    model->setTrimEndHere();
    EXPECT_EQ(model->trimEndTime(), 10);
    model->setTrimStartHere();
    EXPECT_EQ(model->trimStartTime(), 10);
}

TEST_F(ClipPreviewModelTest, TimesAreMinutesAndSeconds)
{
    const auto text = [](double seconds) { return ClipPreviewModel::formatTime(seconds).toStdString(); };
    EXPECT_EQ(text(0), "00:00");
    EXPECT_EQ(text(0.49), "00:00");
    EXPECT_EQ(text(0.5), "00:01");
    EXPECT_EQ(text(59.4), "00:59");
    EXPECT_EQ(text(59.5), "01:00");
    EXPECT_EQ(text(61), "01:01");
    EXPECT_EQ(text(3599.5), "60:00");
    EXPECT_EQ(text(3725), "62:05");
    EXPECT_EQ(text(600'000), "10000:00");
    EXPECT_EQ(text(std::numeric_limits<double>::quiet_NaN()), "00:00");
    EXPECT_EQ(text(std::numeric_limits<double>::infinity()), "00:00");
    EXPECT_EQ(text(-std::numeric_limits<double>::infinity()), "00:00");
}

TEST_F(ClipPreviewModelTest, TheLabelsSayTheTimesOfTheSelection)
{
    appear();
    model->moveTrimStart(1.4);
    model->moveTrimEnd(8.6);
    EXPECT_EQ(model->startText().toStdString(), "Start: 00:01");
    EXPECT_EQ(model->endText().toStdString(), "End: 00:09");
    EXPECT_EQ(model->selectedText().toStdString(), "Selected: 00:07");
}

TEST_F(ClipPreviewModelTest, SavingExportsTheSelectionBesideTheClipUnderATrimmedName)
{
    appear();
    model->moveTrimStart(2);
    model->moveTrimEnd(5);
    model->saveTrimmedClip();
    EXPECT_TRUE(model->isExportingTrim());
    EXPECT_EQ(message(), "Exporting trimmed clip...");
    EXPECT_EQ(exportSessions->lastPreset, platform::ExportPreset::passthrough);
    EXPECT_EQ(session().asset, clip);
    EXPECT_EQ(session().fileType, platform::AssetFileType::mpeg4);
    EXPECT_EQ(session().range, (TimeRange{{2, 1}, {5, 1}}));
    EXPECT_EQ(session().range->start.timescale, 600);
    EXPECT_EQ(session().range->end.timescale, 600);
    EXPECT_EQ(session().output.parent_path(), clip.parent_path());
    const auto name = session().output.filename().string();
    EXPECT_THAT(name, StartsWith(std::string{PathUtilities::prefixTrimmed} + "-20"));
    EXPECT_EQ(session().output.extension(), ".mp4");

    completeExport();
    EXPECT_FALSE(model->isExportingTrim());
    EXPECT_EQ(message(), "Trimmed clip saved as " + name);
    EXPECT_THAT(listedClips(), ElementsAre(name, "clip.mp4"));
    EXPECT_TRUE(std::filesystem::exists(clip));
}

TEST_F(ClipPreviewModelTest, TheWholeClipIsExportedToItsVeryEnd)
{
    assetReader->durations[clip] = MediaTime{284'801, 48'000};
    appear();
    model->saveTrimmedClip();
    EXPECT_EQ(session().range->start, MediaTime::zero());
    EXPECT_GE(session().range->end, (MediaTime{284'801, 48'000}));
    completeExport();
    EXPECT_THAT(files(), SizeIs(2)) << "the source stays";
}

TEST_F(ClipPreviewModelTest, NothingElseIsExportedWhileAnExportRuns)
{
    appear();
    model->saveTrimmedClip();
    model->saveTrimmedClip();
    EXPECT_THAT(exportSessions->sessions, SizeIs(1));
    completeExport();
    model->saveTrimmedClip();
    EXPECT_THAT(exportSessions->sessions, SizeIs(2));
    EXPECT_EQ(message(), "Exporting trimmed clip...");
    session().cancelExport();
}

TEST_F(ClipPreviewModelTest, TwoExportsInOneSecondMakeTwoFiles)
{
    appear();
    for (int i = 0; i < 2; ++i) {
        model->saveTrimmedClip();
        completeExport();
    }
    EXPECT_NE(exportSessions->sessions[0]->output, exportSessions->sessions[1]->output);
    EXPECT_THAT(files(), SizeIs(3));
    EXPECT_THAT(listedClips(), SizeIs(3));
}

TEST_F(ClipPreviewModelTest, AnExportWhoseNameIsTakenMeanwhileTellsItsOtherName)
{
    appear();
    model->saveTrimmedClip();
    const auto first = session().output;
    std::ofstream{first} << "somebody else's";
    ASSERT_TRUE(session().takeOutputURL());
    EXPECT_NE(session().output, first);
    const auto name = session().output.filename().string();
    completeExport();
    EXPECT_EQ(message(), "Trimmed clip saved as " + name);
    EXPECT_THAT(listedClips(), ElementsAre(name, "clip.mp4"));
}

TEST_F(ClipPreviewModelTest, AClipThatCannotBeOpenedSaysSo)
{
    appear();
    exportSessions->createError = posixError(ENOENT, "clip.mp4");
    model->saveTrimmedClip();
    EXPECT_EQ(message(), "Failed creating export session");
    EXPECT_FALSE(model->isExportingTrim());
}

TEST_F(ClipPreviewModelTest, AFailedExportSaysWhyAndListsNothing)
{
    appear();
    model->saveTrimmedClip();
    session().fail(posixError(ENOSPC, "part.mp4"));
    executor->runAll();
    EXPECT_EQ(message(), "Trim error: part.mp4: No space left on device");
    EXPECT_FALSE(model->isExportingTrim());
    EXPECT_THAT(listedClips(), ElementsAre("clip.mp4"));
    EXPECT_THAT(log->messages(), IsEmpty());
}

TEST_F(ClipPreviewModelTest, AnExportThatEndsWithoutAnErrorOfItsOwnIsUnknown)
{
    appear();
    model->saveTrimmedClip();
    session().cancelExport();
    executor->runAll();
    EXPECT_EQ(message(), "Trim error: unknown");
    EXPECT_FALSE(model->isExportingTrim());
    EXPECT_THAT(listedClips(), ElementsAre("clip.mp4"));
}

TEST_F(ClipPreviewModelTest, ReplacingTheOriginalRemovesItAndScansTheFolder)
{
    appear();
    model->exportTrimmed(true);
    EXPECT_TRUE(std::filesystem::exists(clip)) << "until the part is whole";
    const auto name = session().output.filename().string();
    completeExport();
    EXPECT_FALSE(std::filesystem::exists(clip));
    EXPECT_EQ(message(), "Trimmed clip saved as " + name);
    EXPECT_THAT(listedClips(), ElementsAre(name));
}

TEST_F(ClipPreviewModelTest, AFailedReplacementKeepsTheOriginal)
{
    appear();
    model->exportTrimmed(true);
    session().fail(posixError(EIO, "part.mp4"));
    executor->runAll();
    EXPECT_TRUE(std::filesystem::exists(clip));
    EXPECT_THAT(listedClips(), ElementsAre("clip.mp4"));
}

TEST_F(ClipPreviewModelTest, AClipIsAddedAlsoWhenItsWindowWasClosedMeanwhile)
{
    appear();
    model->saveTrimmedClip();
    const auto one = exportSessions->sessions.back();
    const auto name = one->output.filename().string();
    model.reset();
    EXPECT_TRUE(one->isRunning());
    completeExport();
    EXPECT_THAT(listedClips(), ElementsAre(name, "clip.mp4"));
}

TEST_F(ClipPreviewModelTest, AWindowThatIsClosedBetweenTheEndAndItsTellingMissesNothing)
{
    appear();
    model->saveTrimmedClip();
    const auto one = exportSessions->sessions.back();
    std::ofstream{one->output} << "a part";
    one->complete();
    model.reset();
    executor->runAll();
    EXPECT_THAT(listedClips(), SizeIs(2));
}

TEST_F(ClipPreviewModelTest, NothingKeepsASessionThatIsThrough)
{
    appear();
    model->saveTrimmedClip();
    completeExport();
    const std::weak_ptr<fake::FakeExportSession> weak = exportSessions->sessions.back();
    exportSessions->sessions.clear();
    EXPECT_TRUE(weak.expired());
}

TEST_F(ClipPreviewModelTest, TheProgramsEndCancelsEveryExport)
{
    appear();
    auto second = makeModel();
    second->setupPlayer();
    executor->runAll();
    model->saveTrimmedClip();
    second->saveTrimmedClip();
    second.reset();
    runningExports->cancelAll();
    for (const auto& one : exportSessions->sessions)
        EXPECT_EQ(one->status(), platform::ExportSession::Status::cancelled);
    executor->runAll();
    EXPECT_EQ(message(), "Trim error: unknown");
    EXPECT_THAT(listedClips(), ElementsAre("clip.mp4"));
    runningExports->cancelAll();
}

TEST_F(ClipPreviewModelTest, ClosedItPausesAndLetsTheObserverAndThePlayerGo)
{
    appear();
    model->togglePlaying();
    const auto record = players->players.back();
    model->tearDown();
    EXPECT_FALSE(record->isPlaying);
    EXPECT_TRUE(record->observers.empty());
    EXPECT_TRUE(record->isDestroyed);
    EXPECT_FALSE(model->isPlaying());
    model->tearDown();
    model->togglePlaying();
    model->moveTrimStart(1);
    EXPECT_FALSE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, ThePlayerIsMadeOnceItsPartsAreLoadedAndHasWhatWasChosenMeanwhile)
{
    players->isPrepared = false;
    appear();
    EXPECT_THAT(players->players, SizeIs(0));
    EXPECT_TRUE(model->isLoading());
    EXPECT_EQ(model->trimEndTime(), 10) << "the rest does not wait for it";
    model->moveTrimEnd(5);
    model->scrub(3);
    model->setVolume(50);
    players->finishPreparation();
    EXPECT_FALSE(model->isLoading());
    EXPECT_EQ(player().endTime, (MediaTime{5, 1}));
    EXPECT_THAT(player().seeks, ElementsAre(MediaTime{3, 1}));
    EXPECT_LT(player().volume, 1);
}

TEST_F(ClipPreviewModelTest, PlayWhileThePlayerIsBeingLoadedPlaysOnceItIsThereUnlessItIsPausedAgain)
{
    players->isPrepared = false;
    appear();
    model->togglePlaying();
    EXPECT_FALSE(model->isPlaying()) << "nothing plays yet";
    model->togglePlaying();
    model->togglePlaying();
    players->finishPreparation();
    EXPECT_TRUE(model->isPlaying());
    EXPECT_TRUE(player().isPlaying);
    model = makeModel();
    players->isPrepared = false;
    appear();
    model->togglePlaying();
    model->togglePlaying();
    players->finishPreparation();
    EXPECT_FALSE(model->isPlaying());
    EXPECT_FALSE(player().isPlaying);
}

TEST_F(ClipPreviewModelTest, ClosedBeforeThePlayersPartsAreLoadedItMakesNone)
{
    players->isPrepared = false;
    appear();
    model->togglePlaying();
    model->tearDown();
    players->finishPreparation();
    EXPECT_THAT(players->players, SizeIs(0));
    model->setupPlayer();
    executor->runAll();
    ASSERT_THAT(players->players, SizeIs(1));
    EXPECT_FALSE(player().isPlaying) << "that was wanted of the window that was closed";
}

TEST_F(ClipPreviewModelTest, WhatIsToPlayAtOncePlaysWhenItsLengthIsKnownToo)
{
    assetReader->answersAtOnce = false;
    model->playOnceLoaded();
    model->setupPlayer();
    EXPECT_FALSE(player().isPlaying) << "it would pause at once, at an end that is not known yet";
    assetReader->answerAll();
    executor->runAll();
    EXPECT_TRUE(player().isPlaying);
    EXPECT_TRUE(model->isPlaying());
    player().passTime({1, 10});
    EXPECT_TRUE(model->isPlaying());
    EXPECT_EQ(model->playAction().toStdString(), "Pause");
}

TEST_F(ClipPreviewModelTest, WhatIsToPlayAtOnceStaysPausedWherePausingWasFaster)
{
    assetReader->answersAtOnce = false;
    model->playOnceLoaded();
    model->setupPlayer();
    model->dragTrimStart(0);
    assetReader->answerAll();
    executor->runAll();
    EXPECT_FALSE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, PartsThatAreLoadedForAModelThatIsGoneMakeNoPlayer)
{
    players->isPrepared = false;
    model->setupPlayer();
    model.reset();
    players->finishPreparation();
    EXPECT_THAT(players->players, SizeIs(0));
}

TEST_F(ClipPreviewModelTest, AnswersForAModelThatIsGoneAreDropped)
{
    assetReader->answersAtOnce = false;
    model->setupPlayer();
    model.reset();
    assetReader->answerAll();
    executor->runAll();
    EXPECT_TRUE(players->players.back()->isDestroyed);
}

TEST_F(ClipPreviewModelTest, AFileThatCannotBePlayedSaysWhyAndPlaysNoMore)
{
    appear();
    model->togglePlaying();
    player().fail({"mpv", -17, "unrecognized file format", nullptr});
    EXPECT_EQ(model->problem().toStdString(), "unrecognized file format");
    EXPECT_FALSE(model->isLoading());
    EXPECT_FALSE(model->isPlaying());
    model->togglePlaying();
    EXPECT_FALSE(model->isPlaying());
}

TEST_F(ClipPreviewModelTest, WithoutAPlayerTheReasonIsShownAndTheClipCanStillBeCutDown)
{
    players->createError = Error{"Velmora.Modules", 2, "The player is not installed.", nullptr};
    appear();
    EXPECT_EQ(model->problem().toStdString(), "The player is not installed.");
    EXPECT_FALSE(model->isLoading());
    EXPECT_EQ(model->trimEndTime(), 10);
    model->moveTrimStart(4);
    model->saveTrimmedClip();
    EXPECT_EQ(session().range, (TimeRange{{4, 1}, {10, 1}}));
    session().cancelExport();
}

TEST_F(ClipPreviewModelTest, ANewPictureIsAnnouncedAndDrawn)
{
    appear();
    const auto pictures = count(&ClipPreviewModel::pictureChanged);
    std::vector<std::byte> memory(16);
    EXPECT_FALSE(model->drawPicture({memory.data(), 2, 2, 8}));
    player().showPicture(std::byte{7});
    EXPECT_EQ(*pictures, 1);
    EXPECT_TRUE(model->drawPicture({memory.data(), 2, 2, 8}));
    EXPECT_EQ(memory.back(), std::byte{7});
}

TEST_F(ClipPreviewModelTest, TwelveThumbnailsShowTheMiddlesOfTwelveParts)
{
    assetReader->image = test::picture(192, 108);
    assetReader->durations[clip] = MediaTime{12, 1};
    appear();
    EXPECT_THAT(model->thumbnails(), SizeIs(12));
    EXPECT_EQ(assetReader->imageTime, (MediaTime{115, 10}));
    EXPECT_EQ(assetReader->imageWidth, 192);
    EXPECT_EQ(assetReader->imageHeight, 108);
    EXPECT_EQ(model->thumbnails().front().size(), (QSize{192, 108}));
}

TEST_F(ClipPreviewModelTest, AThumbnailThatCannotBeMadeEndsTheStrip)
{
    appear();
    EXPECT_THAT(model->thumbnails(), IsEmpty());
}

TEST_F(ClipPreviewModelTest, WhatWasSavedCanBePlayedSharedRevealedCopiedAndDraggedAndTheClipItselfStaysOutOfIt)
{
    appear();
    EXPECT_FALSE(model->hasSavedClip());
    model->saveTrimmedClip();
    EXPECT_FALSE(model->hasSavedClip()) << "not yet";
    completeExport();
    EXPECT_TRUE(model->hasSavedClip());
    const auto saved = session().outputURL();
    model->togglePlaying();
    model->playSavedClip();
    model->shareSavedClip(10.4, 20.6);
    model->revealSavedClip();
    model->copySavedClip();
    model->dragSavedClip();
    EXPECT_THAT(played, ElementsAre(saved));
    EXPECT_FALSE(player().isPlaying) << "one clip is heard at a time";
    EXPECT_THAT(shared, ElementsAre(Pair(saved, QPoint{10, 21})));
    EXPECT_THAT(revealed, ElementsAre(saved));
    EXPECT_THAT(copied, ElementsAre(saved));
    EXPECT_THAT(dragged, ElementsAre(ElementsAre(saved)));
}

TEST_F(ClipPreviewModelTest, OnlyAMessageThatNamesASavedClipHasOne)
{
    appear();
    model->saveTrimmedClip();
    completeExport();
    model->saveTrimmedClip();
    EXPECT_FALSE(model->hasSavedClip()) << "the line says that another one is being saved";
    session().fail({"Velmora.MP4", 5, "broken", nullptr});
    executor->runAll();
    EXPECT_FALSE(model->hasSavedClip());
    model->playSavedClip();
    model->shareSavedClip(1, 2);
    model->revealSavedClip();
    model->copySavedClip();
    model->dragSavedClip();
    EXPECT_THAT(dragged, IsEmpty());
    EXPECT_THAT(played, IsEmpty());
    EXPECT_THAT(shared, IsEmpty());
    EXPECT_THAT(revealed, IsEmpty());
    EXPECT_THAT(copied, IsEmpty());
}

TEST_F(ClipPreviewModelTest, ASideThatIsDraggedShowsItsPictureAndStaysWithinItsSlider)
{
    appear();
    model->moveTrimEnd(6);
    model->scrub(1);
    model->togglePlaying();
    model->dragTrimStart(2);
    EXPECT_FALSE(player().isPlaying) << "the picture there is looked at";
    EXPECT_EQ(player().seeks.back(), (MediaTime{2, 1}));
    EXPECT_EQ(model->trimStartTime(), 2);
    model->dragTrimStart(8);
    EXPECT_EQ(model->trimStartTime(), 6) << "not past the end";
    model->dragTrimStart(-3);
    EXPECT_EQ(model->trimStartTime(), 0);
    model->dragTrimStart(4);
    model->dragTrimEnd(3);
    EXPECT_EQ(model->trimEndTime(), 4) << "not below the start";
    model->dragTrimEnd(30);
    EXPECT_EQ(model->trimEndTime(), 10);
    EXPECT_EQ(player().seeks.back(), (MediaTime{10, 1}));
}

TEST_F(ClipPreviewModelTest, TheSoundIsThatOfThePlayerAndAChosenVolumeEndsTheMuting)
{
    model->setVolume(40);
    model->toggleMuted();
    appear();
    EXPECT_EQ(player().volume, 0.4) << "chosen before there was a player";
    EXPECT_TRUE(player().isMuted);
    EXPECT_EQ(model->volume(), 40);
    EXPECT_EQ(model->heardVolume(), 0);
    EXPECT_EQ(model->soundSymbol().toStdString(), "speaker.slash");
    EXPECT_EQ(model->soundAction().toStdString(), "Unmute");
    const auto changes = count(&ClipPreviewModel::soundChanged);
    model->toggleMuted();
    EXPECT_FALSE(player().isMuted);
    EXPECT_EQ(player().volume, 0.4) << "as it was";
    EXPECT_EQ(model->heardVolume(), 40);
    EXPECT_EQ(model->soundSymbol().toStdString(), "speaker.wave.2");
    EXPECT_EQ(model->soundAction().toStdString(), "Mute");
    model->toggleMuted();
    model->setVolume(55);
    EXPECT_FALSE(player().isMuted);
    EXPECT_EQ(player().volume, 0.55);
    EXPECT_EQ(*changes, 3);
    model->setVolume(0);
    EXPECT_EQ(model->soundSymbol().toStdString(), "speaker.slash") << "nothing is heard";
    model->setVolume(140);
    EXPECT_EQ(player().volume, 1);
    model->setVolume(-1);
    EXPECT_EQ(player().volume, 0);
}

TEST_F(ClipPreviewModelTest, EachPreviewBeginsWithTheWholeSound)
{
    appear();
    EXPECT_EQ(player().volume, 1);
    EXPECT_FALSE(player().isMuted);
    model->setVolume(10);
    model->toggleMuted();
    const auto other = makeModel();
    other->setupPlayer();
    EXPECT_EQ(player().volume, 1);
    EXPECT_FALSE(player().isMuted);
}

TEST_F(ClipPreviewModelTest, SharingRevealingDraggingAndClosingAreHandedOn)
{
    const auto dismissals = count(&ClipPreviewModel::dismissed);
    model->share(10.4, 20.6);
    EXPECT_THAT(shared, ElementsAre(Pair(clip, QPoint{10, 21})));
    model->reveal();
    EXPECT_THAT(revealed, ElementsAre(clip));
    model->drag();
    EXPECT_THAT(dragged, ElementsAre(ElementsAre(clip)));
    model->dismiss();
    EXPECT_EQ(*dismissals, 1);
}

TEST_F(ClipPreviewModelTest, WhatRevealsTheClipNamesTheFileBrowserThatIsInstalled)
{
    EXPECT_EQ(model->revealRemark(), QStringLiteral("Show this clip in the file manager"));
    fileBrowser = "Thunar\nFile Manager";
    EXPECT_EQ(model->revealRemark(), QStringLiteral("Show this clip in Thunar File Manager"));
}

}  // namespace
}  // namespace velmora
