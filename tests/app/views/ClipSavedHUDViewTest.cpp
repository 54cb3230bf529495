#include "app/views/HudPanelWindow.h"
#include "brand/Theme.h"
#include "tests/app/views/AppViews.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/SmallFilesFixture.h"

#include <QGuiApplication>
#include <QStyleHints>

#include <gmock/gmock.h>

namespace velmora {
namespace {

using test::ViewTestWindow;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ClipSavedHUDViewTest : public testing::Test {
protected:
    void say(const std::string& title, const std::string& caption)
    {
        model.setContent({.clip = "/clips/a clip.mp4", .title = title, .caption = caption, .onDismiss = [] {}});
        static_cast<void>(window.grab());
    }

    test::SmallFilesFixture copies;
    std::vector<std::string> calls;
    QPoint menuPlace;
    ClipSavedHUDModel model{{
        .preview = [this](const std::filesystem::path& clip) { calls.push_back("preview " + clip.string()); },
        .share =
            [this](const std::filesystem::path& clip, const QPoint& place) {
                calls.push_back("share " + clip.string());
                menuPlace = place;
            },
        .reveal = [this](const std::filesystem::path& clip) { calls.push_back("reveal " + clip.string()); },
        .drag = [this](const std::filesystem::path& clip) { calls.push_back("drag " + clip.string()); },
        .preparePreview = [] {},
        .smallFiles = copies.files,
    }};
    ViewTestWindow window{test::appView("ClipSavedHUDView"), model, QSize{340, 110}};
};

TEST_F(ClipSavedHUDViewTest, ShowsHowFarACopyOfItsClipIsInPlaceOfTheCaptionAndCancelsIt)
{
    say("Clip Saved (Full)", "The whole recording: 0:12, 12.3 MB");
    copies.files->start("/clips/another.mp4", 10'000'000);
    EXPECT_EQ(window.texts().join(QLatin1Char('|')).toStdString(),
        "Clip Saved (Full)|The whole recording: 0:12, 12.3 MB|Preview & Trim|Share|Reveal");
    copies.complete(0);
    copies.files->start("/clips/a clip.mp4", 10'000'000);
    copies.session(1).steps.advance(0.25);
    copies.clock->advance(std::chrono::seconds{1});
    static_cast<void>(window.grab());
    EXPECT_EQ(window.texts().join(QLatin1Char('|')).toStdString(), "Clip Saved (Full)|Small file: 25 %|Cancel|Preview & Trim|Share|Reveal");
    window.expectNothingIsCutOff({0, 0, 340, 110});
    window.expectNoTextsOverlap();
    QMetaObject::invokeMethod(&window.button(QStringLiteral("Cancel")), "clicked");
    EXPECT_EQ(copies.session(1).steps.cancelCount, 1);
    static_cast<void>(window.grab());
    EXPECT_EQ(window.texts().join(QLatin1Char('|')).toStdString(),
        "Clip Saved (Full)|The whole recording: 0:12, 12.3 MB|Preview & Trim|Share|Reveal");
}

TEST_F(ClipSavedHUDViewTest, HasTheIconTheTitleAndThreeButtonsInARow)
{
    say("Clip Saved (12.3s)", "The whole recording: 0:12, 12.3 MB");
    EXPECT_EQ(window.pictures(), QStringLiteral("icon 38"));
    EXPECT_EQ(window.texts().join(QLatin1Char('|')).toStdString(),
        "Clip Saved (12.3s)|The whole recording: 0:12, 12.3 MB|Preview & Trim|Share|Reveal");
    window.forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickText") && item.property("text").toString().startsWith(QStringLiteral("Clip Saved"))) {
            EXPECT_EQ(item.property("font").value<QFont>().pixelSize(), 14);
        }
    });
    double before = 38;
    for (const auto* text : {"Preview & Trim", "Share", "Reveal"}) {
        const auto place = window.button(QLatin1String(text)).mapToScene({0, 0}).x();
        EXPECT_GT(place, before) << text;
        before = place;
    }
    window.expectNothingIsCutOff({0, 0, 340, 110});
    window.expectNoTextsOverlap();
    auto* accessible = QAccessible::queryAccessibleInterface(window.root());
    EXPECT_EQ(accessible->role(), QAccessible::Notification);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("Clip Saved (12.3s)"));
}

TEST_F(ClipSavedHUDViewTest, EachButtonDoesWhatItSaysWithTheClipThatIsShown)
{
    say("Clip Saved (Full)", "");
    for (const auto* text : {"Preview & Trim", "Share", "Reveal"}) {
        window.button(QLatin1String(text)).forceActiveFocus(Qt::TabFocusReason);
        window.type(Qt::Key_Return);
    }
    EXPECT_THAT(calls, ElementsAre("preview /clips/a clip.mp4", "share /clips/a clip.mp4", "reveal /clips/a clip.mp4"));
    const auto& share = window.button(QStringLiteral("Share"));
    const auto corner = share.mapToGlobal({0, share.height()}).toPoint();
    EXPECT_EQ(menuPlace.x(), corner.x());
    EXPECT_NEAR(menuPlace.y(), corner.y() + 4, 1) << "below its button";
}

TEST_F(ClipSavedHUDViewTest, TheClipIsDraggedFromTheIconAloneAndOnlyOnceTheMouseHasMovedFarEnough)
{
    say("Clip Saved (Full)", "");
    const QPointF icon{35, 55};
    const QPointF threshold{0, static_cast<double>(QGuiApplication::styleHints()->startDragDistance())};
    window.drag(icon, icon + threshold - QPointF{0, 1});
    EXPECT_THAT(calls, IsEmpty()) << "a click whose hand trembled";
    window.drag(icon, icon + 3 * threshold);
    EXPECT_THAT(calls, ElementsAre("drag /clips/a clip.mp4")) << "once, however far";
    window.movePointer(icon);
    window.movePointer(icon + 3 * threshold);
    EXPECT_THAT(calls, SizeIs(1)) << "nothing is held";
}

TEST_F(ClipSavedHUDViewTest, NothingGoesBeyondThePanelWhateverItSaysAndHoweverLargeTheTextIs)
{
    const QRectF panel{0, 0, 340, 110};
    for (const double scale : {1.0, 1.5, 2.0}) {
        setTextScale(window.engine(), scale);
        for (const auto& [kind, text] : test::oddBytes()) {
            SCOPED_TRACE(kind);
            say(text, text);
            EXPECT_FALSE(window.grab().isNull());
            for (const auto* name : {"Preview & Trim", "Share", "Reveal"}) {
                const auto& button = window.button(QLatin1String(name));
                EXPECT_TRUE(panel.contains(button.mapRectToScene({0, 0, button.width(), button.height()}))) << name << " at " << scale;
            }
            window.forEachVisible([&](QQuickItem& item) {
                if (item.inherits("QQuickText")) {
                    EXPECT_TRUE(panel.contains(item.mapRectToScene({0, 0, item.width(), item.height()})));
                }
            });
            window.expectNoTextsOverlap();
        }
    }
    setTextScale(window.engine(), 1);
}

}  // namespace
}  // namespace velmora
