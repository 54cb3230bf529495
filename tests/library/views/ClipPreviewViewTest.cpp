#include "brand/BrandColors.h"
#include "brand/Palette.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/PreviewFixture.h"
#include "tests/library/views/PreviewView.h"

#include <gmock/gmock.h>
#include <set>

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
        mouse(QEvent::MouseButtonPress, at);
        mouse(QEvent::MouseButtonRelease, at);
    }

    void mouse(QEvent::Type kind, const QPointF& at)
    {
        const auto button = kind == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        const auto buttons = kind == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(kind, at, window->window().mapToGlobal(at), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(const_cast<QQuickWindow*>(&window->window()), &event);
        QCoreApplication::processEvents();
    }

    [[nodiscard]] QQuickItem& itemOf(const char* type) const
    {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits(type))
                found = &item;
        });
        if (!found)
            throw std::runtime_error(std::string{"there is no "} + type);
        return *found;
    }
    [[nodiscard]] QQuickItem& filmstrip() const { return itemOf("velmora::Filmstrip"); }

    /// Where the strip has that time, half way up, and `aside` points beside it.
    [[nodiscard]] QPointF onStrip(double seconds, double aside = 0) const
    {
        const auto& strip = filmstrip();
        return strip.mapToScene({seconds / model->totalDuration() * strip.width() + aside, strip.height() / 2});
    }

    /// The columns of the window, in points, between which that row is coral.
    [[nodiscard]] static std::pair<int, int> coralColumns(const QImage& picture, int y)
    {
        std::pair<int, int> columns{-1, -1};
        for (int x = 0; x < picture.width(); ++x) {
            const auto color = picture.pixelColor(x, y);
            if (color.red() < 200 || color.green() > 100 || color.blue() > 100)
                continue;
            if (columns.first < 0)
                columns.first = x;
            columns.second = x + 1;
        }
        return columns;
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

TEST_F(ClipPreviewViewTest, TheClipsFirstPictureIsAskedForAsLargeAsItIsDrawnAndCoversTheSignThatItLoads)
{
    constexpr QRgb colour = 0xff204060;
    auto pixels = std::make_shared<QImage>(2000, 800, QImage::Format_RGB32);
    pixels->fill(colour);
    assetReader->image = std::make_shared<PixelBuffer>(PixelBuffer{.width = 2000,
        .height = 800,
        .bytesPerRow = static_cast<std::size_t>(pixels->bytesPerLine()),
        .baseAddress = reinterpret_cast<const std::byte*>(pixels->bits()),
        .change = {},
        .owner = pixels});
    assetReader->durations.clear();
    players->isPrepared = false;
    static_cast<void>(window->grab());
    appear();
    const auto shown = window->grab();
    EXPECT_EQ(assetReader->imageWidth, shown.width());
    const QImage picture = shown.copy(0, 0, assetReader->imageWidth, assetReader->imageHeight).convertToFormat(QImage::Format_RGB32);
    // Two fifths of the width high, in the middle.
    const int height = assetReader->imageWidth * 2 / 5;
    const QRect middle{0, (assetReader->imageHeight - height) / 2, assetReader->imageWidth, height};
    int others = 0;
    for (int y = middle.top(); y <= middle.bottom(); ++y) {
        for (int x = middle.left(); x <= middle.right(); ++x)
            others += picture.pixel(x, y) != colour;
    }
    EXPECT_EQ(others, 0) << "the sign that it loads lies beneath";
}

/// The message is what a person looks for after saving, and a name that is cut in its middle names nothing.
TEST_F(ClipPreviewViewTest, WhatWasSavedIsNamedWholeBesideItsButtonsOrAboveThemWhereTextIsLarge)
{
    appear();
    model->saveTrimmedClip();
    completeExport();
    for (const double scale : {1.0, 1.5}) {
        setTextScale(window->engine(), scale);
        static_cast<void>(window->grab());
        QQuickItem* message = nullptr;
        QQuickItem* play = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.property("text").toString() == model->trimStatusMessage())
                message = &item;
            if (item.property("accessibleName").toString() == QStringLiteral("Play Trimmed Clip"))
                play = &item;
        });
        ASSERT_TRUE(message && play);
        EXPECT_FALSE(message->property("truncated").toBool()) << scale;
        const auto place = [](const QQuickItem& item) { return QRectF{item.mapToScene({}), item.size()}; };
        EXPECT_FALSE(place(*message).intersects(place(*play))) << scale;
        EXPECT_EQ(place(*message).bottom() <= place(*play).top(), scale > 1) << scale;
        EXPECT_LE(place(*play).bottom(), test::clipPreviewSize.height()) << scale;
    }
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
    pressAt("Start", 0.3);
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
    EXPECT_THAT(revealed, ElementsAre(clip));
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

TEST_F(ClipPreviewViewTest, XCutsTheMiddleOutAndKeepsItAgain)
{
    appear();
    EXPECT_THROW(static_cast<void>(slider("Cut from")), std::runtime_error);
    window->type(Qt::Key_X, QStringLiteral("x"));
    EXPECT_TRUE(model->cut()->isThere());
    EXPECT_NEAR(value("Cut from"), 10.0 / 3, 1e-6);
    EXPECT_NEAR(value("Cut to"), 20.0 / 3, 1e-6);
    slider("Cut to").forceActiveFocus();
    window->type(Qt::Key_Right);
    EXPECT_NEAR(model->cut()->end(), 6.68, 0.002) << "the next of fifty pictures a second";
    slider("Cut from").forceActiveFocus();
    window->type(Qt::Key_Left);
    EXPECT_NEAR(model->cut()->start(), 3.3, 0.002);
    window->type(Qt::Key_X, QStringLiteral("x"));
    EXPECT_FALSE(model->cut()->isThere());
    EXPECT_THROW(static_cast<void>(slider("Cut to")), std::runtime_error);
}

TEST_F(ClipPreviewViewTest, TheCutsSidesAreDraggedOnTheFilmstripBeforeThoseOfTheSelection)
{
    appear();
    window->press(QStringLiteral("Cut Out a Middle Part"));
    static_cast<void>(window->grab());
    const double begin = 10.0 / 3;
    mouse(QEvent::MouseButtonPress, onStrip(begin, -3));
    EXPECT_NEAR(model->cut()->start(), begin, 1e-9) << "taking it moves nothing";
    mouse(QEvent::MouseMove, onStrip(2, -3));
    mouse(QEvent::MouseButtonRelease, onStrip(2, -3));
    EXPECT_NEAR(model->cut()->start(), 2, 1e-6);
    mouse(QEvent::MouseButtonPress, onStrip(2 * begin, 3));
    mouse(QEvent::MouseMove, onStrip(10, 3));
    mouse(QEvent::MouseButtonRelease, onStrip(10, 3));
    EXPECT_NEAR(model->cut()->end(), 10, 1e-6);
    // Both ends are there: the cut's is taken.
    mouse(QEvent::MouseButtonPress, onStrip(10));
    mouse(QEvent::MouseMove, onStrip(7));
    mouse(QEvent::MouseButtonRelease, onStrip(7));
    EXPECT_NEAR(model->cut()->end(), 7, 1e-6);
    EXPECT_EQ(model->trimEndTime(), 10);
    EXPECT_EQ(model->trimStartTime(), 0);
}

TEST_F(ClipPreviewViewTest, WhatIsCutIsDimmedInTheFilmstripBetweenItsSides)
{
    appear();
    model->toggleCut();
    const auto image = window->grab();
    const auto colour = [&](QPointF at) { return image.pixelColor(at.toPoint()); };
    EXPECT_EQ(colour(onStrip(10.0 / 3, -1.5)), Palette::of(false).coral);
    EXPECT_EQ(colour(onStrip(20.0 / 3, 1.5)), Palette::of(false).coral);
    // The selection's frame runs along the top, where pictures would be dimmed too.
    const QPointF top{0, 1.5 - filmstrip().height() / 2};
    EXPECT_EQ(colour(onStrip(2) + top), Palette::of(false).coral);
    EXPECT_LT(colour(onStrip(5) + top).red(), Palette::of(false).coral.red() / 2);
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
    const auto leftOf = [this](const char* caption) {
        double left = -1;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.property("text").toString() == QLatin1String(caption))
                left = item.mapToScene({0, 0}).x();
        });
        return left;
    };
    EXPECT_GT(leftOf("00:01.4"), 0);
    EXPECT_EQ(leftOf("00:01.4"), leftOf("01:00.0")) << "those of the start and of the end stand in one column";
    window->expectNothingIsCutOff({0, 0, 680, 600});
    window->expectNoTextsOverlap();
}

TEST_F(ClipPreviewViewTest, TheHandlesAndTheFilmstripAgreeToThePixel)
{
    appear();
    for (const auto& [begin, end] : {std::pair{0.0, 10.0}, std::pair{2.5, 7.0}, std::pair{0.0, 3.3}, std::pair{6.7, 10.0}}) {
        model->moveTrimStart(0);
        model->moveTrimEnd(end);
        model->moveTrimStart(begin);
        static_cast<void>(window->grab());
        const auto middle = [this](const char* name) {
            const auto& handle = *qvariant_cast<QQuickItem*>(slider(name).property("handle"));
            return handle.mapToScene({handle.width() / 2, 0}).x();
        };
        EXPECT_NEAR(middle("Start"), onStrip(begin).x(), 0.01);
        EXPECT_NEAR(middle("End"), onStrip(end).x(), 0.01);
    }
}

TEST_F(ClipPreviewViewTest, TheTintLiesOverWhatIsKeptInBothSlidersAsInTheFilmstrip)
{
    appear();
    model->moveTrimEnd(7);
    model->moveTrimStart(2.5);
    const auto picture = window->grab();
    const auto row = [](const QQuickItem& item) { return qRound(item.mapToScene({0, item.height() / 2}).y()); };
    const auto kept = coralColumns(picture, qRound(filmstrip().mapToScene({0, 1}).y()) + 6);
    EXPECT_NEAR(kept.first, onStrip(2.5).x(), 1);
    EXPECT_NEAR(kept.second, onStrip(7).x(), 1);
    const auto start = coralColumns(picture, row(slider("Start")));
    const auto end = coralColumns(picture, row(slider("End")));
    EXPECT_NEAR(start.first, kept.first + 8, 1) << "the handle covers half of its width";
    EXPECT_NEAR(start.second, kept.second, 1);
    EXPECT_NEAR(end.first, kept.first, 1);
    EXPECT_NEAR(end.second, kept.second - 8, 1);
}

TEST_F(ClipPreviewViewTest, TheFilmstripHasTheColoursOfMoreContrastWhereTheWindowHas)
{
    appear();
    const auto top = [this] {
        const auto middle = filmstrip().mapToScene({filmstrip().width() / 2, 1}).toPoint();
        return window->grab().pixelColor(middle);
    };
    EXPECT_EQ(top(), BrandColors::coral);
    setIncreasesContrast(window->engine(), true);
    EXPECT_EQ(top(), Palette::of(true).coral);
}

TEST_F(ClipPreviewViewTest, ASideOfTheFilmstripIsDraggedFromWhereItWasTaken)
{
    appear();
    model->moveTrimEnd(7);
    model->moveTrimStart(2);
    static_cast<void>(window->grab());
    mouse(QEvent::MouseButtonPress, onStrip(2, 5));
    EXPECT_EQ(model->trimStartTime(), 2) << "taking it moves nothing";
    mouse(QEvent::MouseMove, onStrip(4, 5));
    EXPECT_NEAR(model->trimStartTime(), 4, 1e-6);
    EXPECT_NEAR(player().seeks.back().seconds(), 4, 1e-6) << "the player shows the picture there";
    EXPECT_NEAR(value("Start"), 4, 1e-6);
    mouse(QEvent::MouseMove, onStrip(9, 5));
    EXPECT_EQ(model->trimStartTime(), 7) << "not past the end";
    mouse(QEvent::MouseMove, onStrip(3, 5));
    mouse(QEvent::MouseButtonRelease, onStrip(3, 5));
    mouse(QEvent::MouseMove, onStrip(5, 5));
    EXPECT_NEAR(model->trimStartTime(), 3, 1e-6) << "let go of";

    mouse(QEvent::MouseButtonPress, onStrip(7, 7));
    mouse(QEvent::MouseMove, onStrip(8.5, 7));
    EXPECT_NEAR(model->trimEndTime(), 8.5, 1e-6);
    EXPECT_NEAR(model->currentTime(), 8.5, 1e-6);
    mouse(QEvent::MouseMove, onStrip(1, 7));
    EXPECT_NEAR(model->trimEndTime(), 3, 1e-6) << "not below the start";
    mouse(QEvent::MouseButtonRelease, onStrip(1, 7));
}

TEST_F(ClipPreviewViewTest, TheFilmstripsSidesCanBeTakenFromOutsideItAndNothingElseOfItCan)
{
    appear();
    static_cast<void>(window->grab());
    mouse(QEvent::MouseButtonPress, onStrip(10, 6));
    mouse(QEvent::MouseMove, onStrip(6, 6));
    mouse(QEvent::MouseButtonRelease, onStrip(6, 6));
    EXPECT_NEAR(model->trimEndTime(), 6, 1e-6);
    for (const auto& beside : {onStrip(6, 9), onStrip(6, -9), onStrip(3), onStrip(9)}) {
        mouse(QEvent::MouseButtonPress, beside);
        mouse(QEvent::MouseMove, onStrip(5));
        mouse(QEvent::MouseButtonRelease, onStrip(5));
    }
    EXPECT_NEAR(model->trimEndTime(), 6, 1e-6);
    EXPECT_EQ(model->trimStartTime(), 0);
}

TEST_F(ClipPreviewViewTest, BothSidesOfAnEmptySelectionCanBeTakenAtEitherEnd)
{
    appear();
    model->moveTrimStart(10);
    static_cast<void>(window->grab());
    mouse(QEvent::MouseButtonPress, onStrip(10, -3));
    mouse(QEvent::MouseMove, onStrip(4, -3));
    mouse(QEvent::MouseButtonRelease, onStrip(4, -3));
    EXPECT_NEAR(model->trimStartTime(), 4, 1e-6);
    EXPECT_EQ(model->trimEndTime(), 10);
    model->moveTrimStart(0);
    model->moveTrimEnd(0);
    mouse(QEvent::MouseButtonPress, onStrip(0, 3));
    mouse(QEvent::MouseMove, onStrip(5, 3));
    mouse(QEvent::MouseButtonRelease, onStrip(5, 3));
    EXPECT_NEAR(model->trimEndTime(), 5, 1e-6);
}

TEST_F(ClipPreviewViewTest, EachHalfOfAShortSelectionHasItsOwnSide)
{
    appear();
    static_cast<void>(window->grab());
    // Twelve points wide.
    model->moveTrimStart(5);
    model->moveTrimEnd(5 + 12 * 10 / filmstrip().width());
    mouse(QEvent::MouseButtonPress, onStrip(5, 5));
    mouse(QEvent::MouseMove, onStrip(2, 5));
    mouse(QEvent::MouseButtonRelease, onStrip(2, 5));
    EXPECT_NEAR(model->trimStartTime(), 2, 1e-6);
    model->moveTrimStart(5);
    mouse(QEvent::MouseButtonPress, onStrip(5, 7));
    mouse(QEvent::MouseMove, onStrip(8, 7));
    mouse(QEvent::MouseButtonRelease, onStrip(8, 7));
    EXPECT_EQ(model->trimStartTime(), 5);
    EXPECT_GT(model->trimEndTime(), 8);
}

TEST_F(ClipPreviewViewTest, AFilmstripOfUnknownLengthCannotBeDragged)
{
    assetReader->durations.clear();
    appear();
    static_cast<void>(window->grab());
    const auto seeks = player().seeks;
    const auto& strip = filmstrip();
    mouse(QEvent::MouseButtonPress, strip.mapToScene({0, 10}));
    mouse(QEvent::MouseMove, strip.mapToScene({90, 10}));
    mouse(QEvent::MouseButtonRelease, strip.mapToScene({90, 10}));
    EXPECT_EQ(player().seeks, seeks);
    EXPECT_EQ(model->trimEndTime(), 0);
}

TEST_F(ClipPreviewViewTest, ButtonsBesideTheTimesGoOnePictureBackAndForwards)
{
    appear();
    model->togglePlaying();
    window->press(QStringLiteral("Next Picture"));
    EXPECT_FALSE(player().isPlaying);
    window->press(QStringLiteral("Next Picture"));
    EXPECT_EQ(model->currentTime(), 0.04);
    window->press(QStringLiteral("Previous Picture"));
    EXPECT_EQ(model->currentTime(), 0.02);
    window->press(QStringLiteral("Move Start Forwards"));
    window->press(QStringLiteral("Move Start Forwards"));
    window->press(QStringLiteral("Move Start Back"));
    EXPECT_EQ(model->trimStartTime(), 0.02);
    window->press(QStringLiteral("Move End Back"));
    window->press(QStringLiteral("Move End Back"));
    EXPECT_EQ(model->trimEndTime(), 9.96);
    window->press(QStringLiteral("Move End Forwards"));
    EXPECT_EQ(model->trimEndTime(), 9.98);
    EXPECT_EQ(player().seeks.back(), (MediaTime{499, 50})) << "its picture is shown";
}

TEST_F(ClipPreviewViewTest, TheLineThatNamesWhatWasSavedHasItsButtons)
{
    appear();
    const auto named = [this](const char* name) {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (!item.inherits("QQuickAbstractButton"))
                return;
            if (QAccessible::queryAccessibleInterface(&item)->text(QAccessible::Name) == QLatin1String(name))
                found = &item;
        });
        return found;
    };
    window->press(QStringLiteral("Save Trimmed Clip"));
    EXPECT_FALSE(named("Play Trimmed Clip"));
    completeExport();
    static_cast<void>(window->grab());
    const auto saved = session().outputURL();
    auto* share = named("Share Trimmed Clip");
    ASSERT_TRUE(named("Play Trimmed Clip") && share && named("Reveal Trimmed Clip") && named("Copy Trimmed Clip"));
    std::vector<std::string> order;
    window->button(QStringLiteral("Save Trimmed Clip")).forceActiveFocus(Qt::TabFocusReason);
    for (int i = 0; i < 8; ++i) {
        window->type(Qt::Key_Tab);
        order.push_back(window->window().activeFocusItem()->property("text").toString().toStdString());
    }
    EXPECT_THAT(order, ElementsAre("Share", "Reveal in Finder", "Mute", "Volume", "Play", "Share", "Reveal", "Copy"));
    window->click(*named("Play Trimmed Clip"));
    window->click(*share);
    window->click(*named("Reveal Trimmed Clip"));
    window->click(*named("Copy Trimmed Clip"));
    EXPECT_THAT(played, ElementsAre(saved));
    EXPECT_THAT(revealed, ElementsAre(saved));
    EXPECT_THAT(copied, ElementsAre(saved));
    ASSERT_EQ(shared.size(), 1U);
    EXPECT_EQ(shared.front().first, saved);
    EXPECT_EQ(shared.front().second, share->mapToGlobal({0, share->height() + 4}).toPoint());
}

TEST_F(ClipPreviewViewTest, TheSoundCanBeMutedAndItsVolumeChanged)
{
    appear();
    EXPECT_EQ(value("Volume"), 100);
    slider("Volume").forceActiveFocus();
    window->type(Qt::Key_Left);
    EXPECT_EQ(player().volume, 0.95);
    pressAt("Volume", 0.5);
    EXPECT_NEAR(player().volume, 0.5, 0.03);
    window->press(QStringLiteral("Mute"));
    EXPECT_TRUE(player().isMuted);
    EXPECT_NEAR(value("Volume"), 50, 3) << "what it will be again";
    slider("Start").forceActiveFocus();
    window->type(Qt::Key_M, QStringLiteral("m"));
    EXPECT_FALSE(player().isMuted);
    window->type(Qt::Key_M, QStringLiteral("m"));
    pressAt("Volume", 0.8);
    EXPECT_FALSE(player().isMuted);
    EXPECT_NEAR(player().volume, 0.8, 0.03);
    EXPECT_EQ(model->currentTime(), 0);
}

TEST_F(ClipPreviewViewTest, EveryIconSaysWhatItMeansWhereItIsPointedAt)
{
    appear();
    static_cast<void>(window->grab());
    std::vector<QQuickItem*> icons;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickAbstractButton") && item.property("symbolSize").isValid())
            icons.push_back(&item);
    });
    EXPECT_EQ(icons.size(), 10U);
    std::set<QString> seen;
    for (auto* icon : icons) {
        const auto toolTip = icon->property("toolTip").toString();
        SCOPED_TRACE(toolTip.toStdString());
        EXPECT_FALSE(toolTip.isEmpty());
        EXPECT_TRUE(seen.insert(toolTip).second);
        EXPECT_EQ(QAccessible::queryAccessibleInterface(icon)->text(QAccessible::Description), toolTip);
        // It takes its time: those at the edges stand for all.
        if (icon != icons.front() && icon != icons.back())
            continue;
        window->movePointer(*icon);
        QQuickItem* tip = nullptr;
        window->settle([&] {
            for (auto* text : window->window().contentItem()->findChildren<QQuickItem*>()) {
                if (text->inherits("QQuickText") && text->isVisible() && text->property("text").toString() == toolTip)
                    tip = text;
            }
            return tip != nullptr;
        });
        ASSERT_TRUE(tip);
        EXPECT_TRUE(QRectF(0, 0, 680, 600).contains(tip->mapRectToScene({0, 0, tip->width(), tip->height()})));
    }
}

TEST_F(ClipPreviewViewTest, EveryControlCanBeReachedByTheKeyboard)
{
    appear();
    std::vector<std::string> order;
    const auto tab = [&](int count) {
        order.clear();
        for (int i = 0; i < count; ++i) {
            window->type(Qt::Key_Tab);
            const auto* focused = window->window().activeFocusItem();
            order.push_back(focused ? focused->property("text").toString().toStdString() : "");
        }
    };
    tab(10);
    EXPECT_THAT(order,
        ElementsAre("Play", "Position", "Start", "End", "Cut Out a Middle Part", "Save Trimmed Clip", "Share", "Reveal in Finder", "Mute",
            "Volume"));
    model->toggleCut();
    tab(8);
    EXPECT_THAT(order, ElementsAre("Play", "Position", "Start", "End", "Cut from", "Cut to", "Keep All", "Save Trimmed Clip"));
}

TEST_F(ClipPreviewViewTest, TheKeyboardGoesRoundWhatASavedPartBringsTooAndAllOfItHasAName)
{
    appear();
    test::walkWithTab(*window);
    test::expectAllIsSaid(*window);
    model->toggleCut();
    test::walkWithTab(*window);
    test::expectAllIsSaid(*window);
    model->toggleCut();
    window->press(QStringLiteral("Save Trimmed Clip"));
    completeExport();
    static_cast<void>(window->grab());
    EXPECT_THAT(test::walkWithTab(*window),
        ::testing::IsSupersetOf({"Play Trimmed Clip", "Share Trimmed Clip", "Reveal Trimmed Clip", "Copy Trimmed Clip"}));
    test::expectAllIsSaid(*window);
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
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        model->saveTrimmedClip();
        session().fail({"Velmora.MP4", 5, text, nullptr});
        executor->runAll();
        player().fail({"mpv", -17, text, nullptr});
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
    EXPECT_EQ(shared.front().first, clip);
    EXPECT_EQ(shared.front().second.x(), corner.x());
    EXPECT_NEAR(shared.front().second.y(), corner.y() + 4, 1);
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

TEST_F(ClipPreviewViewTest, TheDiscOfThePlayButtonBeginsWhereTheCardBeneathDoes)
{
    appear();
    const auto& play = window->button(QStringLiteral("Play"));
    auto row = window->grab();
    const int y = static_cast<int>(play.mapToScene({0, play.height() / 2}).y());
    int first = 0;
    while (first < 100 && row.pixelColor(first, y).lightness() < 128)
        ++first;
    EXPECT_NEAR(first, 24, 1);
}

}  // namespace
}  // namespace velmora
