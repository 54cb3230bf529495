#include "platform/linux/kernel/ProcessRecords.h"

#include "tests/support/sound/ChildProcess.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;

engine::ProcessTree treeBelow(std::int32_t root)
{
    return {root, {}, readProcessRecord};
}

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
    EXPECT_TRUE(treeBelow(::getpid()).contains(::getpid()));
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

    const auto tree = treeBelow(application.processID());
    EXPECT_TRUE(tree.contains(child));
    EXPECT_TRUE(tree.contains(grandchild));
    EXPECT_FALSE(tree.contains(sibling.processID()));
    EXPECT_FALSE(tree.contains(::getpid()));
    const auto ours = treeBelow(::getpid());
    EXPECT_TRUE(ours.contains(grandchild));
    EXPECT_TRUE(ours.contains(sibling.processID()));
}

TEST(ProcessTree, LosesItsRootWhenThatEnds)
{
    ChildProcess application{{"cat"}};
    const auto process = application.processID();
    const auto tree = treeBelow(process);
    ASSERT_TRUE(tree.contains(process));
    application.kill();
    EXPECT_FALSE(tree.contains(process));
}

TEST(ProcessTree, AProcessThatIsUnknownOrImpossibleIsOutside)
{
    const auto tree = treeBelow(::getpid());
    EXPECT_FALSE(tree.contains(0));
    EXPECT_FALSE(tree.contains(-1));
    EXPECT_FALSE(tree.contains(1));
    EXPECT_FALSE(treeBelow(0).contains(::getpid()));
}

}  // namespace
}  // namespace velmora::linux_backend
