#include "brand/Symbols.h"

#include "brand/SymbolImageProvider.h"
#include "tests/brand/MarkGeometry.h"

#include <QDir>
#include <gtest/gtest.h>

namespace velmora {
namespace {

// In pixels; a half-covered one counts half.
double coveredArea(const QImage& image)
{
    double area = 0;
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column)
            area += image.pixelColor(column, row).alpha() / 255.0;
    return area;
}

TEST(Symbols, EveryNameDrawsSomethingInTheColourAtEverySize)
{
    const QColor color{0x30, 0xD1, 0x58};
    for (const auto& name : Symbols::names()) {
        for (const int side : {16, 20, 40, 64}) {
            const auto image = Symbols::image(name, color, {side, side});
            ASSERT_EQ(image.size(), QSize(side, side)) << name.toStdString();
            EXPECT_GT(coveredArea(image), 0.05 * side * side) << name.toStdString();
            EXPECT_LT(coveredArea(image), 0.8 * side * side) << name.toStdString();
        }
        test::expectOnlyColor(Symbols::image(name, color, {64, 64}), color);
    }
}

TEST(Symbols, NoTwoNamesDrawTheSame)
{
    const auto names = Symbols::names();
    for (qsizetype first = 0; first < names.size(); ++first)
        for (qsizetype second = first + 1; second < names.size(); ++second)
            EXPECT_NE(Symbols::image(names[first], Qt::white, {32, 32}), Symbols::image(names[second], Qt::white, {32, 32}))
                << names[first].toStdString() << " and " << names[second].toStdString();
}

TEST(Symbols, TheNamesThatTheViewsUseAreThere)
{
    for (const auto* name : {"arrow.clockwise", "checkmark.circle.fill", "cursorarrow.rays", "exclamationmark.triangle.fill", "globe",
             "lightbulb.fill", "lock.shield.fill", "macwindow", "macwindow.on.rectangle", "magnifyingglass", "pause.circle.fill",
             "play.circle.fill", "play.rectangle.fill", "shield.lefthalf.filled", "square.and.arrow.up", "xmark.circle.fill"})
        EXPECT_TRUE(Symbols::names().contains(QLatin1String(name))) << name;
}

TEST(Symbols, EveryDrawingHasAName)
{
    EXPECT_EQ(QDir{QStringLiteral(":/Velmora/Brand/symbols")}.entryList().size(), Symbols::names().size());
}

TEST(Symbols, AnUnknownNameDrawsNothing)
{
    EXPECT_TRUE(Symbols::image(QStringLiteral("no.such.symbol"), Qt::white, {20, 20}).isNull());
}

TEST(Symbols, TheLeftHalfOfTheHalfShieldIsFilledAndTheRightIsNot)
{
    const auto image = Symbols::image(QStringLiteral("shield.lefthalf.filled"), Qt::white, {64, 64});
    EXPECT_EQ(image.pixelColor(22, 30).alpha(), 255);
    EXPECT_EQ(image.pixelColor(42, 30).alpha(), 0);
}

TEST(SymbolImageProvider, DrawsAtTheSizeThatIsAskedFor)
{
    SymbolImageProvider provider;
    QSize size;
    const auto image = provider.requestImage(QStringLiteral("globe/FF3B30"), &size, {36, 36});
    EXPECT_EQ(size, QSize(36, 36));
    EXPECT_EQ(image, Symbols::image(QStringLiteral("globe"), QColor{0xFF, 0x3B, 0x30}, {36, 36}));
}

TEST(SymbolImageProvider, DrawsAt20PixelsWhenNoSizeIsAskedFor)
{
    SymbolImageProvider provider;
    EXPECT_EQ(provider.requestImage(QStringLiteral("globe/FF3B30"), nullptr, {}).size(), QSize(20, 20));
}

TEST(SymbolImageProviderDeathTest, EndsTheProgramForANameOrColourThatDoesNotExist)
{
    SymbolImageProvider provider;
    for (const auto* id : {"no.such.symbol/FF3B30", "globe/coral2", "globe", "globe/FF3B30/more"})
        EXPECT_DEATH(static_cast<void>(provider.requestImage(QLatin1String(id), nullptr, {20, 20})), "no symbol and colour") << id;
}

}  // namespace
}  // namespace velmora
