#include "tests/support/sound/ChildProcess.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(ChildProcess, TheTranscriptHasWhatProgramsSaidWhetherAnybodyReadItOrNot)
{
    takeProgramTranscripts();
    {
        ChildProcess program{{"sh", "-c", "echo read; echo unread; echo complaint >&2; exit 3"}};
        EXPECT_EQ(program.readLine(), "read");
        EXPECT_TRUE(program.endsWithin(std::chrono::seconds{60}));
        EXPECT_EQ(program.wait(), 3);
    }
    ChildProcess running{{"sh", "-c", "echo ready; echo working >&2; read line"}};
    EXPECT_EQ(running.readLine(), "ready");
    const auto said = takeProgramTranscripts();
    EXPECT_THAT(said, HasSubstr("(status 3)\noutput:\nread\nunread\nmessages:\ncomplaint\n"));
    EXPECT_THAT(said, HasSubstr("(still running)\noutput:\nready\n"));
    EXPECT_THAT(takeProgramTranscripts(), Not(HasSubstr("complaint"))) << "it is said once";
}

// Run only by the next test.
TEST(ChildProcess, DISABLED_Fails)
{
    ChildProcess program{{"sh", "-c", "echo complaint >&2"}};
    EXPECT_TRUE(program.endsWithin(std::chrono::seconds{60}));
    ADD_FAILURE();
}

TEST(ChildProcess, ATestThatFailsPrintsWhatItsProgramsSaid)
{
    ChildProcess test{{std::filesystem::read_symlink("/proc/self/exe").string(), "--gtest_also_run_disabled_tests",
        "--gtest_filter=ChildProcess.DISABLED_Fails"}};
    std::string printed;
    while (const auto line = test.readLine(std::chrono::seconds{60}))
        printed += *line + "\n";
    EXPECT_EQ(test.wait(), 1);
    EXPECT_THAT(printed, HasSubstr("(status 0)\nmessages:\ncomplaint\n"));
}

}  // namespace
}  // namespace velmora::test
