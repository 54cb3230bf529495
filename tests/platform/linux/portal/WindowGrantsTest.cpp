#include "platform/linux/portal/WindowGrants.h"

#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>

namespace velmora::linux_backend {
namespace {

WindowGrant grant(std::uint32_t id, const std::string& token = "token")
{
    return {.id = id, .restoreToken = token, .grantedAt = 1'700'000'000 + id, .width = 800, .height = 600};
}

class WindowGrantsTest : public testing::Test {
protected:
    void overwrite(const std::string& content)
    {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream{file} << content;
        std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }

    test::TemporaryDirectory directory;
    std::filesystem::path file = directory.path() / "state" / "window-grants.json";
    WindowGrants grants{file};
};

TEST_F(WindowGrantsTest, WithoutAFileThereAreNone)
{
    EXPECT_TRUE(grants.grants().empty());
    EXPECT_EQ(grants.freeID(), WindowGrants::firstID);
}

TEST_F(WindowGrantsTest, WhatIsStoredIsReadBackTheLastOneFirst)
{
    grants.store(grant(2, "a"));
    grants.store(grant(3, "b"));
    EXPECT_EQ(WindowGrants{file}.grants(), (std::vector<WindowGrant>{grant(3, "b"), grant(2, "a")}));
    EXPECT_EQ(grants.freeID(), 4U);
}

TEST_F(WindowGrantsTest, ANewTokenTakesTheOldOnesPlace)
{
    grants.store(grant(2, "a"));
    grants.store(grant(3, "b"));
    grants.store(grant(2, "c"));
    EXPECT_EQ(grants.grants(), (std::vector<WindowGrant>{grant(2, "c"), grant(3, "b")}));
}

TEST_F(WindowGrantsTest, ARemovedOneIsGoneAndItsNumberFree)
{
    grants.store(grant(2));
    grants.store(grant(3));
    grants.remove(2);
    EXPECT_EQ(grants.grants(), (std::vector<WindowGrant>{grant(3)}));
    EXPECT_EQ(grants.freeID(), 2U);
}

TEST_F(WindowGrantsTest, TheOldestIsForgottenBeyondTheMaximum)
{
    for (std::uint32_t id = 2; id < 2 + WindowGrants::maximumCount + 1; ++id)
        grants.store(grant(id));
    const auto kept = grants.grants();
    ASSERT_EQ(kept.size(), WindowGrants::maximumCount);
    EXPECT_EQ(kept.front().id, 2 + WindowGrants::maximumCount);
    EXPECT_EQ(kept.back().id, 3U);
}

TEST_F(WindowGrantsTest, OnlyTheOwnerMayReadTheFile)
{
    grants.store(grant(2));
    struct stat status { };
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(WindowGrantsTest, AFileThatOthersMayReadIsNotBelieved)
{
    grants.store(grant(2));
    std::filesystem::permissions(file, std::filesystem::perms::others_read, std::filesystem::perm_options::add);
    EXPECT_TRUE(grants.grants().empty());
    grants.store(grant(3));
    EXPECT_EQ(grants.grants(), (std::vector<WindowGrant>{grant(3)}));
}

TEST_F(WindowGrantsTest, ALinkIsNotFollowed)
{
    grants.store(grant(2));
    const auto other = directory.path() / "other.json";
    std::filesystem::rename(file, other);
    std::filesystem::create_symlink(other, file);
    EXPECT_TRUE(grants.grants().empty());
}

TEST_F(WindowGrantsTest, ADamagedFileCountsAsNone)
{
    for (const auto* content : {"", "{", "[]", "{\"grants\": 7}", "{\"grants\": [7, null, {}]}", "\xff\xfe\x00"}) {
        overwrite(content);
        EXPECT_TRUE(grants.grants().empty()) << content;
    }
    grants.store(grant(2));
    EXPECT_EQ(grants.grants().size(), 1U);
}

TEST_F(WindowGrantsTest, EntriesThatCannotBeAreLeftOut)
{
    overwrite(R"({"grants": [
        {"id": 2, "token": "", "granted": 1, "width": 8, "height": 8},
        {"id": 1, "token": "a", "granted": 1, "width": 8, "height": 8},
        {"id": -3, "token": "a", "granted": 1, "width": 8, "height": 8},
        {"id": 4, "token": "a", "granted": 1, "width": 0, "height": 8},
        {"id": 5, "token": "good", "granted": 1, "width": 8, "height": 8},
        {"id": 5, "token": "twice", "granted": 1, "width": 8, "height": 8}]})");
    EXPECT_EQ(grants.grants(), (std::vector<WindowGrant>{{.id = 5, .restoreToken = "good", .grantedAt = 1, .width = 8, .height = 8}}));
}

TEST_F(WindowGrantsTest, TheChosenSoundIsKeptAndNoneIsNotTheSameAsNoSound)
{
    auto player = grant(2);
    player.sound = engine::ApplicationIdentity{"Player \"x\" ü", "player-bin", "org.example.Player"};
    auto silent = grant(3);
    silent.sound.emplace();
    grants.store(player);
    grants.store(silent);
    grants.store(grant(4));
    EXPECT_EQ(WindowGrants{file}.grants(), (std::vector<WindowGrant>{grant(4), silent, player}));
}

TEST_F(WindowGrantsTest, AFileOfBeforeThereWereSoundsIsReadAndGetsAVersion)
{
    overwrite(R"({"grants": [{"id": 2, "token": "token", "granted": 1700000002, "width": 800, "height": 600}]})");
    EXPECT_EQ(grants.grants(), (std::vector<WindowGrant>{grant(2)}));
    grants.store(grant(3));
    std::ifstream stream{file};
    const std::string content{std::istreambuf_iterator<char>{stream}, {}};
    EXPECT_NE(content.find("\"version\": 2"), std::string::npos) << content;
    EXPECT_EQ(grants.grants().size(), 2U);
}

TEST_F(WindowGrantsTest, AFileOfALaterVersionCountsAsNone)
{
    overwrite(R"({"version": 3, "grants": [{"id": 2, "token": "token", "granted": 1, "width": 800, "height": 600}]})");
    EXPECT_TRUE(grants.grants().empty());
}

TEST_F(WindowGrantsTest, ASoundThatIsNoneCountsAsNotChosen)
{
    overwrite(R"({"version": 2, "grants": [
        {"id": 2, "token": "token", "granted": 1700000002, "width": 800, "height": 600, "sound": "Player"}]})");
    EXPECT_EQ(grants.grants(), (std::vector<WindowGrant>{grant(2)}));
}

TEST_F(WindowGrantsTest, AFolderThatCannotBeWrittenLosesTheGrantQuietly)
{
    WindowGrants nowhere{"/proc/nowhere/window-grants.json"};
    nowhere.store(grant(2));
    EXPECT_TRUE(nowhere.grants().empty());
}

}  // namespace
}  // namespace velmora::linux_backend
