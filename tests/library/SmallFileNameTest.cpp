#include "library/SmallFileName.h"

#include "platform/fake/FakeFileManager.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace velmora::small_file {
namespace {

TEST(SmallFileName, ALimitIsANumberOfMegabytesOrHasItsOwnUnit)
{
    EXPECT_EQ(parseLimit("10MB"), 10'000'000U);
    EXPECT_EQ(parseLimit("10"), 10'000'000U);
    EXPECT_EQ(parseLimit(" 10 mb "), 10'000'000U);
    EXPECT_EQ(parseLimit("12.5MB"), 12'500'000U);
    EXPECT_EQ(parseLimit("800kB"), 800'000U);
    EXPECT_EQ(parseLimit("1.5GB"), 1'500'000'000U);
    EXPECT_EQ(parseLimit("8MiB"), 8'388'608U);
    EXPECT_EQ(parseLimit("500b"), 500U);
}

TEST(SmallFileName, WhatIsNoSizeIsNoLimit)
{
    for (const char* text :
        {"", "MB", "0", "0MB", "-5MB", "10 apples", "1e3", "nan", "inf", "0x10", "10MB10", "1e400", "999999999999999999"})
        EXPECT_FALSE(parseLimit(text)) << text;
}

TEST(SmallFileName, AMegabyteIsTheSmallerOfTheTwoThatAreCalledSo)
{
    EXPECT_LE(bytesOfMegabyte, 1024U * 1024U);
    EXPECT_EQ(limitText(usualLimits[0]), "10 MB");
    EXPECT_EQ(limitText(usualLimits[1]), "25 MB");
    EXPECT_EQ(limitText(usualLimits[2]), "50 MB");
    EXPECT_EQ(limitText(12'500'000), "12.5 MB");
    EXPECT_EQ(limitText(8'388'608), "8.38 MB");
    EXPECT_EQ(limitText(800'000), "0.8 MB");
}

class SmallFileNames : public testing::Test {
protected:
    [[nodiscard]] auto names(const std::filesystem::path& clip, const platform::TranscodingSettings& settings = {.limit = 10'000'000})
    {
        return namesFor(clip, "/clips/Shared", settings, files);
    }
    const std::shared_ptr<fake::FakeFileManager> files = std::make_shared<fake::FakeFileManager>();
};

TEST_F(SmallFileNames, AreCountedAndNeverGivenTwice)
{
    auto next = names("/clips/a.mp4");
    EXPECT_EQ(next(), "/clips/Shared/a-10MB.mp4");
    EXPECT_EQ(next(), "/clips/Shared/a-10MB-1.mp4");
    EXPECT_EQ(next(), "/clips/Shared/a-10MB-2.mp4");
}

TEST_F(SmallFileNames, SayWhatTheCopyIsFor)
{
    EXPECT_EQ(names("/clips/a.MP4", {.limit = 0, .hasConstantRate = true})(), "/clips/Shared/a-constant.mp4");
    EXPECT_EQ(names("/clips/a.mp4", {.limit = 12'500'000, .hasConstantRate = true})(), "/clips/Shared/a-12.5MB-constant.mp4");
}

TEST_F(SmallFileNames, EndAsTheirKindOfFileDoes)
{
    using platform::CopyFormat;
    for (const auto& [format, extension] :
        {std::pair{CopyFormat::mp4, ".mp4"}, {CopyFormat::gif, ".gif"}, {CopyFormat::webp, ".webp"}, {CopyFormat::webm, ".webm"}})
        EXPECT_EQ(names("/clips/a.mp4", {.limit = 10'000'000, .format = format})(), std::string{"/clips/Shared/a-10MB"} + extension);
}

TEST_F(SmallFileNames, KeepBytesThatAreNotText)
{
    EXPECT_EQ(names(std::filesystem::path{"/clips/\xFF\xFE z.mp4"})(), std::filesystem::path{"/clips/Shared/\xFF\xFE z-10MB.mp4"});
}

TEST_F(SmallFileNames, StayWithinWhatFileSystemsTakeAndEndWithAWholeCharacter)
{
    std::string stem;
    while (stem.size() < 250)
        stem += "ü";
    auto next = names(std::filesystem::path{"/clips/" + stem + ".mp4"});
    const auto name = next()->filename().native();
    EXPECT_LE(name.size(), 250U);
    EXPECT_TRUE(name.ends_with("ü-10MB.mp4")) << name;
    EXPECT_LE(next()->filename().native().size(), 255U);
}

}  // namespace
}  // namespace velmora::small_file
