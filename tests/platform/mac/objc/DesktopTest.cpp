// The adapters of AppKit and ServiceManagement on their stand-ins, and that of the user's files on Foundation's.
#include "platform/mac/MacFileDrags.h"
#include "platform/mac/MacFileManager.h"
#include "platform/mac/MacFloatingWindows.h"
#include "platform/mac/MacFolderChooser.h"
#include "platform/mac/MacLoginItem.h"
#include "platform/mac/MacScreens.h"
#include "platform/mac/MacSharingServices.h"
#include "platform/mac/MacTrayAppearance.h"
#include "platform/mac/MacWindowActivation.h"
#include "platform/mac/TrashFolder.h"
#include "tests/platform/contracts/FileManagerContract.h"
#include "tests/platform/contracts/LoginItemContract.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/FolderStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/objc/ServiceManagementStandIn.h"
#include "tests/platform/mac/standins/CoreGraphicsStandIn.h"

#include <fstream>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

// As the pages of AppKit number them.
constexpr unsigned long onAllSpaces = 1;
constexpr unsigned long movesToActiveSpace = 2;
constexpr unsigned long besideFullScreen = 256;
constexpr long floatingLevel = 3;

class MacDesktopTest : public testing::Test {
    const ObjectCount count_{standin::resetAppKit};
};

// Screens and windows.

TEST_F(MacDesktopTest, TheScaleIsThatOfTheMainScreen)
{
    standin::appKit().screens = {{{0, 0, 1440, 900}, {0, 0, 1440, 875}, 1}, {{1440, 0, 1024, 768}, {1440, 0, 1024, 768}, 2}};
    standin::appKit().mainScreen = 1;
    EXPECT_EQ(mac_backend::makeScreens()->mainScreenBackingScaleFactor(), 2.0F);
    standin::appKit().screens.clear();
    EXPECT_EQ(mac_backend::makeScreens()->mainScreenBackingScaleFactor(), std::nullopt);
}

TEST_F(MacDesktopTest, ScreensAreMeasuredFromTheTopOfTheFirst)
{
    standin::appKit().screens = {{{0, 0, 1440, 900}, {0, 70, 1440, 805}, 2}, {{1440, -300, 1920, 1080}, {1440, -300, 1920, 1055}, 1}};
    const auto activation = mac_backend::makeWindowActivation();
    EXPECT_EQ(activation->mainScreen(), (platform::ScreenFrames{{0, 0, 1440, 900}, {0, 25, 1440, 805}}));
    standin::appKit().mainScreen = 1;
    EXPECT_EQ(activation->mainScreen(), (platform::ScreenFrames{{1440, 120, 1920, 1080}, {1440, 145, 1920, 1055}}));
}

TEST_F(MacDesktopTest, AScreenThatIsAllPanelsIsVisibleAsAWhole)
{
    standin::appKit().screens = {{{0, 0, 1440, 900}, {0, 0, 0, 0}, 2}};
    EXPECT_EQ(mac_backend::makeWindowActivation()->mainScreen(), (platform::ScreenFrames{{0, 0, 1440, 900}, {0, 0, 1440, 900}}));
    standin::appKit().screens.clear();
    EXPECT_EQ(mac_backend::makeWindowActivation()->mainScreen(), std::nullopt);
}

TEST_F(MacDesktopTest, AnActivatedWindowComesToTheUsersSpaceWithItsProgram)
{
    const auto view = standin::makeView();
    standin::setWindowBehavior(view, besideFullScreen);
    mac_backend::makeWindowActivation()->activate(view);
    EXPECT_EQ(standin::windowState(view).behavior, besideFullScreen | movesToActiveSpace);
    EXPECT_EQ(standin::windowState(view).madeKey, 1);
    EXPECT_EQ(standin::appKit().activations, 1);
}

TEST_F(MacDesktopTest, AWindowThatIsOnAllSpacesIsActivatedWhereItIs)
{
    const auto view = standin::makeView();
    standin::setWindowBehavior(view, onAllSpaces);
    mac_backend::makeWindowActivation()->activate(view);
    EXPECT_EQ(standin::windowState(view).behavior, onAllSpaces);
    EXPECT_EQ(standin::windowState(view).madeKey, 1);
}

TEST_F(MacDesktopTest, AViewWithoutAWindowAndNoViewAreLeftAlone)
{
    const auto view = standin::makeViewWithoutWindow();
    mac_backend::makeWindowActivation()->activate(view);
    mac_backend::makeWindowActivation()->activate(0);
    EXPECT_EQ(standin::appKit().activations, 0);
    const auto floating = mac_backend::makeFloatingWindows();
    floating->setClickableArea(view, std::nullopt);
    EXPECT_EQ(floating->keepInFront(view, {}), nullptr);
    EXPECT_EQ(floating->keepInFront(0, {}), nullptr);
}

TEST_F(MacDesktopTest, AWindowInFrontTakesNoFocusAndIsAsBeforeAfterwards)
{
    const auto view = standin::makeView();
    standin::setWindowBehavior(view, movesToActiveSpace);
    const auto floating = mac_backend::makeFloatingWindows();
    EXPECT_TRUE(floating->areComposited());
    auto kept = floating->keepInFront(view, {0, 0, 10, 10});
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(standin::windowState(view).level, floatingLevel);
    EXPECT_EQ(standin::windowState(view).behavior, onAllSpaces | besideFullScreen);
    EXPECT_EQ(standin::windowState(view).orderedFront, 1);
    EXPECT_EQ(standin::windowState(view).madeKey, 0);
    EXPECT_EQ(standin::appKit().activations, 0);
    kept.reset();
    EXPECT_EQ(standin::windowState(view).level, 0);
    EXPECT_EQ(standin::windowState(view).behavior, movesToActiveSpace);
}

TEST_F(MacDesktopTest, ClicksGoThroughAWindowWithoutAnArea)
{
    const auto view = standin::makeView();
    const auto floating = mac_backend::makeFloatingWindows();
    floating->setClickableArea(view, std::nullopt);
    EXPECT_TRUE(standin::windowState(view).ignoresMouse);
    floating->setClickableArea(view, PixelRect{1, 2, 3, 4});
    EXPECT_FALSE(standin::windowState(view).ignoresMouse);
}

TEST_F(MacDesktopTest, ItemsOfTheMenuBarAreBlackTemplates)
{
    EXPECT_EQ(mac_backend::makeTrayAppearance()->itemColor(), (platform::ItemColor{0, 0, 0}));
}

// Choosing a folder.

using Choice = Result<std::optional<std::filesystem::path>>;

TEST_F(MacDesktopTest, TheDialogAsksForOneFolderInItsWords)
{
    const auto chooser = mac_backend::makeFolderChooser();
    std::vector<Choice> answers;
    chooser->chooseFolder({"Größe \xFF", "Choose", "/users/someone/Movies"}, [&](Choice choice) { answers.push_back(std::move(choice)); });
    ASSERT_THAT(standin::folderDialogs(), SizeIs(1));
    const auto dialog = standin::folderDialogs().front();
    EXPECT_EQ(dialog.message, "Gr???\?e ?");
    EXPECT_EQ(dialog.prompt, "Choose");
    EXPECT_EQ(dialog.directory, "/users/someone/Movies");
    EXPECT_TRUE(dialog.choosesFolderAlone);
    EXPECT_TRUE(dialog.makesFolders);
    EXPECT_THAT(answers, IsEmpty());
    standin::chooseInDialog("/Volumes/big \xFF");
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers[0].value(), (std::optional<std::filesystem::path>{"/Volumes/big \xFF"}));
    // The chooser stays, and the dialog does not.
    EXPECT_THAT(standin::liveObjects(), testing::Not(testing::HasSubstr("NSOpenPanel")));
}

TEST_F(MacDesktopTest, CancellingADialogIsNoFolder)
{
    const auto chooser = mac_backend::makeFolderChooser();
    std::vector<Choice> answers;
    chooser->chooseFolder({"Title", "Choose", ""}, [&](Choice choice) { answers.push_back(std::move(choice)); });
    EXPECT_EQ(standin::folderDialogs().front().directory, "");
    standin::cancelDialog();
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers[0].value(), (std::optional<std::filesystem::path>{}));
}

TEST_F(MacDesktopTest, WhatIsNoFolderOnThisComputerCannotBeUsed)
{
    const auto chooser = mac_backend::makeFolderChooser();
    std::vector<Choice> answers;
    chooser->chooseFolder({"Title", "Choose", ""}, [&](Choice choice) { answers.push_back(std::move(choice)); });
    standin::chooseInDialog("https://example.org/", false);
    ASSERT_THAT(answers, SizeIs(1));
    ASSERT_FALSE(answers[0]);
    EXPECT_EQ(answers[0].error().code, platform::FolderChooser::unusableChoice);
}

TEST_F(MacDesktopTest, TwoDialogsAreAnsweredEachByItsOwn)
{
    const auto chooser = mac_backend::makeFolderChooser();
    std::vector<std::pair<int, Choice>> answers;
    chooser->chooseFolder({"One", "Choose", ""}, [&](Choice choice) { answers.emplace_back(1, std::move(choice)); });
    chooser->chooseFolder({"Two", "Choose", ""}, [&](Choice choice) { answers.emplace_back(2, std::move(choice)); });
    standin::chooseInDialog("/one");
    standin::chooseInDialog("/two");
    ASSERT_THAT(answers, SizeIs(2));
    EXPECT_EQ(answers[0].first, 1);
    EXPECT_EQ(answers[0].second.value(), (std::optional<std::filesystem::path>{"/one"}));
    EXPECT_EQ(answers[1].first, 2);
    EXPECT_EQ(answers[1].second.value(), (std::optional<std::filesystem::path>{"/two"}));
}

TEST_F(MacDesktopTest, AChooserThatGoesClosesItsDialogAndAnswersNothing)
{
    auto chooser = mac_backend::makeFolderChooser();
    int answers = 0;
    chooser->chooseFolder({"Title", "Choose", ""}, [&](const Choice&) { ++answers; });
    chooser.reset();
    EXPECT_THAT(standin::folderDialogs(), IsEmpty());
    EXPECT_EQ(answers, 0);
}

// Sharing and dragging.

TEST_F(MacDesktopTest, TheShareMenuHasWhatTheSystemHas)
{
    standin::appKit().missingServices = {"airdrop"};
    const auto sharing = mac_backend::makeSharingServices();
    std::vector<std::pair<std::string, std::string>> listed;
    for (const auto& each : sharing->services())
        listed.emplace_back(each.identifier, each.title);
    EXPECT_THAT(listed,
        ElementsAre(Pair("copy-file", "Copy File"), Pair("copy-path", "Copy Path"), Pair("send-by-e-mail", "Send by mail"),
            Pair("send-as-message", "Send by messages")));
}

TEST_F(MacDesktopTest, CopyingReplacesWhatIsOnThePasteboard)
{
    const auto sharing = mac_backend::makeSharingServices();
    sharing->perform("copy-file", "/clips/a \xFF.mp4");
    EXPECT_THAT(standin::appKit().pasteboardFiles, ElementsAre("/clips/a \xFF.mp4"));
    sharing->perform("copy-path", "/clips/größe.mp4");
    EXPECT_THAT(standin::appKit().pasteboardFiles, IsEmpty());
    EXPECT_EQ(standin::appKit().pasteboardText, "/clips/größe.mp4");
    EXPECT_EQ(standin::appKit().pasteboardClears, 2);
}

TEST_F(MacDesktopTest, AServiceGetsTheFileIfItTakesIt)
{
    const auto sharing = mac_backend::makeSharingServices();
    sharing->perform("send-by-e-mail", "/clips/a.mp4");
    EXPECT_THAT(standin::appKit().shared, ElementsAre(Pair("mail", "/clips/a.mp4")));
    standin::appKit().refusesItems = true;
    sharing->perform("send-via-airdrop", "/clips/a.mp4");
    sharing->perform("unknown", "/clips/a.mp4");
    sharing->perform("copy-file", "");
    EXPECT_THAT(standin::appKit().shared, SizeIs(1));
    EXPECT_EQ(standin::appKit().pasteboardClears, 0);
}

PixelBufferRef makePicture(std::uint8_t blue)
{
    auto memory = std::make_shared<std::vector<std::byte>>(4 * 8, std::byte{blue});
    PixelBuffer picture;
    picture.width = 4;
    picture.height = 2;
    picture.bytesPerRow = 16;
    picture.baseAddress = memory->data();
    picture.owner = memory;
    return std::make_shared<const PixelBuffer>(std::move(picture));
}

TEST_F(MacDesktopTest, ADragHasCopiesOfAllFilesWithThePictureUnderThePointer)
{
    standin::makeView();
    static_cast<void>(standin::takeFirstBlueOfImage());
    auto picture = makePicture(77);
    const std::weak_ptr<const PixelBuffer> watched = picture;
    mac_backend::makeFileDrags()->begin({"/a.mp4", "/b \xFF.mp4"}, std::move(picture));
    ASSERT_THAT(standin::appKit().drags, SizeIs(1));
    const auto& drag = standin::appKit().drags.front();
    EXPECT_THAT(drag.files, ElementsAre("/a.mp4", "/b \xFF.mp4"));
    EXPECT_EQ(drag.operations, 1UL);
    EXPECT_EQ(drag.frames[0].x, 98);
    EXPECT_EQ(drag.frames[0].y, 49);
    EXPECT_EQ(drag.frames[0].width, 4);
    EXPECT_EQ(standin::takeFirstBlueOfImage(), 77);
    EXPECT_TRUE(watched.expired());
}

TEST_F(MacDesktopTest, WithoutAPictureAFilesOwnSignIsDragged)
{
    standin::makeView();
    mac_backend::makeFileDrags()->begin({"/a.mp4"}, nullptr);
    ASSERT_THAT(standin::appKit().drags, SizeIs(1));
    EXPECT_EQ(standin::appKit().drags.front().frames[0].width, 32);
}

TEST_F(MacDesktopTest, NothingIsDraggedWithoutAPressAWindowOrAFile)
{
    const auto drags = mac_backend::makeFileDrags();
    drags->begin({"/a.mp4"}, nullptr);
    standin::makeView();
    standin::appKit().pressedButtons = 2;
    drags->begin({"/a.mp4"}, nullptr);
    standin::appKit().pressedButtons = 1;
    drags->begin({}, nullptr);
    drags->begin({""}, nullptr);
    standin::appKit().hasEvent = false;
    drags->begin({"/a.mp4"}, nullptr);
    EXPECT_THAT(standin::appKit().drags, IsEmpty());
}

// The login item.

class MacLoginDesktop final : public LoginDesktop {
public:
    std::shared_ptr<platform::LoginItem> makeLoginItem() override { return mac_backend::makeLoginItem(); }
    void refuseChanges() override { standin::loginItems().refuses = true; }
    void switchOffElsewhere() override { standin::loginItems().status = 0; }

private:
    const ObjectCount count_{standin::resetAppKit};
};

INSTANTIATE_TEST_SUITE_P(Mac, LoginItemContract,
    testing::Values(NamedLoginDesktop{"OnStandIns", [] { return std::make_unique<MacLoginDesktop>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

constexpr long requiresApproval = 2;

TEST_F(MacDesktopTest, AnItemThatTheUserHasToAllowIsOffAndSaysSo)
{
    standin::loginItems().statusOnceRegistered = requiresApproval;
    standin::loginItems().registeringFailsThen = true;
    const auto item = mac_backend::makeLoginItem();
    EXPECT_TRUE(item->setOn(true));
    EXPECT_FALSE(item->status().isOn);
    EXPECT_FALSE(item->status().remark.empty());
    ASSERT_TRUE(item->setOn(false));
    EXPECT_EQ(item->status(), platform::LoginItem::Status{});
}

TEST_F(MacDesktopTest, WhatIsSoAlreadyIsNotAskedOfTheSystem)
{
    const auto item = mac_backend::makeLoginItem();
    EXPECT_TRUE(item->setOn(false));
    EXPECT_EQ(standin::loginItems().calls, 0);
}

// Files.

INSTANTIATE_TEST_SUITE_P(Mac, FileManagerContract,
    testing::Values(NamedFileManager{"OnStandIns", [] { return mac_backend::makeFileManager(); }}),
    [](const auto& parameter) { return parameter.param.name; });

class MacFilesTest : public MacDesktopTest {
protected:
    const TemporaryDirectory folder_;
    const std::shared_ptr<platform::FileManager> files_ = mac_backend::makeFileManager();
};

TEST_F(MacFilesTest, TheUsersFoldersAreTheSystems)
{
    EXPECT_THAT(files_->moviesDirectories(), IsEmpty());
    standin::putFolder(standin::UserFolder::movies, "/users/someone/Movies");
    EXPECT_THAT(files_->moviesDirectories(), ElementsAre("/users/someone/Movies"));
    EXPECT_EQ(files_->homeDirectory(), "/users/someone");
}

TEST_F(MacFilesTest, ALinksDateIsThatOfWhatItPointsTo)
{
    const auto file = folder_.path() / "a.mp4";
    std::ofstream{file} << "x";
    std::filesystem::create_symlink(file, folder_.path() / "link");
    standin::putCreationDate(std::filesystem::canonical(file), 1000000.5);
    const auto attributes = files_->attributesOfItem(folder_.path() / "link");
    ASSERT_TRUE(attributes);
    EXPECT_EQ(attributes->creationDate, std::chrono::system_clock::time_point{std::chrono::milliseconds{1000000500}});
}

TEST_F(MacFilesTest, WhereNoDateIsKeptItIsThatOfTheLastChange)
{
    const auto file = folder_.path() / "a.mp4";
    std::ofstream{file} << "x";
    std::filesystem::last_write_time(
        file, std::filesystem::file_time_type::clock::from_sys(std::chrono::sys_seconds{std::chrono::seconds{5000}}));
    EXPECT_EQ(files_->attributesOfItem(file)->creationDate, std::chrono::system_clock::time_point{std::chrono::seconds{5000}});
    EXPECT_FALSE(files_->attributesOfItem(folder_.path() / "none"));
}

TEST_F(MacFilesTest, TheTrashAndThePlaceForRecordsAreTheSystems)
{
    EXPECT_EQ(mac_backend::trashFolderFor("/a.mp4").error().code, 3328);
    EXPECT_FALSE(mac_backend::supportFolder());
    standin::putFolder(standin::UserFolder::trash, "/users/someone/.Trash");
    standin::putFolder(standin::UserFolder::support, "/users/someone/Library/Application Support");
    EXPECT_EQ(mac_backend::trashFolderFor("/a.mp4").value(), std::filesystem::path{"/users/someone/.Trash"});
    EXPECT_EQ(mac_backend::supportFolder().value(), std::filesystem::path{"/users/someone/Library/Application Support/Velmora"});
}

}  // namespace
}  // namespace velmora::test
