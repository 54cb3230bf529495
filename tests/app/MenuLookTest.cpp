#include "app/menu/MenuLook.h"

#include "app/menu/MenuRenderer.h"
#include "app/menu/PopupMenu.h"
#include "brand/BrandColors.h"
#include "brand/Palette.h"
#include "brand/ShownText.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/QuickTestWindow.h"
#include "tests/support/Windows.h"

#include <QAccessible>
#include <QAction>

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora {
namespace {

using test::film;

struct Menu {
    explicit Menu(const std::optional<CapturedWindowInfo>& window, const std::vector<ClipItem>& clips = {})
    {
        renderMenu(menu, describeMenu({CaptureState{CaptureState::WaitingForWindowSelection{}}, window, clips}), LabelSyntax::widget,
            [](const MenuItem&) {});
        menu.ensurePolished();
        menu.resize(menu.sizeHint());
    }

    [[nodiscard]] QAction& action(const char* title) const
    {
        for (auto* candidate : menu.actions()) {
            if (candidate->text().contains(QString::fromUtf8(title)))
                return *candidate;
        }
        throw std::runtime_error(std::string{"no item "} + title);
    }
    [[nodiscard]] QImage row(const QAction& action) { return menu.grab(menu.actionGeometry(const_cast<QAction*>(&action))).toImage(); }

    QGuiApplication& application = test::application();
    StyledMenu menu;
};

template <typename Rule>
int count(const QImage& image, Rule rule)
{
    int found = 0;
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column)
            found += rule(image.pixelColor(column, row)) ? 1 : 0;
    return found;
}

int brightest(const QImage& image)
{
    int found = 0;
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column)
            found = std::max(found, image.pixelColor(column, row).lightness());
    return found;
}

std::vector<ClipItem> oneClip(const std::string& name)
{
    ClipItem clip;
    clip.url = "/clips/" + name;
    clip.duration = 754;
    return {clip};
}

TEST(MenuLook, TheHeaderIsBoldThirteenPixelsHighAndInTheColourOfLabels)
{
    Menu menu{film};
    auto& header = *menu.menu.actions().front();
    EXPECT_EQ(header.text(), QStringLiteral(" Velmora"));
    EXPECT_TRUE(header.font().bold());
    EXPECT_EQ(header.font().pixelSize(), 13);
    EXPECT_FALSE(header.isEnabled()) << "it cannot be selected";
    EXPECT_GT(brightest(menu.row(header)), 240);
    const auto isCoral = [](const QColor& color) { return color.red() > 230 && color.green() < 90 && color.blue() < 90; };
    EXPECT_GT(count(menu.row(header), isCoral), 20) << "its mark";
    EXPECT_LT(brightest(menu.row(menu.action("Target"))), 200) << "what cannot be chosen is quieter";
    EXPECT_GT(brightest(menu.row(menu.action("Settings"))), 240);
}

TEST(MenuLook, AMenuThatIsOpenFollowsAChangeOfContrast)
{
    Menu menu{film};
    menu.menu.popup({});
    const auto ground = [&menu] { return menu.menu.grab().toImage().pixelColor(menu.menu.width() / 2, 6); };
    const auto ordinary = ground();
    setMenusIncreaseContrast(true);
    const auto contrasting = ground();
    setMenusIncreaseContrast(false);
    EXPECT_EQ(ordinary, BrandColors::cardSlate);
    EXPECT_EQ(contrasting, Palette::of(true).card);
    EXPECT_EQ(ground(), ordinary);
    menu.menu.close();
}

TEST(MenuLook, TheWarningSignIsAColouredPictureAsTheOtherSymbolsAre)
{
    Menu menu{std::nullopt};
    const auto isAmber = [](const QColor& color) { return color.red() > 180 && color.green() > 120 && color.blue() < 100; };
    EXPECT_GT(count(menu.row(menu.action("No Video Window")), isAmber), 20);
}

/// Menus that say something of the state, and what ends a recording.
struct CaptionedMenu {
    explicit CaptionedMenu(const std::string& caption, bool isRecording = true)
    {
        const CaptureState state{CaptureState::RecordingClip{film, {}}};
        const std::optional window{film};
        renderMenu(menu,
            describeMenu(
                {.state = state, .selectedWindow = window, .recentClips = {}, .isRecording = isRecording, .stateCaption = caption}),
            LabelSyntax::widget, [](const MenuItem&) {});
        menu.ensurePolished();
        menu.resize(menu.sizeHint());
    }

    [[nodiscard]] QRect place(int item) const { return menu.actionGeometry(menu.actions().at(item)); }
    [[nodiscard]] QImage row(int item) { return menu.grab(place(item)).toImage(); }

    QGuiApplication& application = test::application();
    StyledMenu menu;
};

TEST(MenuLook, ACaptionStandsBeneathItsTitleInARowOfItsOwnHeight)
{
    CaptionedMenu plain{"", false};
    CaptionedMenu captioned{"0:05, 1.2 MB so far", false};
    EXPECT_GT(captioned.place(1).height(), plain.place(1).height() + 8);
    EXPECT_EQ(captioned.place(2).height(), plain.place(2).height());
    EXPECT_EQ(captioned.menu.actions().at(1)->text(), QString::fromUtf8("🔴 Recording Live...\n0:05, 1.2 MB so far"));
    // The title is where it was, and the caption is below it.
    const auto before = plain.row(1);
    const auto after = captioned.row(1);
    const int lines = before.height() - 8;
    EXPECT_EQ(after.copy(0, 0, before.width(), lines), before.copy(0, 0, before.width(), lines));
    const auto beneath = after.copy(0, lines, after.width(), after.height() - lines);
    EXPECT_GT(brightest(beneath), 120);
    EXPECT_EQ(brightest(after.copy(0, after.height() - 3, after.width(), 3)), brightest(before.copy(0, 0, 200, 3))) << "nothing is cut off";
}

TEST(MenuLook, ACaptionedCommandKeepsItsKeysAndItsCaptionIsWhiteWhereItIsSelected)
{
    CaptionedMenu menu{""};
    auto* quit = menu.menu.actions().back();
    EXPECT_TRUE(quit->text().endsWith(QStringLiteral("\nEnds the recording without saving it.\tSuper+Q"))) << quit->text().toStdString();
    const int last = static_cast<int>(menu.menu.actions().size()) - 1;
    const auto keys = [&] {
        auto row = menu.row(last);
        return row.copy(row.width() - 100, 0, 100, row.height());
    };
    EXPECT_GT(brightest(keys()), 240);
    menu.menu.setActiveAction(quit);
    const auto row = menu.row(last);
    EXPECT_GE(brightest(row.copy(8, row.height() / 2 + 4, row.width() / 2, row.height() / 2 - 8)), 250);
}

TEST(MenuLook, AnOpenMenuFollowsWhatIsSaidBeneathItsTitlesAndNothingElse)
{
    test::application();
    const CaptureState state{CaptureState::RecordingClip{film, {}}};
    const std::optional window{film};
    const auto items = [&](const char* caption, bool isRecording = true) {
        return describeMenu(
            {.state = state, .selectedWindow = window, .recentClips = {}, .isRecording = isRecording, .stateCaption = caption});
    };
    PopupMenu menu{[](const MenuItem&) {}};
    menu.popUp(items("0:01"), {});
    const auto before = menu.actions();
    const int height = menu.height();
    menu.updateCaptions(items("0:02, 1 MB so far"));
    EXPECT_EQ(menu.actions(), before) << "the same rows, so that what is selected stays so";
    EXPECT_EQ(menu.actions().at(1)->text(), QString::fromUtf8("🔴 Recording Live...\n0:02, 1 MB so far"));
    EXPECT_EQ(menu.height(), height);
    menu.updateCaptions(items("", false));
    EXPECT_EQ(menu.actions().back()->text(), QString::fromUtf8("✕ Quit Velmora\tSuper+Q"));
    EXPECT_LT(menu.height(), height);
    const CaptureState saving{CaptureState::SavingClip{}};
    menu.updateCaptions(describeMenu({.state = saving, .selectedWindow = window, .recentClips = {}, .stateCaption = "x"}));
    EXPECT_EQ(menu.actions().at(1)->text(), QString::fromUtf8("🔴 Recording Live...")) << "other rows wait for the next opening";
    menu.close();
}

TEST(MenuLook, ANoticeTakesTheLinesThatItNeeds)
{
    test::application();
    const CaptureState state{CaptureState::Capturing{film}};
    const std::optional window{film};
    const std::string notice =
        "The recording ended early: Another encoder has taken over, and its pictures do not belong in the same file.";
    const auto described = describeMenu({.state = state, .selectedWindow = window, .recentClips = {}, .notice = notice});
    StyledMenu menu;
    renderMenu(menu, described, LabelSyntax::widget, [](const MenuItem&) {});
    menu.ensurePolished();
    menu.resize(menu.sizeHint());
    auto* row = menu.actions().at(3);
    EXPECT_EQ(row->text(), QLatin1Char('\n') + QString::fromStdString(notice));
    EXPECT_GT(menu.actionGeometry(row).height(), menu.actionGeometry(menu.actions().at(2)).height());
    QMenu onTheBus;
    renderMenu(onTheBus, described, LabelSyntax::dbusmenu, [](const MenuItem&) {});
    EXPECT_TRUE(onTheBus.actions().at(3)->text().startsWith(QStringLiteral("The recording ended early")));
}

TEST(MenuLook, ALongCaptionIsWrappedAndTheMenuStaysAsWideAsForALongTitle)
{
    CaptionedMenu menu{std::string(30, 'W') + " and " + std::string(2000, 'w') + " \n& more " + std::string(200, ' ') + "words"};
    EXPECT_LE(menu.menu.width(), 640);
    EXPECT_GT(menu.place(1).height(), 60);
    EXPECT_LT(menu.place(1).height(), 250);
    EXPECT_FALSE(menu.menu.grab().isNull());
    CaptionedMenu wrapped{"Windows of this session cannot be captured yet, because the desktop has no portal that can share a window; "
                          "log in to another session, or ask whoever looks after this computer."};
    const auto row = wrapped.row(1);
    EXPECT_EQ(brightest(row.copy(row.width() - 20, 0, 20, row.height())), brightest(row.copy(0, 0, 8, 3))) << "nothing goes to the edge";
}

TEST(MenuLook, EveryKindOfCaptionAndNoticeStaysInItsOwnRows)
{
    CaptionedMenu ordinary{"", false};
    const CaptureState state{CaptureState::Capturing{film}};
    const std::optional window{film};
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        const auto described =
            describeMenu({.state = state, .selectedWindow = window, .recentClips = {}, .stateCaption = text, .notice = text});
        StyledMenu menu;
        renderMenu(menu, described, LabelSyntax::widget, [](const MenuItem&) {});
        menu.ensurePolished();
        menu.resize(menu.sizeHint());
        EXPECT_LE(menu.width(), 640);
        EXPECT_LT(menu.height(), ordinary.menu.height() + 700) << "twelve lines, some of them wrapped";
        EXPECT_FALSE(menu.grab().isNull());
        QMenu onTheBus;
        renderMenu(onTheBus, described, LabelSyntax::dbusmenu, [](const MenuItem&) {});
        for (const auto* action : onTheBus.actions()) {
            EXPECT_EQ(shortened(action->text(), 80, 0), action->text()) << "what a reader takes for eighty characters";
            EXPECT_TRUE(test::isOrderlyLine(action->text()));
        }
    }
}

TEST(MenuLook, TheSelectedItemIsTintedAndEdgedInCoralItsTextWhiteAndItsSymbolKeepsItsColour)
{
    Menu menu{film};
    auto& change = menu.action("Change Video Window");
    const auto isSymbol = [](const QColor& color) { return color.red() > 180 && color.green() < 90; };
    const auto symbol = [&] { return menu.row(change).copy(8, 4, 16, 20); };
    const int before = count(symbol(), isSymbol);
    EXPECT_GT(before, 12);
    menu.menu.setActiveAction(&change);
    const auto row = menu.row(change);
    const auto ground = row.pixelColor(row.width() - 30, row.height() / 2);
    EXPECT_GT(ground.red(), BrandColors::cardSlate.red() + 20);
    EXPECT_LT(ground.red(), 90) << "words and symbols stand out from it";
    EXPECT_GT(row.pixelColor(row.width() / 2, 0).red(), 200) << "its edge";
    EXPECT_GE(brightest(row), 250);
    EXPECT_GE(count(symbol(), isSymbol), before);
    EXPECT_EQ(menu.row(menu.action("Quit")).pixelColor(100, 4), BrandColors::cardSlate);
}

TEST(MenuLook, ALongTitleIsElidedAndTheKeysStayInTheMenu)
{
    Menu ordinary{film};
    auto chosen = film;
    chosen.title = std::string(100'000, 'W');
    Menu menu{chosen, oneClip(std::string(240, 'W').append(".mp4"))};
    EXPECT_LE(menu.menu.width(), 640);
    EXPECT_GE(menu.menu.width(), ordinary.menu.width());
    const auto keysAtTheRight = [](Menu& shown) {
        auto row = shown.row(shown.action("Quit"));
        return row.copy(row.width() - 130, 0, 130, row.height());
    };
    EXPECT_EQ(keysAtTheRight(menu), keysAtTheRight(ordinary));
    auto* recent = menu.action("Recent Clips").menu();
    ASSERT_TRUE(recent);
    EXPECT_LE(recent->sizeHint().width(), 640);
    const auto* entry = recent->actions().front();
    EXPECT_TRUE(entry->text().endsWith(QStringLiteral(".mp4 (12:34)"))) << "assistive technology reads all of it";
}

TEST(MenuLook, AssistiveTechnologyReadsASubmenusOwnTitleAndTheItemShowsTheItems)
{
    Menu menu{film, oneClip("a.mp4")};
    auto& item = menu.action("Recent Clips");
    ASSERT_TRUE(item.menu());
    EXPECT_EQ(QAccessible::queryAccessibleInterface(item.menu())->text(QAccessible::Name), QStringLiteral("Recent Clips"));
    EXPECT_EQ(item.text(), QString::fromUtf8("🎞️ Recent Clips"));
}

TEST(MenuLook, EveryKindOfTitleIsOneRowAsHighAsTheOthers)
{
    Menu ordinary{film, oneClip("a.mp4")};
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        auto chosen = film;
        chosen.title = text;
        chosen.appName = text;
        Menu menu{chosen, oneClip(text.substr(0, 200))};
        EXPECT_EQ(menu.menu.height(), ordinary.menu.height());
        EXPECT_LE(menu.menu.width(), 640);
        EXPECT_FALSE(menu.menu.grab().isNull());
        auto* recent = menu.action("Recent Clips").menu();
        EXPECT_EQ(recent->sizeHint().height(), ordinary.action("Recent Clips").menu()->sizeHint().height());
        EXPECT_FALSE(recent->grab().isNull());
        // The row of the title paints into no other row.
        auto quiet = menu.row(menu.action("Settings"));
        auto expected = ordinary.row(ordinary.action("Settings"));
        const auto width = std::min(quiet.width(), expected.width()) / 2;
        EXPECT_EQ(quiet.copy(0, 0, width, quiet.height()), expected.copy(0, 0, width, expected.height()));
    }
}

TEST(MenuLook, ALabelOnTheBusHasEightyCharactersAndKeepsTheDuration)
{
    test::application();
    auto chosen = film;
    chosen.title = std::string(300, 'W');
    QMenu menu;
    renderMenu(menu,
        describeMenu({CaptureState{CaptureState::WaitingForWindowSelection{}}, chosen, oneClip(std::string(240, '_').append(".mp4"))}),
        LabelSyntax::dbusmenu, [](const MenuItem&) {});
    const auto& items = menu.actions();
    const auto target = items[2]->text();
    EXPECT_EQ(target.toUcs4().size(), 80);
    EXPECT_TRUE(target.startsWith(QString::fromUtf8("📺 Target: Player — W")));
    EXPECT_TRUE(target.endsWith(QChar{0x2026})) << target.toStdString();
    for (auto* item : items) {
        if (!item->menu())
            continue;
        auto label = item->menu()->actions().front()->text();
        EXPECT_TRUE(label.endsWith(QStringLiteral(" (12:34)"))) << label.toStdString();
        EXPECT_EQ(label.replace(QStringLiteral("__"), QStringLiteral("_")).size(), 80) << "as it is shown";
    }
    for (auto* item : items)
        EXPECT_LE(item->text().toUcs4().size(), 80) << item->text().toStdString();
}

TEST(MenuLook, EveryKindOfTitleIsOneLineOnTheBusToo)
{
    for (const auto& [kind, text] : test::oddBytes()) {
        EXPECT_TRUE(test::isOrderlyLine(escapedLabel(text, LabelSyntax::dbusmenu))) << kind;
    }
}

}  // namespace
}  // namespace velmora
