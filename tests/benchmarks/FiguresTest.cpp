#include "benchmarks/Figures.h"
#include "benchmarks/ProcessUse.h"
#include "tests/support/TemporaryDirectory.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmora::benchmarks {

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// How long the work takes is up to the test: the first five find out what is quick, the others are before and after the rows.
class FiguresTest : public ::testing::Test {
protected:
    Figures makeFigures(std::deque<double> spins, std::chrono::seconds forRepetitions = std::chrono::hours{1})
    {
        spins_ = std::move(spins);
        return Figures{file_, forRepetitions, [this] {
                           const std::chrono::duration<double> took{spins_.empty() ? 1 : spins_.front()};
                           if (!spins_.empty())
                               spins_.pop_front();
                           return took;
                       }};
    }

    /// Each row's figure is the number of the try that it came from.
    void addRow(Figures& figures)
    {
        figures.row([this, &figures] { figures.add("try", ++tries_, 0, ""); });
    }

    [[nodiscard]] std::string written(const Figures& figures) const
    {
        figures.write();
        std::ifstream stream{file_};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    const test::TemporaryDirectory directory_;
    const std::filesystem::path file_ = directory_.path() / "figures.json";
    std::deque<double> spins_;
    int tries_ = 0;
};

TEST_F(FiguresTest, ARowThatNothingDisturbedIsTakenOnce)
{
    auto figures = makeFigures({1, 1, 1, 1, 1, 1.09, 1.09});
    addRow(figures);
    EXPECT_EQ(tries_, 1);
    EXPECT_THAT(written(figures), HasSubstr("\"value\": 1.0"));
    EXPECT_THAT(written(figures), Not(HasSubstr("not quiet")));
}

TEST_F(FiguresTest, ARowThatSomethingDisturbedBeforeOrAfterIsTakenAnewAndOnlyTheLastFiguresStay)
{
    for (const auto& disturbed : {std::deque<double>{1, 1, 1, 1, 1, 1.2, 1}, std::deque<double>{1, 1, 1, 1, 1, 1, 1.2}}) {
        tries_ = 0;
        auto figures = makeFigures(disturbed);
        addRow(figures);
        EXPECT_EQ(tries_, 2);
        EXPECT_THAT(written(figures), HasSubstr("\"value\": 2.0"));
        EXPECT_THAT(written(figures), Not(HasSubstr("\"value\": 1.0")));
        EXPECT_THAT(written(figures), Not(HasSubstr("not quiet")));
    }
}

TEST_F(FiguresTest, AfterThreeTriesARowSaysThatTheMachineWasNotQuiet)
{
    auto figures = makeFigures({1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2});
    addRow(figures);
    EXPECT_EQ(tries_, 3);
    EXPECT_THAT(written(figures), HasSubstr("\"value\": 3.0"));
    EXPECT_THAT(written(figures), HasSubstr("not quiet"));

    addRow(figures);
    EXPECT_EQ(tries_, 4) << "the next row begins anew";
}

TEST_F(FiguresTest, ADisturbedRowForWhichThereIsNoTimeIsNotTakenAnewAndSaysSo)
{
    auto figures = makeFigures({1, 1, 1, 1, 1, 2, 2}, std::chrono::seconds{0});
    addRow(figures);
    EXPECT_EQ(tries_, 1);
    EXPECT_THAT(written(figures), HasSubstr("not quiet"));
    EXPECT_THAT(written(figures), HasSubstr("\"text\": \"1\""));

    addRow(figures);
    EXPECT_EQ(tries_, 2) << "what nothing disturbed is taken all the same";
}

TEST_F(FiguresTest, OfSeveralMeasurementsOnlyThoseThatWereDisturbedAreTakenAnew)
{
    auto figures = makeFigures({1, 1, 1, 1, 1, /* first */ 1, 1, /* second */ 1, 2, 2, 1, 2, 2, /* third */ 1, 1});
    std::string taken;
    EXPECT_TRUE(figures.undisturbed([&] { taken += 'a'; }));
    EXPECT_FALSE(figures.undisturbed([&] { taken += 'b'; }));
    EXPECT_TRUE(figures.undisturbed([&] { taken += 'c'; }));
    EXPECT_EQ(taken, "abbbc");
}

TEST_F(FiguresTest, TheMemoryOfAProcessIsThatOfThisOne)
{
    auto figures = makeFigures({});
    figures.addMemory("this", ::getpid());
    EXPECT_THAT(written(figures), HasSubstr("\"figure\": \"this\", \"unit\": \"MB\", \"value\": "));
    EXPECT_GT(residentMegabytes(::getpid()), anonymousMegabytes(::getpid()));
    EXPECT_GT(anonymousMegabytes(::getpid()), 0);
}

TEST(ProcessUse, ProcessorTimeIsThatOfAllThreadsAlsoOfThoseThatHaveEnded)
{
    const auto before = processorSeconds(::getpid());
    std::thread{[] { EXPECT_GT(QuietMachine::spinOnAllProcessors().count(), 0); }}.join();
    const auto after = processorSeconds(::getpid());
    EXPECT_GT(after, before);
    // That of one thread's work at least, wherever it was done.
    EXPECT_GT(after - before, 0.001);
    EXPECT_EQ(processorSeconds(-1), 0);
}

TEST_F(FiguresTest, AMachineThatWasBusyAtFirstIsMeasuredByItsQuickestMoment)
{
    auto figures = makeFigures({2, 2, 2, 2, 2, 1, 2, 1, 1});
    addRow(figures);
    EXPECT_EQ(tries_, 2);
}

TEST_F(FiguresTest, FiguresOutsideARowStayWhereTheyAre)
{
    auto figures = makeFigures({});
    figures.text("before", "yes");
    addRow(figures);
    figures.text("after", "yes");
    const auto text = written(figures);
    EXPECT_LT(text.find("before"), text.find("try"));
    EXPECT_LT(text.find("try"), text.find("after"));
}

TEST_F(FiguresTest, TheRealWorkTakesTime)
{
    EXPECT_GT(QuietMachine::spinOnAllProcessors().count(), 0.001);
}

}  // namespace

}  // namespace velmora::benchmarks
