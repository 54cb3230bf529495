#include "tests/library/views/ClipsView.h"
#include "brand/BrandModule.h"
#include "brand/Palette.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/ClipsFixture.h"

#include <gmock/gmock.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora {
namespace {

using test::ViewTestWindow;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ClipsViewTest : public testing::Test, protected test::ClipsFixture {
protected:
    ~ClipsViewTest() override { window.reset(); }

    void show(const QSize& size = test::clipsViewSize)
    {
        test::linkPreviewView();
        appear();
        window.emplace(test::clipsView, *model, size);
        settle();
    }

    void showWith(int count)
    {
        for (int i = 0; i < count; ++i)
            add("clip " + std::to_string(i) + ".mp4", moment(i / 5, 11, 59 - i % 5));
        show();
    }

    /// What the window asks for arrives, and is drawn.
    void settle() const
    {
        static_cast<void>(window->grab());
        run();
        static_cast<void>(window->grab());
    }

    void type(Qt::Key key, const QString& text = {}, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        window->type(key, text, modifiers);
        settle();
    }

    /// Of all that has this role and is visible.
    [[nodiscard]] std::vector<std::string> named(QAccessible::Role role, bool onlyFocused = false) const
    {
        std::vector<std::string> names;
        window->forEachVisible([&](QQuickItem& item) {
            auto* accessible = QAccessible::queryAccessibleInterface(&item);
            if (accessible && accessible->role() == role && (!onlyFocused || item.hasActiveFocus()))
                names.push_back(accessible->text(QAccessible::Name).toStdString());
        });
        return names;
    }

    [[nodiscard]] std::string focusedClip() const
    {
        const auto names = named(QAccessible::ListItem, true);
        return names.size() == 1 ? names.front() : std::to_string(names.size()) + " clips";
    }

    [[nodiscard]] QQuickItem& tile(const QString& beginning) const
    {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            auto* accessible = QAccessible::queryAccessibleInterface(&item);
            if (accessible && accessible->role() == QAccessible::ListItem && accessible->text(QAccessible::Name).startsWith(beginning))
                found = &item;
        });
        if (!found)
            throw std::runtime_error("there is no tile of " + beginning.toStdString());
        return *found;
    }

    [[nodiscard]] QQuickItem& list() const
    {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickListView"))
                found = &item;
        });
        if (!found)
            throw std::runtime_error("there is no list");
        return *found;
    }

    std::optional<ViewTestWindow> window;
};

TEST_F(ClipsViewTest, ClipsAreShownByDayWithAllThatIsKnown)
{
    thumbnails->kept[add("A film.mp4", moment(0, 9, 5))] = fake::FakeThumbnails::picture();
    add("Another.mp4", moment(1, 23, 0), 999);
    show();
    EXPECT_EQ(window->texts().join(QLatin1Char('|')).toStdString(),
        "Clips|Search names and days...|Today|0:12|A film|09:05 · 1.5 MB|Yesterday|0:12|Another|23:00 · 999 bytes|2 clips|Rename|Move to "
        "Trash|Close|Open");
    EXPECT_EQ(window->pictures().toStdString(), "magnifyingglass, play.rectangle.fill, square.and.arrow.up, folder")
        << "a symbol in place of the picture that is missing";
    window->expectNothingIsCutOff({24, 0, 712, 600});
    window->expectNoTextsOverlap();
    const auto& picture = tile(QStringLiteral("A film"));
    EXPECT_EQ(window->grab(picture).pixelColor(100, 60), QColor(0x80, 0x80, 0x80));
}

TEST_F(ClipsViewTest, ScreenReadersAreToldOfEachClipAndOfTheKeyboardsWay)
{
    showWith(7);
    EXPECT_THAT(named(QAccessible::List), ElementsAre("Clips"));
    EXPECT_THAT(named(QAccessible::Heading), ElementsAre("Clips", "Today", "Yesterday"));
    EXPECT_THAT(named(QAccessible::ListItem), SizeIs(7));
    EXPECT_THAT(named(QAccessible::EditableText), ElementsAre("Search names and days..."));
    type(Qt::Key_Down);
    EXPECT_EQ(focusedClip(), "clip 0, Friday, 20 November 2026 11:59, 0:12, 1.5 MB");
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(&tile(QStringLiteral("clip 0")))->state().selected);
    type(Qt::Key_End);
    EXPECT_EQ(focusedClip(), "clip 6, Thursday, 19 November 2026 11:58, 0:12, 1.5 MB");
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(&tile(QStringLiteral("clip 5")))->state().selected);
}

TEST_F(ClipsViewTest, TheKeyboardGoesRoundItWithClipsAndWithout)
{
    showWith(7);
    type(Qt::Key_Down);
    test::walkWithTab(*window);
    test::expectAllIsSaid(*window);
    for (const auto& file : files())
        std::filesystem::remove(folder() / file);
    model->reload();
    settle();
    test::walkWithTab(*window);
    test::expectAllIsSaid(*window);
}

TEST_F(ClipsViewTest, TheKeyboardsClipIsAlwaysInSightWithTheHeadingOfItsDay)
{
    showWith(60);
    for (const auto key : {Qt::Key_End, Qt::Key_PageUp, Qt::Key_Up, Qt::Key_Home, Qt::Key_PageDown, Qt::Key_Down}) {
        type(key);
        const auto name = named(QAccessible::ListItem, true);
        ASSERT_THAT(name, SizeIs(1)) << key;
        const auto& current = tile(QString::fromStdString(name.front()));
        const auto place = current.mapRectToItem(&list(), {0, 0, current.width(), current.height()});
        EXPECT_GE(place.top(), -1) << key;
        EXPECT_LE(place.bottom(), list().height() + 1) << key;
    }
    type(Qt::Key_Home);
    EXPECT_TRUE(window->shows(QStringLiteral("Today")));
}

TEST_F(ClipsViewTest, OnlyWhatIsInSightIsMadeAndLoaded)
{
    showWith(1000);
    EXPECT_LT(named(QAccessible::ListItem).size(), 20U);
    EXPECT_LT(thumbnails->found.size(), 20U);
    type(Qt::Key_End);
    EXPECT_LT(named(QAccessible::ListItem).size(), 20U);
    EXPECT_LT(thumbnails->found.size(), 40U) << "nothing on the way";
    EXPECT_EQ(focusedClip().substr(0, 9), "clip 999,");
}

TEST_F(ClipsViewTest, ThePointerSelectsWithItsKeysAndOpensByADoubleClick)
{
    showWith(3);
    window->click(tile(QStringLiteral("clip 1")));
    EXPECT_THAT(selected(), ElementsAre("clip 1.mp4"));
    EXPECT_EQ(focusedClip().substr(0, 7), "clip 1,");
    const auto& third = tile(QStringLiteral("clip 2"));
    const auto at = third.mapToScene({third.width() / 2, 40});
    for (const auto kind : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        QMouseEvent event(kind, at, window->window().mapToGlobal(at), Qt::LeftButton,
            kind == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::ControlModifier);
        QCoreApplication::sendEvent(const_cast<QQuickWindow*>(&window->window()), &event);
    }
    EXPECT_THAT(selected(), ElementsAre("clip 1.mp4", "clip 2.mp4"));
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(ClipsViewTest, ADoubleClickOpensWhatItsFirstClickWasOnThoughANewClipHasTakenItsPlace)
{
    showWith(3);
    const auto& clip = tile(QStringLiteral("clip 1"));
    const auto place = clip.mapToScene({clip.width() / 2, 40});
    window->pressAt(place, 1000);
    window->releaseAt(place, 1020);
    // One clip newer: each is in the place of the one before it.
    clock->time = moment(-1, 12, 0);
    add("clip 00.mp4", moment(0, 11, 59));
    model->reload();
    settle();
    const auto& other = tile(QStringLiteral("clip 0"));
    ASSERT_TRUE(QRectF(other.mapToScene({0, 0}), other.size()).contains(place)) << "another clip is there";
    window->pressAt(place, 1100);
    window->releaseAt(place, 1120);
    EXPECT_THAT(opened, ElementsAre("clip 1.mp4"));
}

TEST_F(ClipsViewTest, WhatIsTypedSearches)
{
    showWith(12);
    type(Qt::Key_1, QStringLiteral("1"));
    type(Qt::Key_1, QStringLiteral("1"));
    EXPECT_EQ(model->searchText(), QStringLiteral("11"));
    EXPECT_THAT(named(QAccessible::ListItem), SizeIs(1));
    type(Qt::Key_Down);
    EXPECT_EQ(focusedClip().substr(0, 8), "clip 11,");
    type(Qt::Key_Return);
    EXPECT_THAT(opened, ElementsAre("clip 11.mp4"));
    type(Qt::Key_Escape);
    EXPECT_EQ(model->searchText(), QString{});
    EXPECT_THAT(named(QAccessible::ListItem), SizeIs(testing::Ge(6)));
    type(Qt::Key_X, QStringLiteral("x"));
    EXPECT_TRUE(window->shows(QStringLiteral("No clip fits the search.")));
    window->press(QStringLiteral("Clear search"));
    settle();
    EXPECT_FALSE(window->shows(QStringLiteral("No clip fits the search.")));
}

TEST_F(ClipsViewTest, AClipIsRenamedInItsTile)
{
    showWith(3);
    type(Qt::Key_Right);
    type(Qt::Key_F2);
    EXPECT_THAT(named(QAccessible::EditableText), ElementsAre("Search names and days...", "New name of clip 0"));
    type(Qt::Key_X, QStringLiteral("x"));
    EXPECT_EQ(model->searchText(), QString{}) << "what is typed is for the name";
    type(Qt::Key_Slash, QStringLiteral("/"));
    type(Qt::Key_Return);
    EXPECT_TRUE(window->shows(QString::fromUtf8("A name cannot contain “/”.")));
    type(Qt::Key_Backspace);
    type(Qt::Key_Return);
    EXPECT_THAT(files(), ElementsAre("clip 1.mp4", "clip 2.mp4", "x.mp4")) << "all of the old name was selected";
    EXPECT_TRUE(window->shows(QStringLiteral("x")));
    EXPECT_EQ(focusedClip().substr(0, 2), "x,") << "the keyboard is at the clip again";
    type(Qt::Key_F2);
    type(Qt::Key_Down);
    type(Qt::Key_Enter);
    EXPECT_THAT(named(QAccessible::EditableText), SizeIs(1));
    EXPECT_EQ(focusedClip().substr(0, 2), "x,") << "arrows are for the name";
    type(Qt::Key_F2);
    type(Qt::Key_Escape);
    EXPECT_THAT(named(QAccessible::EditableText), SizeIs(1));
    EXPECT_THAT(files(), SizeIs(3));
    EXPECT_THAT(opened, IsEmpty()) << "the key that ends it opens nothing";
}

TEST_F(ClipsViewTest, LeavingTheNameTakesIt)
{
    showWith(3);
    type(Qt::Key_Home);
    type(Qt::Key_F2);
    type(Qt::Key_Y, QStringLiteral("y"));
    window->click(tile(QStringLiteral("clip 2")));
    settle();
    EXPECT_THAT(files(), ElementsAre("clip 1.mp4", "clip 2.mp4", "y.mp4"));
    EXPECT_THAT(named(QAccessible::EditableText), SizeIs(1));
}

TEST_F(ClipsViewTest, AClipGoesToTheTrashAndComesBackByButtonOrKeys)
{
    showWith(3);
    EXPECT_FALSE(window->button(QStringLiteral("Move to Trash")).isEnabled());
    type(Qt::Key_Home);
    window->press(QStringLiteral("Move to Trash"));
    settle();
    EXPECT_TRUE(window->shows(QString::fromUtf8("“clip 0.mp4” is in the trash.")));
    EXPECT_THAT(named(QAccessible::StatusBar), ElementsAre("“clip 0.mp4” is in the trash."));
    window->press(QStringLiteral("Undo"));
    settle();
    EXPECT_THAT(files(), SizeIs(3));
    EXPECT_FALSE(window->hasButton(QStringLiteral("Undo")));
    list().forceActiveFocus();
    type(Qt::Key_Delete);
    EXPECT_THAT(files(), SizeIs(2));
    type(Qt::Key_Z, QStringLiteral("\x1A"), Qt::ControlModifier);
    EXPECT_THAT(files(), SizeIs(3));
}

TEST_F(ClipsViewTest, WhatIsNewIsSeenWhereTheListIsAtItsBeginningAndElsewhereNothingMoves)
{
    showWith(40);
    clock->time = moment(-1, 12, 0);
    add("new.mp4", moment(-1, 11, 0));
    model->reload();
    settle();
    EXPECT_TRUE(window->shows(QStringLiteral("new")));
    type(Qt::Key_End);
    const auto before = window->texts();
    ASSERT_FALSE(before.contains(QStringLiteral("new")));
    add("newer.mp4", moment(-1, 11, 30));
    model->reload();
    settle();
    EXPECT_EQ(window->texts().filter(QStringLiteral("clip")).first(), before.filter(QStringLiteral("clip")).first());
    EXPECT_EQ(focusedClip().substr(0, 7), "clip 39");
}

TEST_F(ClipsViewTest, AnEmptyFolderAndOneThatIsGoneSayWhatToExpect)
{
    show();
    EXPECT_TRUE(window->shows(QStringLiteral("No clips yet.")));
    std::filesystem::remove(folder());
    model->reload();
    settle();
    EXPECT_TRUE(window->shows(QStringLiteral("The clips folder is not there.")));
    window->expectNothingIsCutOff({24, 0, 712, 600});
    type(Qt::Key_Down);
    type(Qt::Key_Delete);
    int dismissals = 0;
    QObject::connect(model.get(), &ClipsModel::dismissed, model.get(), [&] { ++dismissals; });
    type(Qt::Key_Escape);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(ClipsViewTest, TheLargestTextFindsRoom)
{
    showWith(3);
    type(Qt::Key_Home);
    type(Qt::Key_Delete);
    setTextScale(window->engine(), 1.5);
    settle();
    for (const char* text : {"Rename", "Move to Trash", "Close", "Open", "Undo"}) {
        const auto& button = window->button(QLatin1String(text));
        const auto place = button.mapRectToScene({0, 0, button.width(), button.height()});
        EXPECT_TRUE((QRectF{24, 0, 712.5, 600}.contains(place))) << text << " ends at " << place.right();
    }
    window->expectNoTextsOverlap();
}

TEST_F(ClipsViewTest, HowFarAClipsPictureReachesIsSeenWithMoreContrast)
{
    showWith(1);
    setIncreasesContrast(window->engine(), true);
    settle();
    std::optional<QRect> picture;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.inherits("velmora::ClipPicture"))
            picture = item.mapRectToScene(item.boundingRect()).toRect();
    });
    ASSERT_TRUE(picture);
    const auto shown = window->grab();
    const double scale = static_cast<double>(shown.width()) / test::clipsViewSize.width();
    const auto at = [&](int x, int y) { return QColor{shown.pixel(qRound(x * scale), qRound(y * scale))}; };
    const auto& palette = Palette::of(true);
    const auto middle = picture->center();
    for (const auto& edge : {QPoint{picture->left(), middle.y()}, QPoint{picture->right(), middle.y()}, QPoint{middle.x(), picture->top()},
             QPoint{middle.x(), picture->bottom()}})
        EXPECT_EQ(at(edge.x(), edge.y()), palette.border) << edge.x() << "," << edge.y();
    EXPECT_EQ(at(picture->left() + 4, middle.y()), palette.card) << "the picture itself is to be seen within";
}

TEST_F(ClipsViewTest, AWiderWindowHasMoreClipsBesideEachOther)
{
    for (int i = 0; i < 9; ++i)
        add("clip " + std::to_string(i) + ".mp4", moment(0, 11, 59 - i));
    show({1300, 600});
    EXPECT_EQ(model->columns(), 5);
    window->expectNothingIsCutOff({24, 0, 1252, 600});
}

TEST_F(ClipsViewTest, NamesFromOutsideAreOneLineOfPlainText)
{
    for (const char* name : {"<b>bold</b>", "a\nb", "\u202Ereversed"})
        add(std::string{name}.substr(0, std::string{name}.find('/')) + ".mp4", moment(0, 11, 0));
    show();
    for (const auto& text : window->texts()) {
        EXPECT_FALSE(text.contains(QLatin1Char('\n'))) << text.toStdString();
        EXPECT_FALSE(text.contains(QChar{0x202E})) << text.toStdString();
    }
    EXPECT_TRUE(window->shows(QStringLiteral("<b>bold<")));
    EXPECT_TRUE(window->shows(QStringLiteral("a b")));
}

}  // namespace
}  // namespace velmora
