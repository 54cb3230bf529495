#include "platform/linux/x11/ProcessIds.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

std::string hostName()
{
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    return name;
}

TEST(ProcessIds, TheAnnouncedProcessCounts)
{
    EXPECT_EQ(resolveProcessId({4711, 0, hostName()}), 4711);
    EXPECT_EQ(resolveProcessId({4711, 0, ""}), 4711);
}

TEST(ProcessIds, TheConnectedProcessStandsInForAMissingOne)
{
    EXPECT_EQ(resolveProcessId({0, 815, ""}), 815);
    EXPECT_EQ(resolveProcessId({0, 0, hostName()}), 0);
}

TEST(ProcessIds, AProcessOfAnotherMachineIsUnknown)
{
    EXPECT_EQ(resolveProcessId({4711, 815, "far-away.example"}), 0);
}

TEST(ProcessIds, AnAnnouncedProcessThatDiffersFromTheConnectedOneCountsAllTheSame)
{
    // This process is in no sandbox of its own, so it is not number 2 of one.
    EXPECT_EQ(resolveProcessId({0x7ffffffe, static_cast<std::int32_t>(getpid()), ""}), 0x7ffffffe);
}

TEST(IsSameMachine, KnowsTheNameWithAndWithoutDomain)
{
    EXPECT_TRUE(isSameMachine("box", "box"));
    EXPECT_TRUE(isSameMachine("box", "box.example.org"));
    EXPECT_TRUE(isSameMachine("box.example.org", "box"));
    EXPECT_TRUE(isSameMachine("localhost", "box"));
    EXPECT_FALSE(isSameMachine("boxer", "box"));
    EXPECT_FALSE(isSameMachine("box.example.org", "box.example.com"));
}

TEST(ExecutableName, IsThatOfTheRunningFile)
{
    EXPECT_EQ(executableName(static_cast<std::int32_t>(getpid())), "x11_tests");
    EXPECT_EQ(executableName(0), "");
}

}  // namespace
}  // namespace velmora::linux_backend
