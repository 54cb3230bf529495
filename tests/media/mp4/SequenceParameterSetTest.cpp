#include "media/mp4/SequenceParameterSet.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmora::mp4 {
namespace {

/// A parameter set whose fields are written one after another (ISO 14496-10 7.3.2.1.1), each kind of number as in 9.1.
class Bits {
public:
    Bits& number(int length, std::uint32_t value)
    {
        for (int bit = length; bit-- > 0;)
            bits_ += (value >> bit & 1U) != 0 ? '1' : '0';
        return *this;
    }

    Bits& exponential(std::uint32_t value)
    {
        int length = 0;
        while ((value + 1) >> (length + 1) != 0)
            ++length;
        return number(length, 0).number(length + 1, value + 1);
    }

    Bits& difference(int value) { return exponential(static_cast<std::uint32_t>(value > 0 ? 2 * value - 1 : -2 * value)); }

    Bits& append(const Bits& other)
    {
        bits_ += other.bits_;
        return *this;
    }

    /// With a stop bit, and with bytes that keep it from looking like a start code.
    [[nodiscard]] std::vector<std::byte> unit() const
    {
        auto bits = bits_ + '1';
        bits.resize((bits.size() + 7) / 8 * 8, '0');
        std::vector<std::byte> bytes;
        int zeros = 0;
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            const auto byte = static_cast<std::byte>(std::stoi(bits.substr(i, 8), nullptr, 2));
            if (zeros == 2 && byte <= std::byte{3}) {
                bytes.push_back(std::byte{3});
                zeros = 0;
            }
            zeros = byte == std::byte{0} ? zeros + 1 : 0;
            bytes.push_back(byte);
        }
        return bytes;
    }

private:
    std::string bits_;
};

Bits head(std::uint32_t profile)
{
    return Bits{}.number(8, 0x67).number(8, profile).number(16, 0x001F).exponential(0);
}

Bits order()
{
    return Bits{}.exponential(0).exponential(2).exponential(4).number(1, 0);
}

Bits size()
{
    return Bits{}.exponential(39).exponential(29).number(1, 1).number(1, 1).number(1, 0);
}

/// Says nothing about shape, overscan, signal and place of chroma.
Bits plainLook()
{
    return Bits{}.number(4, 0);
}

constexpr std::uint32_t fieldTicks = 1001;
constexpr std::uint32_t ticksASecond = 60000;

Bits timing(std::uint32_t ticksOfAField = fieldTicks, std::uint32_t timeScale = ticksASecond)
{
    return Bits{}.number(1, 1).number(32, ticksOfAField).number(32, timeScale).number(1, 1).number(6, 0);
}

Bits joined(std::initializer_list<Bits> parts)
{
    Bits all;
    for (const auto& part : parts)
        all.append(part);
    return all;
}

Bits looks(const Bits& look)
{
    return Bits{}.number(1, 1).append(look);
}

std::vector<std::byte> configurationOf(const std::vector<std::byte>& unit, std::uint32_t count = 1)
{
    std::vector<std::byte> bytes(5, std::byte{1});
    bytes.push_back(static_cast<std::byte>(0xE0 | count));
    bytes.push_back(static_cast<std::byte>(unit.size() >> 8));
    bytes.push_back(static_cast<std::byte>(unit.size() & 0xFF));
    bytes.insert(bytes.end(), unit.begin(), unit.end());
    return bytes;
}

std::optional<MediaTime> durationOf(const Bits& bits)
{
    return declaredPictureDuration(configurationOf(bits.unit()));
}

/// Expects `bits` to say two fields of `fieldTicks`.
void expectTold(const char* what, const Bits& bits)
{
    const auto told = durationOf(bits);
    ASSERT_TRUE(told) << what;
    EXPECT_EQ(told->value, 2 * fieldTicks) << what;
    EXPECT_EQ(told->timescale, static_cast<std::int32_t>(ticksASecond)) << what;
}

TEST(SequenceParameterSet, TellsHowLongAPictureLastsBehindAnythingThatMayStandBeforeIt)
{
    const auto behind = [](const Bits& sampleFormat) {
        return joined({head(100), sampleFormat, order(), size(), looks(plainLook()), timing()});
    };
    expectTold("a plain one", joined({head(66), order(), size(), looks(plainLook()), timing()}));
    expectTold("of the high profile", behind(Bits{}.exponential(1).exponential(0).exponential(0).number(1, 0).number(1, 0)));
    expectTold("with chroma of full size",
        behind(Bits{}.exponential(3).number(1, 1).exponential(2).exponential(2).number(1, 0).number(1, 1).number(12, 0)));

    // Lists of how coefficients are scaled: each entry is the difference from the one before, 0 ends a list early.
    const auto lists = Bits{}.exponential(1).exponential(0).exponential(0).number(1, 0).number(1, 1);
    auto endsEarly = lists;
    endsEarly.number(1, 1).difference(3).difference(-11).number(7, 0);
    expectTold("with a list that ends early", behind(endsEarly));
    auto whole = lists;
    whole.number(6, 0).number(1, 1).difference(-7);
    for (int i = 1; i < 64; ++i)
        whole.difference(i % 2 == 0 ? -5 : 5);
    expectTold("with a list of 64 that passes 1", behind(whole.number(1, 0)));
    auto small = lists;
    small.number(1, 1).difference(-9);  // 255
    for (int i = 1; i < 16; ++i)
        small.difference(2);
    expectTold("with a list of 16 that goes round", behind(small.number(7, 0)));

    const auto after = [](const Bits& picturesOrder, const Bits& picturesSize, const Bits& look) {
        return joined({head(77), picturesOrder, picturesSize, looks(look), timing()});
    };
    expectTold(
        "with counted order", after(Bits{}.exponential(3).exponential(0).exponential(5).exponential(4).number(1, 0), size(), plainLook()));
    expectTold("with an order that repeats",
        after(joined({Bits{}.exponential(3).exponential(1).number(1, 0).difference(-2).difference(3).exponential(2), Bits{}.difference(7),
                  Bits{}.difference(-7), Bits{}.exponential(4).number(1, 0)}),
            size(), plainLook()));
    expectTold("of fields too",
        after(order(), Bits{}.exponential(39).exponential(14).number(1, 0).number(1, 1).number(1, 1).number(1, 0), plainLook()));
    expectTold("cropped",
        after(order(),
            Bits{}
                .exponential(39)
                .exponential(29)
                .number(1, 1)
                .number(1, 1)
                .number(1, 1)
                .exponential(0)
                .exponential(3)
                .exponential(1)
                .exponential(2),
            plainLook()));
    expectTold("with a shape that has a name", after(order(), size(), Bits{}.number(1, 1).number(8, 254).number(3, 0)));
    expectTold("with a shape of its own", after(order(), size(), Bits{}.number(1, 1).number(8, 255).number(32, 0x00040003).number(3, 0)));
    expectTold("with overscan", after(order(), size(), Bits{}.number(1, 0).number(2, 3).number(2, 0)));
    expectTold("with its signal", after(order(), size(), Bits{}.number(2, 0).number(1, 1).number(4, 10).number(1, 0).number(1, 0)));
    expectTold("with its colours",
        after(order(), size(), Bits{}.number(2, 0).number(1, 1).number(4, 10).number(1, 1).number(24, 0x010101).number(1, 0)));
    expectTold("with the place of chroma", after(order(), size(), Bits{}.number(3, 0).number(1, 1).exponential(2).exponential(5)));
}

TEST(SequenceParameterSet, WithoutATimeTellsNothing)
{
    const auto start = joined({head(66), order(), size()});
    EXPECT_FALSE(durationOf(joined({start, Bits{}.number(1, 0)})));
    EXPECT_FALSE(durationOf(joined({start, looks(plainLook()), Bits{}.number(1, 0).number(32, 1).number(32, 1).number(9, 0)})));
    EXPECT_FALSE(durationOf(joined({start, looks(plainLook()), timing(0, ticksASecond)})));
    EXPECT_FALSE(durationOf(joined({start, looks(plainLook()), timing(fieldTicks, 0)})));
    EXPECT_FALSE(durationOf(joined({start, looks(plainLook()), timing(fieldTicks, 0x80000000)})));
    EXPECT_TRUE(durationOf(joined({start, looks(plainLook()), timing(fieldTicks, 0x7FFFFFFF)})));
}

TEST(SequenceParameterSet, ThatIsNotThereOrCutOffTellsNothing)
{
    const auto unit = joined({head(66), order(), size(), looks(plainLook()), timing()}).unit();
    EXPECT_TRUE(declaredPictureDuration(configurationOf(unit)));
    EXPECT_FALSE(declaredPictureDuration(configurationOf(unit, 0)));
    EXPECT_FALSE(declaredPictureDuration(configurationOf({})));
    EXPECT_FALSE(declaredPictureDuration({}));
    auto cut = unit;
    cut.resize(unit.size() - 2);
    EXPECT_FALSE(declaredPictureDuration(configurationOf(cut)));
    auto claimed = configurationOf(unit);
    claimed.pop_back();
    EXPECT_FALSE(declaredPictureDuration(claimed));
}

/// The header of a slice, as far as its number, with what follows it.
Bits slice(std::uint32_t kind, const Bits& upToNumber, std::uint32_t number)
{
    return Bits{}.number(8, kind).exponential(0).exponential(7).exponential(0).append(upToNumber).exponential(number).number(24, 0xABCDEF);
}

void appendUnit(std::vector<std::byte>& stream, const std::vector<std::byte>& unit)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        stream.push_back(static_cast<std::byte>(unit.size() >> shift & 0xFF));
    stream.insert(stream.end(), unit.begin(), unit.end());
}

std::optional<std::uint32_t> numberIn(const Bits& parameters, const Bits& header)
{
    std::vector<std::byte> stream;
    appendUnit(stream, Bits{}.number(8, 0x06).number(16, 0x0500).unit());  // a message before the picture
    appendUnit(stream, header.unit());
    return keyFrameNumber(configurationOf(parameters.unit()), stream);
}

constexpr std::uint32_t keyFrame = 0x65;
constexpr std::uint32_t otherFrame = 0x41;

TEST(SequenceParameterSet, TheNumberOfAKeyFrameIsReadBehindWhatStandsBeforeIt)
{
    const auto fields = Bits{}.exponential(39).exponential(29).number(1, 0).number(1, 0).number(1, 1).number(1, 0);
    const auto longNumbers = Bits{}.exponential(12).exponential(2).exponential(4).number(1, 0);
    for (const std::uint32_t number : {0U, 1U, 2U, 65535U}) {
        const auto frameNumber = Bits{}.number(4, 0);
        EXPECT_EQ(numberIn(joined({head(66), order(), size(), plainLook()}), slice(keyFrame, frameNumber, number)), number);
        EXPECT_EQ(numberIn(joined({head(66), longNumbers, size(), plainLook()}), slice(keyFrame, Bits{}.number(16, 0), number)), number);
        EXPECT_EQ(
            numberIn(joined({head(66), order(), fields, plainLook()}), slice(keyFrame, Bits{}.number(4, 0).number(1, 0), number)), number);
        EXPECT_EQ(
            numberIn(joined({head(66), order(), fields, plainLook()}), slice(keyFrame, Bits{}.number(4, 0).number(2, 3), number)), number);
        const auto separate = Bits{}.exponential(3).number(1, 1).exponential(0).exponential(0).number(2, 0);
        EXPECT_EQ(numberIn(joined({head(244), separate, order(), size(), plainLook()}),
                      slice(keyFrame, Bits{}.number(2, 1).number(4, 0), number)),
            number);
    }
}

TEST(SequenceParameterSet, WhereThereIsNoKeyFrameItHasNoNumber)
{
    const auto parameters = joined({head(66), order(), size(), plainLook()});
    EXPECT_FALSE(numberIn(parameters, slice(otherFrame, Bits{}.number(4, 0), 1)));
    std::vector<std::byte> stream;
    appendUnit(stream, slice(keyFrame, Bits{}.number(4, 0), 1).unit());
    const auto configuration = configurationOf(parameters.unit());
    ASSERT_TRUE(keyFrameNumber(configuration, stream));
    EXPECT_FALSE(keyFrameNumber({}, stream));
    EXPECT_FALSE(keyFrameNumber(configuration, {}));
    for (std::size_t size = 0; size < stream.size(); ++size)
        EXPECT_FALSE(keyFrameNumber(configuration, std::span{stream}.first(size))) << size;
}

}  // namespace
}  // namespace velmora::mp4
