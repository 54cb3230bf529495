#include "platform/linux/x11/DesktopEntries.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;

class DesktopEntriesOnDisk : public testing::Test {
protected:
    DesktopEntriesOnDisk()
    {
        std::string name = (fs::temp_directory_path() / "desktop-entries-XXXXXX").string();
        root_ = mkdtemp(name.data());
    }
    ~DesktopEntriesOnDisk() override { fs::remove_all(root_); }

    void write(const std::string& path, const std::string& lines)
    {
        const auto file = root_ / path;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "[Desktop Entry]\nType=Application\n" << lines;
    }

    DesktopEntries entries(const std::string& locale = "C") { return DesktopEntries{{root_ / "home", root_ / "system"}, locale}; }

    fs::path root_;
};

TEST(PreferredLocales, AreOrderedFromTheMostSpecial)
{
    EXPECT_EQ(preferredLocales("sr_RS.UTF-8@latin"), (std::vector<std::string>{"sr_RS@latin", "sr_RS", "sr@latin", "sr"}));
    EXPECT_EQ(preferredLocales("de_AT.UTF-8"), (std::vector<std::string>{"de_AT", "de"}));
    EXPECT_EQ(preferredLocales("de"), (std::vector<std::string>{"de"}));
}

TEST(PreferredLocales, AreNoneForTheCLocale)
{
    for (const char* name : {"", "C", "C.UTF-8", "POSIX"})
        EXPECT_TRUE(preferredLocales(name).empty()) << name;
}

TEST(ParseDesktopEntry, ReadsNameAndClass)
{
    const auto entry =
        parseDesktopEntry("# a comment\n[Desktop Entry]\nType = Application\nName=Player\nStartupWMClass=Gl\nName[de]=Spieler\n", {});
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "Player");
    EXPECT_EQ(entry->startupWMClass, "Gl");
    EXPECT_FALSE(entry->isHidden);
}

TEST(ParseDesktopEntry, TakesTheBestLocale)
{
    const std::string text = "[Desktop Entry]\nType=Application\nName[de]=Deutsch\nName=Plain\nName[de_AT]=Wienerisch\nName[fr]=Non\n";
    EXPECT_EQ(parseDesktopEntry(text, preferredLocales("de_AT.UTF-8"))->name, "Wienerisch");
    EXPECT_EQ(parseDesktopEntry(text, preferredLocales("de_DE.UTF-8"))->name, "Deutsch");
    EXPECT_EQ(parseDesktopEntry(text, preferredLocales("pl_PL"))->name, "Plain");
}

TEST(ParseDesktopEntry, IgnoresTheGroupsOfActions)
{
    const auto entry = parseDesktopEntry("[Desktop Entry]\nType=Application\nName=Right\n[Desktop Action new]\nName=Wrong\n", {});
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "Right");
}

TEST(ParseDesktopEntry, UndoesEscapesAndWindowsLineEnds)
{
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\r\nType=Application\r\nName=A\\sB\\\\C\r\n", {})->name, "A B\\C");
}

TEST(ParseDesktopEntry, IsNothingWithoutANameOrForALink)
{
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Application\n", {}));
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Link\nName=Home page\n", {}));
    EXPECT_FALSE(parseDesktopEntry("Name=No group\nType=Application\n", {}));
    EXPECT_FALSE(parseDesktopEntry("", {}));
}

TEST(ParseDesktopEntry, KeysThatOnlyBeginWithNameAreNotTheName)
{
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nType=Application\nNameless=x\nName=Right\nName[]=y\n", {})->name, "Right");
}

TEST_F(DesktopEntriesOnDisk, AClassIsFoundByStartupWMClassBeforeFileName)
{
    write("system/applications/player.desktop", "Name=By file\n");
    write("system/applications/org.example.Other.desktop", "Name=By class\nStartupWMClass=Player\n");
    EXPECT_EQ(entries().nameFor("player", ""), "By class");
}

TEST_F(DesktopEntriesOnDisk, AClassIsFoundByFileNameInSubfoldersWhateverItsCase)
{
    write("system/applications/kde/Terminal.desktop", "Name=Shell\n");
    EXPECT_EQ(entries().nameFor("TERMINAL", "x"), "Shell");
    EXPECT_EQ(entries().nameFor("other", "terminal"), "Shell");
    EXPECT_EQ(entries().nameFor("other", "x"), std::nullopt);
    EXPECT_EQ(entries().nameFor("", ""), std::nullopt);
}

TEST_F(DesktopEntriesOnDisk, TheUsersEntryHidesTheSystems)
{
    write("system/applications/a.desktop", "Name=System\n");
    write("home/applications/a.desktop", "Name=Mine\n");
    write("system/applications/b.desktop", "Name=Removed\n");
    write("home/applications/b.desktop", "Name=Removed\nHidden=true\n");
    auto names = entries();
    EXPECT_EQ(names.nameFor("a", ""), "Mine");
    EXPECT_EQ(names.nameFor("b", ""), std::nullopt);
}

TEST_F(DesktopEntriesOnDisk, AChangedFolderIsReadAgain)
{
    write("system/applications/a.desktop", "Name=First\n");
    auto names = entries();
    EXPECT_EQ(names.nameFor("a", ""), "First");
    write("home/applications/new.desktop", "Name=Installed later\n");
    names.refresh();
    EXPECT_EQ(names.nameFor("new", ""), "Installed later");
    fs::remove(root_ / "home/applications/new.desktop");
    fs::last_write_time(root_ / "home/applications", fs::file_time_type::clock::now() + std::chrono::seconds(5));
    names.refresh();
    EXPECT_EQ(names.nameFor("new", ""), std::nullopt);
}

TEST_F(DesktopEntriesOnDisk, TheNameIsInTheLanguageAskedFor)
{
    write("system/applications/a.desktop", "Name=Files\nName[de]=Dateien\n");
    EXPECT_EQ(entries("de_CH.UTF-8").nameFor("a", ""), "Dateien");
}

TEST_F(DesktopEntriesOnDisk, TheEntryThatNamesAnApplicationNamesItsIcon)
{
    write("home/applications/player.desktop", "Name=Player\nIcon=film-player\nIcon[de]=filmspieler\nStartupWMClass=PlayerClass\n");
    write("home/applications/plain.desktop", "Name=Plain\n");
    auto found = entries("de_DE.UTF-8");
    EXPECT_EQ(found.iconFor("playerclass", ""), "film-player");
    EXPECT_EQ(found.iconFor("Other", "player"), "film-player");
    EXPECT_EQ(found.iconFor("plain", ""), "");
    EXPECT_EQ(found.iconFor("missing", ""), "");
}

}  // namespace
}  // namespace velmora::linux_backend
