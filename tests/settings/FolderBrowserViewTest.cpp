#include "platform/fake/FakeFileManager.h"
#include "settings/FolderBrowserModel.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/settings/SettingsViews.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace velmora {
namespace {

using test::ViewTestWindow;

class FolderBrowserViewTest : public testing::Test {
protected:
    FolderBrowserViewTest()
    {
        QObject::connect(&model, &FolderBrowserModel::finished, &model, [this] { ++finishes; });
    }

    static std::shared_ptr<fake::FakeFileManager> makeFolders(const std::filesystem::path& top)
    {
        test::linkSettingsViews();
        for (const auto* name : {"Alpha", "Beta", "<b>Gamma"})
            std::filesystem::create_directory(top / name);
        std::filesystem::create_directory(top / "Beta" / "Inside");
        return std::make_shared<fake::FakeFileManager>();
    }

    void type(const char* text)
    {
        for (const char* letter = text; *letter; ++letter)
            window.type(Qt::Key_A, QString{QLatin1Char{*letter}});
    }

    const test::TemporaryDirectory directory;
    const std::filesystem::path top = directory.path();
    const std::shared_ptr<fake::FakeFileManager> fileManager = makeFolders(top);
    FolderBrowserModel model{fileManager, {"Choose Folder", "Choose Folder", top, 0}};
    int finishes = 0;
    ViewTestWindow window{test::folderBrowserView, model, test::folderBrowserSize};
};

TEST_F(FolderBrowserViewTest, ShowsTheFoldersByTheirNamesAsTheyAre)
{
    for (const auto* name : {"Alpha", "Beta", "<b>Gamma"})
        EXPECT_TRUE(window.shows(QLatin1String(name))) << name;
    for (const auto* text : {"New Folder", "Cancel", "Choose Folder"})
        EXPECT_TRUE(window.hasButton(QLatin1String(text))) << text;
}

TEST_F(FolderBrowserViewTest, TheLargestTextLeavesNoButtonOutsideTheWindow)
{
    const auto expectButtonsInside = [](const ViewTestWindow& view) {
        for (const auto* text : {"New Folder", "Cancel", "Choose Folder", "Parent Folder"}) {
            auto& button = view.button(QLatin1String(text));
            EXPECT_LE(button.mapRectToScene({0, 0, button.width(), 1}).right(), test::folderBrowserSize.width() - 23) << text;
        }
    };
    setTextScale(window.engine(), 1.5);
    static_cast<void>(window.grab());
    expectButtonsInside(window);
    ViewTestWindow large{test::folderBrowserView, model, test::folderBrowserSize, 1.5};
    static_cast<void>(large.grab());
    expectButtonsInside(large);
    large.expectNoTextsOverlap();
}

TEST_F(FolderBrowserViewTest, ArrowsSelectReturnOpensLeftGoesBack)
{
    window.type(Qt::Key_Down);
    window.type(Qt::Key_Down);
    window.type(Qt::Key_Down);
    EXPECT_EQ(model.choice().toStdString(), (top / "Beta").string());
    window.type(Qt::Key_Return);
    EXPECT_TRUE(window.shows(QStringLiteral("Inside")));
    window.type(Qt::Key_Left);
    EXPECT_EQ(model.path().toStdString(), top.string());
    EXPECT_EQ(model.choice().toStdString(), (top / "Beta").string());
}

TEST_F(FolderBrowserViewTest, ThePointerSelectsAndTheButtonChooses)
{
    QQuickItem* alpha = nullptr;
    window.forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickItemDelegate") && item.property("text") == QStringLiteral("Alpha"))
            alpha = &item;
    });
    ASSERT_TRUE(alpha);
    window.click(*alpha);
    window.press(QStringLiteral("Choose Folder"));
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(model.result(), top / "Alpha");
}

TEST_F(FolderBrowserViewTest, EveryControlIsReachedWithTheTabKey)
{
    std::vector<std::string> names;
    for (int presses = 0; presses < 6; ++presses) {
        window.type(Qt::Key_Tab);
        auto* focused = window.window().activeFocusItem();
        ASSERT_TRUE(focused);
        names.push_back(QAccessible::queryAccessibleInterface(focused)->text(QAccessible::Name).toStdString());
    }
    EXPECT_THAT(names, ::testing::ElementsAre("New Folder", "Cancel", "Choose Folder", "Folder", "Parent Folder", "Folders"));
}

TEST_F(FolderBrowserViewTest, TheKeyboardGoesRoundItWithFoldersAndWithout)
{
    test::walkWithTab(window);
    test::expectAllIsSaid(window);
    model.goTo(QString::fromStdString((top / "Alpha").native()));
    static_cast<void>(window.grab());
    test::walkWithTab(window);
    test::expectAllIsSaid(window);
}

TEST_F(FolderBrowserViewTest, ANewFolderIsNamedAndMadeWithTheKeyboardAlone)
{
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Return);
    ASSERT_TRUE(model.isNamingFolder());
    type("Clips");
    window.type(Qt::Key_Return);
    EXPECT_TRUE(std::filesystem::is_directory(top / "Clips")) << "what was there has been replaced";
    EXPECT_EQ(model.choice().toStdString(), (top / "Clips").string());
    window.type(Qt::Key_Up);
    EXPECT_EQ(model.choice().toStdString(), (top / "Beta").string()) << "the list has the keyboard again";
}

TEST_F(FolderBrowserViewTest, EscapeLeavesTheNameFirstAndThenTheWindow)
{
    window.press(QStringLiteral("New Folder"));
    window.type(Qt::Key_Escape);
    EXPECT_FALSE(model.isNamingFolder());
    EXPECT_EQ(finishes, 0);
    window.type(Qt::Key_Escape);
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(model.result(), std::nullopt);
}

TEST_F(FolderBrowserViewTest, AMistypedPathSaysSo)
{
    model.goTo(QStringLiteral("nowhere"));
    EXPECT_TRUE(window.shows(model.errorMessage()));
    EXPECT_TRUE(window.hasAlert(model.errorMessage()));
}

TEST_F(FolderBrowserViewTest, EveryKindOfNameTakesOneLineInTheListInTheFieldAndInWhatIsPromised)
{
    const QRectF whole{QPointF{}, test::folderBrowserSize};
    const auto odd = top / "odd";
    for (const auto& [kind, name] : test::oddNames()) {
        SCOPED_TRACE(kind);
        std::filesystem::create_directories(odd / name / name);
        model.goTo(QString::fromStdString(odd.string()));
        model.open(0);
        model.select(0);
        EXPECT_FALSE(window.grab().isNull());
        window.expectNoTextsOverlap();
        int lines = 0;
        window.forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                const auto place = item.mapRectToScene({0, 0, item.width(), item.height()});
                EXPECT_TRUE(whole.contains(place)) << item.property("text").toString().toStdString();
                EXPECT_EQ(item.property("textFormat").toInt(), Qt::PlainText);
            }
            if (item.inherits("QQuickTextInput")) {
                ++lines;
                EXPECT_LE(item.property("contentHeight").toDouble(), item.height());
            }
            if (item.inherits("QQuickItemDelegate")) {
                EXPECT_LT(item.height(), 40);
            }
        });
        EXPECT_EQ(lines, 1);
        std::filesystem::remove_all(odd);
    }
}

TEST_F(FolderBrowserViewTest, EveryKindOfErrorLeavesTheButtonsInTheWindow)
{
    const QRectF whole{QPointF{}, test::folderBrowserSize};
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        fileManager->createError = Error{"POSIX", EACCES, text, nullptr};
        model.beginNamingFolder();
        model.createFolder(QStringLiteral("Another"));
        EXPECT_FALSE(window.grab().isNull());
        window.expectNoTextsOverlap();
        for (const auto* button : {"Create", "Cancel", "Choose Folder"}) {
            const auto& shown = window.button(QLatin1String(button));
            EXPECT_TRUE(whole.contains(shown.mapRectToScene({0, 0, shown.width(), shown.height()}))) << button;
        }
    }
}

}  // namespace
}  // namespace velmora
