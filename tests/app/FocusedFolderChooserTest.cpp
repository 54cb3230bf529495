#include "app/FocusedFolderChooser.h"

#include "platform/fake/FakeFolderChooser.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

class FocusedFolderChooserTest : public testing::Test {
protected:
    void ask()
    {
        chooser.chooseFolder({"Choose Folder", "Choose Folder", "/films", 0}, [this](Result<std::optional<std::filesystem::path>> folder) {
            ++completions;
            answer = std::move(folder);
        });
    }

    std::shared_ptr<fake::FakeFolderChooser> desktops = std::make_shared<fake::FakeFolderChooser>();
    std::shared_ptr<fake::FakeFolderChooser> own = std::make_shared<fake::FakeFolderChooser>();
    FocusedFolderChooser chooser{desktops, own, [] { return std::uint64_t{77}; }};
    int completions = 0;
    std::optional<Result<std::optional<std::filesystem::path>>> answer;
};

TEST_F(FocusedFolderChooserTest, TheDesktopsDialogIsAskedAboveTheWindowThatHasTheFocus)
{
    ask();
    ASSERT_EQ(desktops->panels.size(), 1U);
    EXPECT_EQ(desktops->panels[0].parentWindow, 77U);
    EXPECT_EQ(desktops->panels[0].directory, "/films");
    desktops->answer(std::filesystem::path{"/chosen"});
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(**answer, std::filesystem::path{"/chosen"});
    EXPECT_TRUE(own->panels.empty());
}

TEST_F(FocusedFolderChooserTest, WhatIsCancelledThereIsNotAskedAgain)
{
    ask();
    desktops->answer(std::nullopt);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(**answer, std::nullopt);
    EXPECT_TRUE(own->panels.empty());
}

TEST_F(FocusedFolderChooserTest, AChoiceThatCannotBeUsedIsToldAndNotAskedForAgain)
{
    ask();
    desktops->answer(fail("Velmora.Test", platform::FolderChooser::unusableChoice, "That is no folder."));
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(answer->error().localizedDescription, "That is no folder.");
    EXPECT_TRUE(own->panels.empty());
}

TEST_F(FocusedFolderChooserTest, WhereTheDesktopCannotAskOurOwnDialogDoes)
{
    ask();
    desktops->answer(fail("Velmora.Test", 1, "There is no portal."));
    EXPECT_EQ(completions, 0);
    ASSERT_EQ(own->panels.size(), 1U);
    EXPECT_EQ(own->panels[0].prompt, "Choose Folder");
    own->answer(std::filesystem::path{"/chosen"});
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(**answer, std::filesystem::path{"/chosen"});
}

}  // namespace
}  // namespace velmora
