#include "platform/linux/desktop/LinuxUserDefaults.h"

#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

TEST(UserDefaults, AValueOutlivesTheProcess)
{
    const test::TemporaryDirectory folder;
    const auto file = folder.path() / "velmora" / "velmora.conf";
    makeUserDefaults(file)->setBoolean("hasCompletedWalkthrough", true);
    EXPECT_TRUE(makeUserDefaults(file)->boolean("hasCompletedWalkthrough"));
    makeUserDefaults(file)->setBoolean("hasCompletedWalkthrough", false);
    EXPECT_FALSE(makeUserDefaults(file)->boolean("hasCompletedWalkthrough"));
}

TEST(UserDefaults, WhatIsMissingOrOfAnotherTypeIsFalse)
{
    const test::TemporaryDirectory folder;
    const auto file = folder.path() / "velmora.conf";
    std::ofstream{file} << "[General]\nnumber=17\nbroken\n";
    const auto defaults = makeUserDefaults(file);
    EXPECT_FALSE(defaults->boolean("number"));
    EXPECT_FALSE(defaults->boolean("broken"));
    EXPECT_FALSE(defaults->boolean("missing"));
}

TEST(UserDefaults, AValueIsItsTextWhateverItClaimsToBe)
{
    // Qt's notation for values of any kind, among them some that end a program without a display.
    const test::TemporaryDirectory folder;
    const auto file = folder.path() / "velmora.conf";
    std::ofstream{file} << R"([General]
bytes=@ByteArray(true)
text=@Variant(\0\0\0\n\0\0\0\b\0t\0r\0u\0e)
picture=@Variant(\0\0\0A\x1\x1)
hasCompletedWalkthrough = true
)";
    const auto defaults = makeUserDefaults(file);
    EXPECT_FALSE(defaults->boolean("bytes"));
    EXPECT_FALSE(defaults->boolean("text"));
    EXPECT_FALSE(defaults->boolean("picture"));
    EXPECT_TRUE(defaults->boolean("hasCompletedWalkthrough"));
    defaults->setBoolean("picture", true);
    const auto again = makeUserDefaults(file);
    EXPECT_FALSE(again->boolean("text"));
    EXPECT_TRUE(again->boolean("picture"));
    EXPECT_TRUE(again->boolean("hasCompletedWalkthrough"));
}

TEST(UserDefaults, WhatCannotBeWrittenHoldsForThisProcess)
{
    const test::TemporaryDirectory folder;
    std::ofstream{folder.path() / "velmora"} << "a file where the folder should be";
    const auto defaults = makeUserDefaults(folder.path() / "velmora" / "velmora.conf");
    defaults->setBoolean("hasCompletedWalkthrough", true);
    EXPECT_TRUE(defaults->boolean("hasCompletedWalkthrough"));
}

}  // namespace
}  // namespace velmora::linux_backend
