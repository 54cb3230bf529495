#include "platform/linux/ProcessTree.h"

#include "tests/support/sound/ChildProcess.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;

TEST(ProcessStat, ParentAndStartTimeAreTakenFromTheirFields)
{
    const auto record =
        parseProcessStat("812 (player) S 400 812 812 0 -1 4194560 1 0 0 0 3 1 0 0 20 0 1 0 98765 1000 200 18446744073709551615 1\n");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->parent, 400);
    EXPECT_EQ(record->startTime, 98765U);
}

TEST(ProcessStat, ANameWithBracketsBlanksAndLineBreaksIsSkipped)
{
    const auto record = parseProcessStat("812 (a) S 1 (b\n) c) S 400 812 812 0 -1 4194560 1 0 0 0 3 1 0 0 20 0 1 0 98765 1000\n");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->parent, 400);
    EXPECT_EQ(record->startTime, 98765U);
}

TEST(ProcessStat, ATextThatEndsEarlyIsRefused)
{
    EXPECT_FALSE(parseProcessStat(""));
    EXPECT_FALSE(parseProcessStat("812 (player"));
    EXPECT_FALSE(parseProcessStat("812 (player) S 400 812"));
    EXPECT_FALSE(parseProcessStat("812 (player) S x 812 812 0 -1 4194560 1 0 0 0 3 1 0 0 20 0 1 0 98765 1000"));
}

TEST(ProcessTree, HoldsItsRoot)
{
    EXPECT_TRUE(ProcessTree{::getpid()}.contains(::getpid()));
}

TEST(ProcessTree, HoldsAChildAndAGrandchildButNoSibling)
{
    // The "true" at the end of each keeps a shell from becoming its last command.
    ChildProcess application{{"sh", "-c", R"(sh -c 'echo $$; sh -c "echo \$\$; read x; true"; true'; true)"}};
    const ChildProcess sibling{{"cat"}};
    const auto first = application.readLine();
    const auto second = application.readLine();
    ASSERT_TRUE(first && second);
    const auto child = static_cast<std::int32_t>(std::stol(*first));
    const auto grandchild = static_cast<std::int32_t>(std::stol(*second));
    ASSERT_NE(child, application.processID());

    const ProcessTree tree{application.processID()};
    EXPECT_TRUE(tree.contains(child));
    EXPECT_TRUE(tree.contains(grandchild));
    EXPECT_FALSE(tree.contains(sibling.processID()));
    EXPECT_FALSE(tree.contains(::getpid()));
    const ProcessTree ours{::getpid()};
    EXPECT_TRUE(ours.contains(grandchild));
    EXPECT_TRUE(ours.contains(sibling.processID()));
}

TEST(ProcessTree, LosesItsRootWhenThatEnds)
{
    ChildProcess application{{"cat"}};
    const auto process = application.processID();
    const ProcessTree tree{process};
    ASSERT_TRUE(tree.contains(process));
    application.kill();
    EXPECT_FALSE(tree.contains(process));
}

TEST(ProcessTree, AProcessThatIsUnknownOrImpossibleIsOutside)
{
    const ProcessTree tree{::getpid()};
    EXPECT_FALSE(tree.contains(0));
    EXPECT_FALSE(tree.contains(-1));
    EXPECT_FALSE(tree.contains(1));
    EXPECT_FALSE(ProcessTree{0}.contains(::getpid()));
}

/// Processes as a test invents them.
class InventedProcesses {
public:
    void add(std::int32_t process, std::int32_t parent, std::uint64_t startTime) { records_[process] = {parent, startTime}; }

    [[nodiscard]] ProcessTree::Reader reader()
    {
        return [this](std::int32_t process) {
            const auto found = records_.find(process);
            return found == records_.end() ? std::nullopt : std::optional{found->second};
        };
    }

private:
    std::map<std::int32_t, ProcessRecord> records_;
};

class ProcessTreeOfInventedProcesses : public ::testing::Test {
protected:
    ProcessTreeOfInventedProcesses()
    {
        processes_.add(1, 0, 0);
        processes_.add(100, 1, 10);
        processes_.add(200, 100, 20);
        processes_.add(300, 200, 30);
    }

    InventedProcesses processes_;
};

TEST_F(ProcessTreeOfInventedProcesses, AnExcludedProcessTakesItsDescendantsWithIt)
{
    const ProcessTree tree{100, [](std::int32_t process) { return process == 200; }, processes_.reader()};
    EXPECT_TRUE(tree.contains(100));
    EXPECT_FALSE(tree.contains(200));
    EXPECT_FALSE(tree.contains(300));
}

TEST_F(ProcessTreeOfInventedProcesses, TheRootIsNeverExcluded)
{
    const ProcessTree tree{200, [](std::int32_t process) { return process == 200; }, processes_.reader()};
    EXPECT_TRUE(tree.contains(300));
}

TEST_F(ProcessTreeOfInventedProcesses, ARootWhosePidWasGivenToAnotherProcessHoldsNothing)
{
    const ProcessTree tree{100, {}, processes_.reader()};
    processes_.add(100, 1, 99);
    processes_.add(400, 100, 120);
    EXPECT_FALSE(tree.contains(100));
    EXPECT_FALSE(tree.contains(400));
}

TEST_F(ProcessTreeOfInventedProcesses, AParentYoungerThanItsChildIsNotItsParent)
{
    processes_.add(200, 100, 35);
    const ProcessTree tree{100, {}, processes_.reader()};
    EXPECT_TRUE(tree.contains(200));
    EXPECT_FALSE(tree.contains(300));
}

TEST_F(ProcessTreeOfInventedProcesses, AnOrphanHasLeftTheTree)
{
    processes_.add(300, 1, 30);
    const ProcessTree tree{100, {}, processes_.reader()};
    EXPECT_FALSE(tree.contains(300));
}

TEST_F(ProcessTreeOfInventedProcesses, AnEndlessChainOfTornRecordsEnds)
{
    processes_.add(500, 600, 50);
    processes_.add(600, 500, 50);
    const ProcessTree tree{100, {}, processes_.reader()};
    EXPECT_FALSE(tree.contains(500));
}

}  // namespace
}  // namespace velmora::linux_backend
