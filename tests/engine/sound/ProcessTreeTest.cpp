#include "engine/sound/ProcessTree.h"

#include <gtest/gtest.h>
#include <map>

namespace velmora::engine {
namespace {

/// Processes that a test invents.
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
}  // namespace velmora::engine
