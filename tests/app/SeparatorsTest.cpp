// The lines between the parts of a window, as they come out on a screen of SEPARATOR_TEST_SCALE pixels per point.

#include "brand/BrandColors.h"
#include "tests/app/views/AppViews.h"
#include "tests/app/views/StatusFixture.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/onboarding/OnboardingFixture.h"

#include <cmath>
#include <set>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using test::QuickTestWindow;
using test::ViewTestWindow;

// Before there is an application.
[[maybe_unused]] const bool isScaled = qputenv("QT_SCALE_FACTOR", SEPARATOR_TEST_SCALE);

double scale()
{
    return QByteArray{SEPARATOR_TEST_SCALE}.toDouble();
}

/// As QRgb, which can be in a set.
struct Line {
    int thickness = 0;
    std::set<QRgb> colors;
    std::set<QRgb> neighbors;
};

/// What is seen of a line in the window, over all its length: which of its pixels are not those beside it.
Line seen(const QImage& picture, const QQuickItem& item)
{
    const auto place = item.mapRectToScene({0, 0, item.width(), item.height()});
    const bool isUpright = item.height() > item.width();
    const auto at = [&](int along, int across) { return isUpright ? picture.pixel(across, along) : picture.pixel(along, across); };
    const auto pixel = [](double points) { return static_cast<int>(std::lround(points * scale())); };
    const auto [start, end] = isUpright ? std::pair{place.top(), place.bottom()} : std::pair{place.left(), place.right()};
    const int middle = pixel(isUpright ? place.left() : place.top());
    const int reach = 6;
    Line line;
    for (int along = pixel(start); along < pixel(end); ++along) {
        const QRgb ground = at(along, middle - reach);
        line.neighbors.insert({ground, at(along, middle + reach)});
        int thickness = 0;
        for (int across = middle - reach; across <= middle + reach; ++across) {
            if (at(along, across) == ground)
                continue;
            ++thickness;
            line.colors.insert(at(along, across));
        }
        EXPECT_TRUE(line.thickness == 0 || line.thickness == thickness) << "uneven at " << along << ": " << thickness;
        line.thickness = thickness;
    }
    return line;
}

int expectEqualLines(const ViewTestWindow& window)
{
    const QImage picture = window.grab();
    int lines = 0;
    window.forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("velmora::Hairline"))
            return;
        const auto line = seen(picture, item);
        const double top = item.mapToScene({0, 0}).y();
        EXPECT_EQ(line.thickness, std::floor(scale())) << "the line at " << top;
        EXPECT_EQ(line.colors.size(), 1U) << "the line at " << top << " has one colour";
        EXPECT_EQ(line.neighbors.size(), 1U) << "the line at " << top << " has nothing beside it";
        ++lines;
    });
    return lines;
}

TEST(Separators, AreOneColorAndAsThickAsEachOtherWhereverTheyStand)
{
    for (int place = 10; place < 50; ++place) {
        for (const double part : {0.0, 0.5}) {
            const QuickTestWindow window{QStringLiteral("Rectangle { anchors.fill: parent; color: Theme.obsidian\n"
                                                        "Separator { objectName: 'lying'; x: 20; width: 60; y: %1 }\n"
                                                        "Separator { objectName: 'upright'; y: 20; width: 1; height: 60; x: 90 + %1 } }")
                                             .arg(place + part),
                {200, 100}};
            ASSERT_EQ(window.window().effectiveDevicePixelRatio(), scale());
            const auto picture = window.grab();
            for (const auto* name : {"lying", "upright"}) {
                const auto line = seen(picture, *window.item(name));
                EXPECT_EQ(line.thickness, std::floor(scale())) << name << " at " << place + part;
                EXPECT_EQ(line.colors, std::set<QRgb>{BrandColors::borderSlate.rgb()}) << name << " at " << place + part;
            }
        }
    }
}

TEST(Separators, OfTheSmallWindowAreEqual)
{
    test::StatusFixture fixture;
    ViewTestWindow window{test::appView("StatusView"), fixture.model, {400, 620}};
    EXPECT_EQ(expectEqualLines(window), 5);
}

TEST(Separators, OfTheWalkthroughAreEqualOnEveryStep)
{
    test::OnboardingFixture fixture;
    ViewTestWindow window{test::OnboardingFixture::view, fixture.model, test::OnboardingFixture::size};
    setReducesMotion(window.engine(), true);
    fixture.appear();
    for (int step = 0; step < 5; ++step) {
        fixture.model.setCurrentStep(step);
        EXPECT_EQ(expectEqualLines(window), 2) << "step " << step + 1;
    }
}

}  // namespace
}  // namespace velmora
