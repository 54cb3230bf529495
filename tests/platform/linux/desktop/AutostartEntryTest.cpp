#include "platform/linux/desktop/AutostartEntry.h"

#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

constexpr const char* entryName = "com.velmora.Velmora.desktop";

/// As it is installed: off until the user says so.
constexpr const char* installedEntry = "[Desktop Entry]\n"
                                       "Type=Application\n"
                                       "Name=Velmora\n"
                                       "Exec=velmora\n"
                                       "TryExec=velmora\n"
                                       "# A remark.\n"
                                       "\n"
                                       "Hidden=true\n"
                                       "X-GNOME-Autostart-enabled=false\n";
constexpr const char* entryThatIsOn = "[Desktop Entry]\n"
                                      "Type=Application\n"
                                      "Name=Velmora\n"
                                      "Exec=velmora\n"
                                      "TryExec=velmora\n"
                                      "# A remark.\n"
                                      "\n";

class AutostartEntryTest : public testing::Test {
protected:
    AutostartEntryTest() { write(system, installedEntry); }

    static void write(const fs::path& file, const std::string& text)
    {
        fs::create_directories(file.parent_path());
        std::ofstream{file} << text;
    }

    static std::string read(const fs::path& file)
    {
        std::ifstream stream{file};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    [[nodiscard]] std::shared_ptr<platform::LoginItem> item(std::vector<std::string> desktops = {"XFCE"}) const
    {
        return makeLoginItem({user.parent_path(), {folder.path() / "nothing", system.parent_path()}, std::move(desktops)});
    }
    [[nodiscard]] bool isOn() const { return item()->status().isOn; }

    test::TemporaryDirectory folder;
    const fs::path system = folder.path() / "etc/xdg/autostart" / entryName;
    const fs::path user = folder.path() / "home/.config/autostart" / entryName;
};

TEST_F(AutostartEntryTest, WhatIsInstalledIsOffUntilTheUserSaysSo)
{
    EXPECT_EQ(item()->status(), (platform::LoginItem::Status{false, true, ""}));
}

TEST_F(AutostartEntryTest, SwitchedOnItIsTheFileThatTheReadmeMakesByHandAndSwitchedOffItIsGone)
{
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_TRUE(isOn());
    EXPECT_EQ(read(user), entryThatIsOn);
    const auto byHand = "sed '/^Hidden=/d; /^X-GNOME-Autostart-enabled=/d' " + system.string() + " | cmp -s - " + user.string();
    EXPECT_EQ(std::system(byHand.c_str()), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator{user.parent_path()}, {}), 1) << "nothing else is left there";
    ASSERT_TRUE(item()->setOn(false));
    EXPECT_FALSE(isOn());
    EXPECT_FALSE(fs::exists(fs::symlink_status(user)));
    EXPECT_EQ(read(system), installedEntry);
}

TEST_F(AutostartEntryTest, TheUsersEntryCountsWhateverTheSystemsSays)
{
    write(user, entryThatIsOn);
    EXPECT_TRUE(isOn());
    write(system, entryThatIsOn);
    for (const auto* key :
        {"Hidden=true\n", "X-GNOME-Autostart-enabled=false\n", "Hidden = true \n", "NotShowIn=KDE;XFCE;\n", "OnlyShowIn=GNOME;\n"}) {
        write(user, std::string{entryThatIsOn} + key);
        EXPECT_FALSE(isOn()) << key;
    }
    for (const auto* key : {"Hidden=false\n", "X-GNOME-Autostart-enabled=true\n", "#Hidden=true\n", "NotShowIn=KDE;\n",
             "OnlyShowIn=GNOME;XFCE\n", "[Desktop Action x]\nHidden=true\n"}) {
        write(user, std::string{entryThatIsOn} + key);
        EXPECT_TRUE(isOn()) << key;
    }
}

TEST_F(AutostartEntryTest, AnotherDesktopsSwitchIsTurnedBack)
{
    for (const auto* key : {"Hidden=true\n", "X-GNOME-Autostart-enabled=false\n", "NotShowIn=XFCE;\n", "OnlyShowIn=GNOME;\n"}) {
        write(user, std::string{entryThatIsOn} + key);
        ASSERT_TRUE(item()->setOn(true));
        EXPECT_TRUE(isOn()) << key;
        EXPECT_EQ(read(user), entryThatIsOn);
    }
    write(user, "[Desktop Entry]\nHidden=true\n");
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_EQ(read(user), entryThatIsOn) << "an entry that only hides the system's";
}

TEST_F(AutostartEntryTest, ASystemsEntryThatIsOnIsHiddenByOneOfTheUsers)
{
    write(system, entryThatIsOn);
    EXPECT_TRUE(isOn());
    ASSERT_TRUE(item()->setOn(false));
    EXPECT_FALSE(isOn());
    EXPECT_THAT(read(user), HasSubstr("[Desktop Entry]\nHidden=true\nType=Application\n"));
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_TRUE(isOn());
    ASSERT_TRUE(item()->setOn(false));
    EXPECT_FALSE(isOn());
    EXPECT_EQ(read(system), entryThatIsOn);
}

TEST_F(AutostartEntryTest, WhatTheUserWroteIntoTheEntryStays)
{
    for (const auto* line : {"Exec=/opt/velmora/bin/velmora\n", "Exec=\"/opt/my tools/velmora\"\n", "Exec=sh -c \"sleep 5; velmora\"\n"}) {
        const auto own = std::string{"[Desktop Entry]\nName=Mine\n"} + line;
        write(user, own);
        ASSERT_TRUE(isOn()) << line;
        ASSERT_TRUE(item()->setOn(false));
        EXPECT_FALSE(isOn());
        EXPECT_EQ(read(user), std::string{"[Desktop Entry]\nHidden=true\nName=Mine\n"} + line);
        ASSERT_TRUE(item()->setOn(true));
        EXPECT_EQ(read(user), own);
    }
}

TEST_F(AutostartEntryTest, AnEntryThatStartsAnotherProgramIsLeftAlone)
{
    const std::string foreign = "[Desktop Entry]\nExec=velmora-helper --now\n";
    write(user, foreign);
    const auto status = item()->status();
    EXPECT_FALSE(status.isOn);
    EXPECT_FALSE(status.canBeChanged);
    EXPECT_THAT(status.remark, HasSubstr(user.string()));
    const auto changed = item()->setOn(true);
    ASSERT_FALSE(changed);
    EXPECT_EQ(changed.error().localizedDescription, status.remark);
    EXPECT_EQ(read(user), foreign);
}

TEST_F(AutostartEntryTest, WithoutAnInstalledEntryThereIsNothingToSwitch)
{
    fs::remove(system);
    const auto status = item()->status();
    EXPECT_FALSE(status.canBeChanged);
    EXPECT_FALSE(status.remark.empty());
    EXPECT_FALSE(item()->setOn(true));
    EXPECT_FALSE(fs::exists(user));
    write(user, entryThatIsOn);
    EXPECT_EQ(item()->status(), (platform::LoginItem::Status{true, true, ""}));
    ASSERT_TRUE(item()->setOn(false));
    EXPECT_FALSE(isOn());
    EXPECT_TRUE(fs::exists(user)) << "nothing else says how it is started";
}

TEST_F(AutostartEntryTest, WhatALinkLeadsToStaysAsItIs)
{
    const auto target = folder.path() / "dotfiles" / entryName;
    write(target, "[Desktop Entry]\nExec=velmora\nHidden=true\n");
    fs::create_directories(user.parent_path());
    fs::create_symlink(target, user);
    EXPECT_FALSE(isOn());
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_TRUE(isOn());
    EXPECT_EQ(read(target), "[Desktop Entry]\nExec=velmora\nHidden=true\n");
    EXPECT_FALSE(fs::is_symlink(user));

    fs::remove(user);
    fs::create_symlink("/dev/null", user);
    EXPECT_FALSE(isOn()) << "a way to switch off what the system starts";
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_EQ(read(user), entryThatIsOn);

    fs::remove(user);
    fs::create_symlink(folder.path() / "gone", user);
    EXPECT_FALSE(isOn());
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_TRUE(isOn());
    EXPECT_FALSE(fs::exists(folder.path() / "gone"));

    fs::remove(user);
    fs::create_symlink(system, user);
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_EQ(read(system), installedEntry);
}

TEST_F(AutostartEntryTest, WhereNothingCanBeWrittenTheSystemsErrorIsSaidAndNothingHasChanged)
{
    // A file where the folder should be, and a folder where the file should be: both hold for the superuser too.
    write(user.parent_path(), "");
    auto failed = item()->setOn(true);
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.error().localizedDescription, HasSubstr("Not a directory"));
    fs::remove(user.parent_path());
    fs::create_directories(user / "in it");
    failed = item()->setOn(true);
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.error().localizedDescription, HasSubstr(user.string()));
    EXPECT_FALSE(isOn());
    EXPECT_EQ(std::distance(fs::directory_iterator{user.parent_path()}, {}), 1) << "nothing is left of the try";
}

TEST_F(AutostartEntryTest, InAFolderThatMayOnlyBeReadTheErrorIsSaid)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "nothing is read-only for the superuser";
    fs::create_directories(user.parent_path());
    fs::permissions(user.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
    const auto failed = item()->setOn(true);
    fs::permissions(user.parent_path(), fs::perms::owner_all);
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.error().localizedDescription, HasSubstr("Permission denied"));
    EXPECT_FALSE(isOn());
}

TEST_F(AutostartEntryTest, APipeOfThatNameIsNotOpened)
{
    fs::create_directories(user.parent_path());
    ASSERT_EQ(::mkfifo(user.c_str(), 0600), 0);
    EXPECT_FALSE(isOn());
    ASSERT_TRUE(item()->setOn(true));
    EXPECT_TRUE(isOn());
}

TEST(AutostartOptions, TheEnvironmentSaysWhereEntriesAre)
{
    const auto set = [](const char* variable, const char* value) { value ? ::setenv(variable, value, 1) : ::unsetenv(variable); };
    set("XDG_CONFIG_HOME", "/conf");
    set("XDG_CONFIG_DIRS", "/one:relative:/two");
    set("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    auto options = AutostartOptions::fromEnvironment("/users/u");
    EXPECT_EQ(options.userFolder, "/conf/autostart");
    EXPECT_THAT(options.systemFolders, testing::ElementsAre("/one/autostart", "/two/autostart"));
    EXPECT_THAT(options.desktops, testing::ElementsAre("ubuntu", "GNOME"));
    set("XDG_CONFIG_HOME", "relative");
    set("XDG_CONFIG_DIRS", nullptr);
    set("XDG_CURRENT_DESKTOP", nullptr);
    options = AutostartOptions::fromEnvironment("/users/u");
    EXPECT_EQ(options.userFolder, "/users/u/.config/autostart");
    EXPECT_THAT(options.systemFolders, testing::ElementsAre("/etc/xdg/autostart"));
    set("XDG_CONFIG_HOME", nullptr);
}

}  // namespace
}  // namespace velmora::linux_backend
