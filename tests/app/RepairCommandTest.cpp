#include "app/RepairCommand.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

class ScriptedRepairer final : public platform::AssetRepairer {
public:
    Result<Outcome> repair(const std::filesystem::path& file) override
    {
        asked = file;
        return answer;
    }

    std::size_t removeAbandonedExports(const std::filesystem::path&) override { return 0; }

    std::filesystem::path asked;
    Result<Outcome> answer = Outcome::repaired;
};

class RepairCommandTest : public testing::Test {
protected:
    int run()
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = runRepairCommand({"/clips/a.mp4"}, repairer);
        output = testing::internal::GetCapturedStdout();
        errors = testing::internal::GetCapturedStderr();
        return status;
    }

    ScriptedRepairer repairer;
    std::string output;
    std::string errors;
};

TEST_F(RepairCommandTest, PrintsThePathOfARepairedFile)
{
    EXPECT_EQ(run(), command_line::succeeded);
    EXPECT_EQ(repairer.asked, "/clips/a.mp4");
    EXPECT_EQ(output, "/clips/a.mp4\n");
    EXPECT_EQ(errors, "");
}

TEST_F(RepairCommandTest, SaysThatThereWasNothingToDo)
{
    repairer.answer = platform::AssetRepairer::Outcome::nothingToDo;
    EXPECT_EQ(run(), command_line::succeeded);
    EXPECT_EQ(output, "/clips/a.mp4\n");
    EXPECT_EQ(errors, "Nothing to repair: the file is whole.\n");
}

TEST_F(RepairCommandTest, SaysWhyItCannot)
{
    repairer.answer = fail("MP4", 1, "The file is being recorded.");
    EXPECT_EQ(run(), command_line::failed);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "Cannot repair /clips/a.mp4: The file is being recorded.\n");
}

}  // namespace
}  // namespace velmora
