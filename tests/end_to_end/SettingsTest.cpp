// The settings, as a person meets them: by the keyboard, by the mouse, and by what a screen reader finds.

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/KeyPositions.h"
#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/SecondDisplay.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>
#include <unistd.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* walkthrough = "Welcome to Velmora — Quick Walkthrough";
constexpr const char* settings = "Velmora Settings";
constexpr const char* keptFile = "config/velmora/velmora.conf";

TrayProgram::Options withAssistiveTechnology()
{
    TrayProgram::Options options;
    options.environment = AssistiveTechnology::environment();
    return options;
}

bool openSettings()
{
    return AssistiveTechnology::clickOn("menu item", "⚙️ Settings") && isShown(settings) && hasFocus(settings);
}

/// Looks for it from the end of the settings upwards, page by page, as often as it takes.
bool comesIntoSight(const std::string& role, const std::string& name)
{
    constexpr int pages = 5;
    int page = 0;
    return waitUntil([&] {
        pressKeys({page++ % pages == 0 ? "End" : "Prior"});
        const auto shown = AssistiveTechnology::controls();
        return std::any_of(
            shown.begin(), shown.end(), [&](const Control& control) { return control.role == role && control.name.starts_with(name); });
    });
}

/// Our own dialog: there is no portal.
bool openFolderDialog()
{
    return AssistiveTechnology::clickOn("push button", "Change...") && isShown("^Choose Folder$") && hasFocus("Choose Folder");
}

bool showsFolder(const std::filesystem::path& folder)
{
    return AssistiveTechnology::find("label", folder.string()).has_value();
}

/// Where the program puts a clip now.
std::filesystem::path folderOfTheNextClip(TrayProgram& program)
{
    const NumberedWindow window{{"--size", "320x240"}};
    EXPECT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    EXPECT_TRUE(program.startByShortcut());
    record(1500ms);
    EXPECT_TRUE(program.saveByShortcut());
    EXPECT_EQ(program.run({"stop"}).status, 0);
    return std::filesystem::path{program.lastSavedClip()}.parent_path();
}

class SettingsTest : public testing::Test {
protected:
    AssistiveTechnology assistiveTechnology;
};

TEST_F(SettingsTest, ANewFolderThatIsChosenTakesTheNextClip)
{
    TrayProgram program{withAssistiveTechnology()};
    ASSERT_TRUE(openSettings());
    ASSERT_TRUE(showsFolder(program.clipsFolder()));
    ASSERT_TRUE(openFolderDialog());
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "New Folder"));
    ASSERT_TRUE(AssistiveTechnology::find("text", "Name of the new folder"));
    typeText("Concerts");
    pressKeys({"Return"});
    ASSERT_TRUE(AssistiveTechnology::find("list item", "Concerts"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Choose Folder"));
    EXPECT_TRUE(isHidden("^Choose Folder$"));
    const auto chosen = program.clipsFolder() / "Concerts";
    EXPECT_TRUE(showsFolder(chosen));
    EXPECT_THAT(program.storedFiles(), ElementsAre(keptFile)) << "the choice is for this run only";
    EXPECT_EQ(folderOfTheNextClip(program), chosen);
    program.restart();
    ASSERT_TRUE(openSettings());
    EXPECT_TRUE(showsFolder(program.clipsFolder()));
}

TEST_F(SettingsTest, ACancelledFolderDialogChangesNothing)
{
    TrayProgram program{withAssistiveTechnology()};
    ASSERT_TRUE(openSettings());
    ASSERT_TRUE(openFolderDialog());
    pressKeys({"alt+Up"});
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "Velmora"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Cancel"));
    ASSERT_TRUE(isHidden("^Choose Folder$"));
    EXPECT_TRUE(showsFolder(program.clipsFolder()));
    ASSERT_TRUE(hasFocus(settings));

    ASSERT_TRUE(openFolderDialog());
    pressKeys({"alt+Up", "Escape"});
    ASSERT_TRUE(isHidden("^Choose Folder$"));
    EXPECT_TRUE(showsFolder(program.clipsFolder()));
    EXPECT_EQ(folderOfTheNextClip(program), program.clipsFolder());
}

/// The portal, whose folder dialog is answered as soon as it opens.
class AnsweringPortal {
public:
    explicit AnsweringPortal(std::vector<std::string> answer) : process_(arguments(std::move(answer)))
    {
        EXPECT_EQ(process_.readLine(patience), "ready");
    }

    /// What it says next, such as the folder that a dialog opens in; waits for it.
    std::optional<std::string> nextLine() { return process_.readLine(patience); }

private:
    static std::vector<std::string> arguments(std::vector<std::string> answer)
    {
        answer.insert(answer.begin(), VELMORA_ANSWERING_PORTAL);
        return answer;
    }

    ChildProcess process_;
};

TEST_F(SettingsTest, WhereThereIsAPortalItsDialogChoosesAndOursDoesNotOpen)
{
    TrayProgram program{withAssistiveTechnology()};
    const auto chosen = program.home() / "50 % of the films";
    std::filesystem::create_directory(chosen);
    AnsweringPortal portal{{"choose", chosen.string()}};
    ASSERT_TRUE(openSettings());
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Change..."));
    EXPECT_EQ(portal.nextLine(), "asked " + (program.clipsFolder() / "").string());
    EXPECT_TRUE(showsFolder(chosen));
    EXPECT_THAT(visibleWindows("^Choose Folder$"), IsEmpty());
    EXPECT_EQ(folderOfTheNextClip(program), chosen);
}

TEST_F(SettingsTest, APortalsDialogThatIsCancelledOrClosedChangesNothingAndCanBeOpenedAgain)
{
    TrayProgram program{withAssistiveTechnology()};
    AnsweringPortal portal{{"cancel"}};
    ASSERT_TRUE(openSettings());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Change..."));
        EXPECT_EQ(portal.nextLine(), "asked " + (program.clipsFolder() / "").string());
    }
    EXPECT_TRUE(showsFolder(program.clipsFolder()));
    EXPECT_EQ(folderOfTheNextClip(program), program.clipsFolder());
    EXPECT_THAT(visibleWindows("^Choose Folder$"), IsEmpty());
}

TEST_F(SettingsTest, AFolderThatTakesNoFilesIsRefusedWithItsReasonAndTheOldOneStays)
{
    auto options = withAssistiveTechnology();
    // The superuser writes anywhere, unless that power is taken from it.
    if (::geteuid() == 0)
        options.launcher = {"setpriv", "--bounding-set=-dac_override,-dac_read_search"};
    options.prepareHome = [](const std::filesystem::path& home) {
        const auto folder = home / "Movies" / "Velmora" / "Read only";
        std::filesystem::create_directories(folder);
        std::filesystem::permissions(folder, std::filesystem::perms{0555});
    };
    TrayProgram program{options};
    const auto refused = program.clipsFolder() / "Read only";
    ASSERT_TRUE(openSettings());
    ASSERT_TRUE(openFolderDialog());
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "Read only"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Choose Folder"));
    ASSERT_TRUE(isHidden("^Choose Folder$"));
    EXPECT_TRUE(AssistiveTechnology::find("alert", refused.string() + ": Permission denied"));
    EXPECT_TRUE(showsFolder(program.clipsFolder()));
    EXPECT_EQ(folderOfTheNextClip(program), program.clipsFolder());

    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Change..."));
    ASSERT_TRUE(isShown("^Choose Folder$"));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("alert", refused.string())) << "a new choice begins without the old reason";
}

/// Another program that holds Alt+Super+C, from its construction on.
class OtherProgramsShortcut {
public:
    OtherProgramsShortcut() : connection_(std::move(linux_backend::Connection::open().value()))
    {
        constexpr std::uint32_t positionOfC = 8;
        const auto key = linux_backend::keycodeAt(positionOfC);
        EXPECT_TRUE(key);
        EXPECT_EQ(connection_->errorCode(xcb_grab_key_checked(connection_->xcb(), 0, connection_->root(), XCB_MOD_MASK_1 | XCB_MOD_MASK_4,
                      key.value_or(0), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)),
            0);
    }

private:
    const std::unique_ptr<linux_backend::Connection> connection_;
};

TEST_F(SettingsTest, AShortcutThatAnotherProgramHasIsSaidAndTheNextStartTakesItWhenItIsFree)
{
    constexpr const char* active = "Shortcut active and listening system-wide";
    std::optional<OtherProgramsShortcut> other{std::in_place};
    TrayProgram program{withAssistiveTechnology()};
    EXPECT_FALSE(program.status().value(QStringLiteral("shortcutIsRegistered")).toBool(true));
    EXPECT_THAT(
        program.status().value(QStringLiteral("shortcutError")).toString().toStdString(), ::testing::StartsWith("Failed to register "));
    ASSERT_TRUE(openSettings());
    EXPECT_TRUE(comesIntoSight("alert", "Failed to register "));
    EXPECT_TRUE(AssistiveTechnology::find("label", "Another program uses these keys, or the desktop keeps them."));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("alert", active));
    const NumberedWindow window{{"--size", "320x240"}};
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    EXPECT_EQ(program.run({"toggle"}).status, 0);
    EXPECT_TRUE(program.hasState("recordingClip")) << "the way round that it names";
    record(1500ms);
    EXPECT_EQ(program.run({"toggle"}).status, 0);

    other.reset();
    program.restart();
    EXPECT_TRUE(program.status().value(QStringLiteral("shortcutIsRegistered")).toBool());
    ASSERT_TRUE(openSettings());
    EXPECT_TRUE(comesIntoSight("alert", active));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("alert", "Failed to register "));
}

TEST_F(SettingsTest, TheyLeadToTheWalkthroughAndEscapeClosesThem)
{
    const TrayProgram program{withAssistiveTechnology()};
    ASSERT_TRUE(openSettings());
    EXPECT_TRUE(comesIntoSight("alert", "Shortcut active and listening system-wide"));
    EXPECT_TRUE(comesIntoSight("alert", "Granted"));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("push button", "Grant Access"));
    pressKeys({"Home"});
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Open First-Time Walkthrough..."));
    ASSERT_TRUE(isShown(walkthrough));
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Escape"});
    EXPECT_TRUE(isHidden(walkthrough));
    ASSERT_TRUE(hasFocus(settings));
    pressKeys({"Escape"});
    EXPECT_TRUE(isHidden(settings));
}

TEST(SettingsWithoutPermissionTest, TheyOfferToGrantAccessAndSayWhatIsMissing)
{
    const SecondDisplay display{{"-extension", "Composite"}};
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{withAssistiveTechnology()};
    ASSERT_TRUE(hasFocus(walkthrough)) << "at each start without the permission";
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden(walkthrough));
    ASSERT_TRUE(openSettings());
    EXPECT_TRUE(comesIntoSight("label", "The X server does not offer the Composite extension."));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("alert", "Granted"));
    ASSERT_TRUE(comesIntoSight("push button", "Grant Access"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Grant Access"));
    EXPECT_EQ(program.run({"status"}).status, 0);
}

}  // namespace
}  // namespace velmora::test
