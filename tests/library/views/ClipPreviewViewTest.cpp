#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/PreviewFixture.h"
#include "tests/library/views/PreviewView.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using test::ViewTestWindow;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClipPreviewViewTest : public testing::Test, protected test::PreviewFixture {
protected:
    ClipPreviewViewTest()
    {
        test::linkPreviewView();
        window.emplace(test::clipPreviewView, *model, test::clipPreviewSize);
    }

    ~ClipPreviewViewTest() override { window.reset(); }

    [[nodiscard]] QQuickItem& slider(const char* name) const
    {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickSlider") && item.property("text").toString() == QLatin1String(name))
                found = &item;
        });
        if (!found)
            throw std::runtime_error(std::string{"there is no slider "} + name);
        return *found;
    }
    [[nodiscard]] double value(const char* name) const { return slider(name).property("value").toDouble(); }
    [[nodiscard]] double lowest(const char* name) const { return slider(name).property("from").toDouble(); }
    [[nodiscard]] double highest(const char* name) const { return slider(name).property("to").toDouble(); }

    /// Presses the slider at that part of its width.
    void pressAt(const char* name, double part)
    {
        auto& one = slider(name);
        const auto at = one.mapToScene({8 + part * (one.width() - 16), one.height() / 2});
        for (const auto kind : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            const auto buttons = kind == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
            QMouseEvent event(kind, at, window->window().mapToGlobal(at), Qt::LeftButton, buttons, Qt::NoModifier);
            QCoreApplication::sendEvent(const_cast<QQuickWindow*>(&window->window()), &event);
            QCoreApplication::processEvents();
        }
    }

    /// All times and numbers that are written digit by digit.
    [[nodiscard]] bool showsTime(const char* text) const
    {
        bool found = false;
        window->forEachVisible([&](QQuickItem& item) {
            auto* accessible = QAccessible::queryAccessibleInterface(&item);
            found |= accessible && accessible->role() == QAccessible::StaticText
                && accessible->text(QAccessible::Name) == QString::fromUtf8(text);
        });
        return found;
    }

    std::optional<ViewTestWindow> window;
};

TEST_F(ClipPreviewViewTest, UntilThereIsAPlayerItSaysThatItLoads)
{
    EXPECT_TRUE(window->shows(QStringLiteral("Loading clip...")));
    appear();
    EXPECT_FALSE(window->shows(QStringLiteral("Loading clip...")));
    EXPECT_FALSE(window->shows(QStringLiteral("This clip cannot be played.")));
}

TEST_F(ClipPreviewViewTest, TheSlidersTakeTheDurationWhenItArrives)
{
    for (const auto* name : {"Position", "Start", "End"}) {
        EXPECT_EQ(lowest(name), 0);
        EXPECT_EQ(highest(name), 0.1) << name;
        EXPECT_EQ(value(name), 0);
    }
    appear();
    for (const auto* name : {"Position", "Start", "End"})
        EXPECT_EQ(highest(name), 10) << name;
    EXPECT_EQ(value("Position"), 0);
    EXPECT_EQ(value("Start"), 0);
    EXPECT_EQ(value("End"), 10);
    EXPECT_THAT(player().seeks, IsEmpty()) << "nobody moved a handle";
    EXPECT_TRUE(showsTime("00:10"));
    EXPECT_TRUE(showsTime("Start: 00:00"));
    EXPECT_TRUE(showsTime("End: 00:10"));
    EXPECT_TRUE(showsTime("Selected: 00:10"));
}

TEST_F(ClipPreviewViewTest, AnUnreadableDurationLeavesATenthOfASecond)
{
    assetReader->durations.clear();
    appear();
    for (const auto* name : {"Position", "Start", "End"})
        EXPECT_EQ(highest(name), 0.1) << name;
}

TEST_F(ClipPreviewViewTest, AHandleThatIsMovedMovesItsEndAndTheOthersBounds)
{
    appear();
    pressAt("End", 0.6);
    EXPECT_NEAR(model->trimEndTime(), 6, 0.1);
    EXPECT_EQ(highest("Start"), model->trimEndTime());
    EXPECT_EQ(model->currentTime(), model->trimEndTime());
    pressAt("Start", 0.5);
    EXPECT_NEAR(model->trimStartTime(), 3, 0.1);
    EXPECT_EQ(lowest("End"), model->trimStartTime());
    EXPECT_EQ(value("Position"), model->trimStartTime());
    EXPECT_EQ(value("End"), model->trimEndTime()) << "still bound";
    pressAt("Position", 0.9);
    EXPECT_NEAR(model->currentTime(), 9, 0.1);
    EXPECT_NEAR(model->trimStartTime(), 3, 0.1);
    player().passTime({4, 1});
    EXPECT_EQ(value("Position"), 4) << "follows the player even after a person has moved it";
}

TEST_F(ClipPreviewViewTest, SpacePlaysAndPauses)
{
    appear();
    window->type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_TRUE(player().isPlaying);
    EXPECT_TRUE(window->hasButton(QStringLiteral("Pause")));
    slider("Start").forceActiveFocus();
    window->type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_FALSE(player().isPlaying);
    EXPECT_TRUE(window->hasButton(QStringLiteral("Play")));
}

TEST_F(ClipPreviewViewTest, SpaceOnAButtonPressesThatButton)
{
    appear();
    window->button(QStringLiteral("Reveal in Finder")).forceActiveFocus();
    window->type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_FALSE(player().isPlaying);
    EXPECT_EQ(reveals, 1);
}

TEST_F(ClipPreviewViewTest, ArrowsStepByOnePictureInTheHandleThatHasTheKeyboard)
{
    appear();
    window->type(Qt::Key_Right);
    EXPECT_EQ(model->currentTime(), 0.02);
    slider("Position").forceActiveFocus();
    window->type(Qt::Key_Right);
    EXPECT_EQ(model->currentTime(), 0.04);
    window->type(Qt::Key_Left);
    EXPECT_EQ(model->currentTime(), 0.02);
    slider("Start").forceActiveFocus();
    window->type(Qt::Key_Right);
    window->type(Qt::Key_Right);
    window->type(Qt::Key_Left);
    EXPECT_EQ(model->trimStartTime(), 0.02);
    EXPECT_EQ(value("Start"), 0.02);
    slider("End").forceActiveFocus();
    window->type(Qt::Key_Left);
    EXPECT_EQ(model->trimEndTime(), 9.98);
    EXPECT_EQ(value("End"), 9.98);
    EXPECT_EQ(model->trimStartTime(), 0.02);
}

TEST_F(ClipPreviewViewTest, IAndOMarkTheSelectionAndEscapeCloses)
{
    appear();
    int dismissals = 0;
    QObject::connect(model.get(), &ClipPreviewModel::dismissed, model.get(), [&] { ++dismissals; });
    model->scrub(3);
    window->type(Qt::Key_I, QStringLiteral("i"));
    EXPECT_EQ(model->trimStartTime(), 3);
    model->scrub(7);
    slider("Start").forceActiveFocus();
    window->type(Qt::Key_O, QStringLiteral("o"));
    EXPECT_EQ(model->trimEndTime(), 7);
    EXPECT_EQ(dismissals, 0);
    window->type(Qt::Key_Escape);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(ClipPreviewViewTest, LPlaysKPausesAndJGoesOneSecondBack)
{
    appear();
    model->scrub(4);
    slider("Start").forceActiveFocus();
    window->type(Qt::Key_K, QStringLiteral("k"));
    EXPECT_FALSE(player().isPlaying) << "nothing to pause";
    window->type(Qt::Key_L, QStringLiteral("l"));
    window->type(Qt::Key_L, QStringLiteral("l"));
    EXPECT_TRUE(player().isPlaying) << "it plays already";
    player().passTime({5, 1});
    window->type(Qt::Key_J, QStringLiteral("j"));
    EXPECT_EQ(model->currentTime(), 4);
    EXPECT_EQ(player().seeks.back(), (MediaTime{4, 1}));
    EXPECT_TRUE(player().isPlaying) << "and goes on from there";
    window->type(Qt::Key_K, QStringLiteral("k"));
    EXPECT_FALSE(player().isPlaying);
    model->scrub(0.4);
    window->type(Qt::Key_J, QStringLiteral("j"));
    EXPECT_EQ(model->currentTime(), 0);
    EXPECT_EQ(model->trimStartTime(), 0);
    EXPECT_EQ(model->trimEndTime(), 10);
}

TEST_F(ClipPreviewViewTest, CommaAndDotShowOnePictureBackAndForwardsAndPause)
{
    appear();
    slider("End").forceActiveFocus();
    window->type(Qt::Key_Period, QStringLiteral("."));
    window->type(Qt::Key_Period, QStringLiteral("."));
    EXPECT_EQ(model->currentTime(), 0.04);
    window->type(Qt::Key_Comma, QStringLiteral(","));
    EXPECT_EQ(model->currentTime(), 0.02);
    EXPECT_EQ(model->trimEndTime(), 10) << "the handles stay";
    model->togglePlaying();
    player().passTime({3, 1});
    window->type(Qt::Key_Period, QStringLiteral("."));
    EXPECT_FALSE(player().isPlaying);
    EXPECT_TRUE(window->hasButton(QStringLiteral("Play")));
    EXPECT_EQ(player().seeks.back(), (MediaTime{151, 50}));
}

TEST_F(ClipPreviewViewTest, HomeAndEndGoToTheClipsBeginningAndItsEnd)
{
    appear();
    model->moveTrimEnd(6);
    slider("Start").forceActiveFocus();
    window->type(Qt::Key_End);
    EXPECT_EQ(model->currentTime(), 10);
    EXPECT_EQ(player().seeks.back(), (MediaTime{10, 1}));
    window->type(Qt::Key_Home);
    EXPECT_EQ(model->currentTime(), 0);
    EXPECT_EQ(player().seeks.back(), MediaTime::zero());
    EXPECT_EQ(model->trimStartTime(), 0);
    EXPECT_EQ(model->trimEndTime(), 6);
}

TEST_F(ClipPreviewViewTest, AKeyBeforeTheDurationIsKnownOrForAClipThatCannotBePlayedMovesNothing)
{
    assetReader->answersAtOnce = false;
    appear();
    for (const auto key : {Qt::Key_End, Qt::Key_J, Qt::Key_Home, Qt::Key_Period, Qt::Key_Comma})
        window->type(key);
    EXPECT_EQ(model->currentTime(), 0);
    assetReader->answerAll();
    executor->runAll();
    player().fail({"mpv", -17, "unrecognized file format", nullptr});
    const auto seeks = player().seeks;
    for (const auto key : {Qt::Key_End, Qt::Key_L, Qt::Key_J, Qt::Key_Home, Qt::Key_Period, Qt::Key_Comma})
        window->type(key);
    EXPECT_EQ(player().seeks, seeks);
    EXPECT_FALSE(player().isPlaying);
}

TEST_F(ClipPreviewViewTest, ACaptionBesideEachTimeHasItsTenths)
{
    assetReader->durations[clip] = MediaTime{7596, 100};
    appear();
    model->moveTrimEnd(59.96);
    model->moveTrimStart(1.44);
    model->scrub(3.25);
    for (const auto* time : {"00:03", "01:16", "Start: 00:01", "End: 01:00", "Selected: 00:59"})
        EXPECT_TRUE(showsTime(time)) << time << " stays";
    for (const auto* caption : {"00:03.3", "01:16.0", "00:01.4", "01:00.0", "00:58.5"})
        EXPECT_TRUE(showsTime(caption)) << caption;
    static_cast<void>(window->grab());
    window->expectNothingIsCutOff({0, 0, 680, 600});
    window->expectNoTextsOverlap();
}

TEST_F(ClipPreviewViewTest, EveryControlCanBeReachedByTheKeyboard)
{
    appear();
    std::vector<std::string> order;
    for (int i = 0; i < 7; ++i) {
        window->type(Qt::Key_Tab);
        const auto* focused = window->window().activeFocusItem();
        order.push_back(focused ? focused->property("text").toString().toStdString() : "");
    }
    EXPECT_THAT(order, ElementsAre("Play", "Position", "Start", "End", "Save Trimmed Clip", "Share", "Reveal in Finder"));
}

TEST_F(ClipPreviewViewTest, WhileAnExportRunsSavingIsDisabledAndTheLineSaysSo)
{
    appear();
    window->press(QStringLiteral("Save Trimmed Clip"));
    EXPECT_FALSE(window->button(QStringLiteral("Save Trimmed Clip")).isEnabled());
    EXPECT_TRUE(window->shows(QStringLiteral("Exporting trimmed clip...")));
    window->press(QStringLiteral("Save Trimmed Clip"));
    EXPECT_EQ(exportSessions->sessions.size(), 1U);
    const auto name = QString::fromStdString(session().output.filename());
    completeExport();
    EXPECT_TRUE(window->button(QStringLiteral("Save Trimmed Clip")).isEnabled());
    EXPECT_TRUE(window->shows(QStringLiteral("Trimmed clip saved as ") + name));
}

TEST_F(ClipPreviewViewTest, AnErrorStandsInTheLineAsPlainText)
{
    appear();
    window->press(QStringLiteral("Save Trimmed Clip"));
    session().fail({"Velmora.MP4", 5, "<b>broken</b> & gone", nullptr});
    executor->runAll();
    EXPECT_TRUE(window->shows(QStringLiteral("Trim error: <b>broken</b> & gone")));
    bool isPlain = false;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickText") && item.property("text").toString().startsWith(QLatin1String("Trim error")))
            isPlain = item.property("textFormat").toInt() == Qt::PlainText;
    });
    EXPECT_TRUE(isPlain);
}

TEST_F(ClipPreviewViewTest, AClipThatCannotBePlayedSaysWhyInThePicturesPlace)
{
    appear();
    player().fail({"mpv", -17, "unrecognized file format", nullptr});
    EXPECT_TRUE(window->shows(QStringLiteral("This clip cannot be played.")));
    EXPECT_TRUE(window->shows(QStringLiteral("unrecognized file format")));
    EXPECT_FALSE(window->shows(QStringLiteral("Loading clip...")));
}

TEST_F(ClipPreviewViewTest, TheSectionsStandBelowEachOtherUnderTheirTitle)
{
    appear();
    model->saveTrimmedClip();
    static_cast<void>(window->grab());
    const auto top = [](const QQuickItem& item) { return item.mapToScene({0, 0}).y(); };
    QQuickItem* title = nullptr;
    QQuickItem* message = nullptr;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.property("text").toString() == QStringLiteral("Trim Clip Range"))
            title = &item;
        if (item.property("text").toString() == QStringLiteral("Exporting trimmed clip..."))
            message = &item;
    });
    ASSERT_TRUE(title && message);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(title)->role(), QAccessible::Heading);
    EXPECT_LT(top(slider("Position")), top(*title));
    EXPECT_LT(top(*title), top(slider("Start")));
    EXPECT_LT(top(slider("Start")), top(slider("End")));
    EXPECT_LT(top(slider("End")), top(window->button(QStringLiteral("Save Trimmed Clip"))));
    EXPECT_LT(top(window->button(QStringLiteral("Save Trimmed Clip"))), top(*message));
    for (const auto& [name, symbol] :
        {std::pair{"Play", "play.circle.fill"}, std::pair{"Share", "square.and.arrow.up"}, std::pair{"Reveal in Finder", "folder"}})
        EXPECT_EQ(window->button(QLatin1String(name)).property("symbol").toString(), QLatin1String(symbol));
}

TEST_F(ClipPreviewViewTest, AFileThatCannotBeReadDisablesWhatCannotWork)
{
    assetReader->durations.clear();
    appear();
    const auto isEnabled = [this](const char* name) { return window->button(QLatin1String(name)).isEnabled(); };
    EXPECT_TRUE(isEnabled("Play") && isEnabled("Save Trimmed Clip")) << "nobody has said yet that it cannot be played";
    player().fail({"mpv", -17, "unrecognized file format", nullptr});
    for (const auto* name : {"Position", "Start", "End"})
        EXPECT_FALSE(slider(name).isEnabled()) << name;
    EXPECT_FALSE(isEnabled("Play"));
    EXPECT_FALSE(isEnabled("Save Trimmed Clip"));
    EXPECT_TRUE(isEnabled("Share"));
    EXPECT_TRUE(isEnabled("Reveal in Finder"));
    const auto start = model->trimStartTime();
    window->type(Qt::Key_Right);
    window->type(Qt::Key_I, QStringLiteral("i"));
    window->type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_EQ(model->currentTime(), 0);
    EXPECT_EQ(model->trimStartTime(), start);
    EXPECT_FALSE(player().isPlaying);
}

TEST_F(ClipPreviewViewTest, WithoutAPlayerAClipCanStillBeCutDown)
{
    players->createError = Error{"Velmora.Modules", 2, "The player is not installed.", nullptr};
    appear();
    EXPECT_FALSE(window->button(QStringLiteral("Play")).isEnabled());
    EXPECT_FALSE(slider("Position").isEnabled());
    EXPECT_TRUE(slider("Start").isEnabled());
    EXPECT_TRUE(slider("End").isEnabled());
    pressAt("Start", 0.5);
    window->press(QStringLiteral("Save Trimmed Clip"));
    EXPECT_NEAR(session().range->start.seconds(), 5, 0.1);
}

TEST_F(ClipPreviewViewTest, EveryKindOfMessageStaysInItsPlace)
{
    appear();
    player().fail({"mpv", -17, "unrecognized file format", nullptr});
    for (const auto& [kind, text] : test::oddTexts()) {
        SCOPED_TRACE(kind);
        model->saveTrimmedClip();
        session().fail({"Velmora.MP4", 5, text.toStdString(), nullptr});
        executor->runAll();
        player().fail({"mpv", -17, text.toStdString(), nullptr});
        EXPECT_FALSE(window->grab().isNull());
        window->expectNoTextsOverlap();
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                EXPECT_TRUE(QRectF(0, 0, 680, 600).contains(item.mapRectToScene({0, 0, item.width(), item.height()})));
            }
        });
    }
}

TEST_F(ClipPreviewViewTest, WhereTheWindowIsTooLowItScrollsToTheControlThatHasTheKeyboard)
{
    window.emplace(test::clipPreviewView, *model, QSize{680, 300});
    appear();
    static_cast<void>(window->grab());
    auto& save = window->button(QStringLiteral("Save Trimmed Clip"));
    save.forceActiveFocus(Qt::TabFocusReason);
    static_cast<void>(window->grab());
    EXPECT_TRUE(QRectF(0, 0, 680, 300).contains(save.mapRectToScene({0, 0, save.width(), save.height()})));
    window->expectNoTextsOverlap();
    auto& play = window->button(QStringLiteral("Play"));
    play.forceActiveFocus(Qt::TabFocusReason);
    static_cast<void>(window->grab());
    EXPECT_TRUE(QRectF(0, 0, 680, 300).contains(play.mapRectToScene({0, 0, play.width(), play.height()})));
}

TEST_F(ClipPreviewViewTest, ShareOpensItsMenuBelowItsButton)
{
    appear();
    const auto& share = window->button(QStringLiteral("Share"));
    window->press(QStringLiteral("Share"));
    ASSERT_EQ(shared.size(), 1U);
    const auto corner = share.mapToGlobal({0, share.height()}).toPoint();
    EXPECT_EQ(shared.front().x(), corner.x());
    EXPECT_NEAR(shared.front().y(), corner.y() + 4, 1);
}

TEST_F(ClipPreviewViewTest, ThePlayersPictureFillsItsPlace)
{
    appear();
    player().showPicture(std::byte{0x80});
    const auto picture = window->grab();
    EXPECT_EQ(picture.pixelColor(picture.width() / 2, 100), (QColor{0x80, 0x80, 0x80}));
    EXPECT_FALSE(player().drawn.empty());
}

TEST_F(ClipPreviewViewTest, AClickOnThePicturePlays)
{
    appear();
    player().showPicture(std::byte{0x80});
    QQuickItem* picture = nullptr;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.inherits("velmora::PlayerPicture"))
            picture = &item;
    });
    ASSERT_TRUE(picture);
    window->click(*picture);
    EXPECT_TRUE(player().isPlaying);
}

TEST_F(ClipPreviewViewTest, NothingIsCutOffOrOverlaps)
{
    appear();
    model->moveTrimStart(3);
    window->press(QStringLiteral("Save Trimmed Clip"));
    completeExport();
    static_cast<void>(window->grab());
    window->expectNothingIsCutOff({0, 0, 680, 600});
    window->expectNoTextsOverlap();
    player().fail({"mpv", -17, "unrecognized file format", nullptr});
    static_cast<void>(window->grab());
    window->expectNothingIsCutOff({0, 0, 680, 600});
    window->expectNoTextsOverlap();
}

}  // namespace
}  // namespace velmora
