// Fragmented files of other programs, with everything that is odd about them: all of it is read, or the reader says what was not.

#include "media/mp4/BoxReader.h"
#include "media/mp4/BoxWriter.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/MovieSerializer.h"
#include "media/mp4/RecordingLayout.h"
#include "media/mp4/Trimmer.h"
#include "tests/support/media/MemoryFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>
#include <string_view>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

using Bytes = std::vector<std::byte>;

constexpr int picturesInFragment = 6;
constexpr std::uint32_t pictureTicks = 3000;  // 30 a second
constexpr std::uint32_t pictureSize = 10;

Bytes bytes(std::initializer_list<int> values)
{
    Bytes result;
    for (const auto value : values)
        result.push_back(static_cast<std::byte>(value));
    return result;
}

Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes result;
    for (const auto& part : parts)
        result.insert(result.end(), part.begin(), part.end());
    return result;
}

/// "ftyp" and "moov" of a fragmented file with one track of pictures.
Bytes head()
{
    Movie movie;
    movie.timescale = videoTimescale;
    movie.isFragmented = true;
    Track track;
    track.id = 1;
    track.timescale = videoTimescale;
    track.format = std::make_shared<const FormatDescription>(VideoFormat{FourCharacterCode{"avc1"}, 320, 240, ColourDescription::bt709(),
        bytes({1, 100, 0, 31, 0xFF, 0xE1, 0, 4, 0x67, 100, 0, 31, 1, 0, 2, 0x68, 0xEE, 0xFD, 0xF8, 0xF8, 0})});
    movie.tracks.push_back(std::move(track));
    BoxWriter writer;
    {
        const auto box = writer.box("ftyp");
        writer.text("iso6");
        writer.u32(0);
    }
    writer.bytes(serializeMovie(movie));
    return writer.take();
}

/// The bytes of the picture with that number.
Bytes picture(int number)
{
    return bytes({0, 0, 0, 6, number % picturesInFragment == 0 ? 0x65 : 0x41, number, 1, 2, 3, 4});
}

/// The "moof" of the fragment with that number.
Bytes index(int number)
{
    FragmentRun run{1, std::int64_t{number} * picturesInFragment * pictureTicks, {}};
    for (int i = 0; i < picturesInFragment; ++i)
        run.samples.push_back({pictureSize, pictureTicks, 0, i == 0});
    return serializeFragment(static_cast<std::uint32_t>(number + 1), {run});
}

Bytes pictures(int number)
{
    Bytes result;
    for (int i = 0; i < picturesInFragment; ++i) {
        const auto one = picture(number * picturesInFragment + i);
        result.insert(result.end(), one.begin(), one.end());
    }
    return result;
}

Bytes media(const Bytes& content)
{
    BoxWriter writer;
    const auto size = static_cast<std::uint32_t>(content.size() + 8);
    writer.u32(size);
    writer.text("mdat");
    writer.bytes(content);
    return writer.take();
}

Bytes fragment(int number)
{
    return joined({index(number), media(pictures(number))});
}

std::size_t placeOf(const Bytes& content, std::string_view type)
{
    const auto wanted = std::as_bytes(std::span{type.data(), type.size()});
    return static_cast<std::size_t>(std::search(content.begin(), content.end(), wanted.begin(), wanted.end()) - content.begin());
}

/// Makes the only run of `moof` begin `distance` bytes later.
Bytes movedBy(Bytes moof, std::uint32_t distance)
{
    const auto place = placeOf(moof, "trun") + 12;
    BoxWriter writer;
    std::uint32_t offset = 0;
    for (std::size_t i = 0; i < 4; ++i)
        offset = offset << 8 | static_cast<std::uint32_t>(moof[place + i]);
    writer.u32(offset + distance);
    std::copy(writer.view().begin(), writer.view().end(), moof.begin() + static_cast<std::ptrdiff_t>(place));
    return moof;
}

/// The numbers that the pictures read carry, at ascending times; -1 where one lies at another's time.
std::vector<int> numbersIn(const Bytes& content)
{
    MemoryFile file{content};
    const auto read = readMovie(file);
    EXPECT_TRUE(read) << (read ? "" : read.error().localizedDescription);
    std::vector<int> numbers;
    if (!read || read->movie.tracks.size() != 1)
        return numbers;
    for (const auto& sample : read->movie.tracks[0].samples.expanded()) {
        const auto number = static_cast<int>(content.at(sample.offset + 5));
        numbers.push_back(sample.decodeTime == number * std::int64_t{pictureTicks} && sample.size == pictureSize ? number : -1);
    }
    return numbers;
}

std::vector<int> upTo(int end)
{
    std::vector<int> numbers(static_cast<std::size_t>(end));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

std::optional<Unread> unreadOf(const Bytes& content)
{
    MemoryFile file{content};
    const auto read = readMovie(file);
    EXPECT_TRUE(read);
    return read ? read->unread : std::nullopt;
}

/// What a trim up to `end` says; empty when it is written.
std::string refusal(const Bytes& content, MediaTime end)
{
    MemoryFile source{content};
    MemoryFile target;
    const auto outcome = trim(source, {MediaTime::zero(), end}, target);
    return outcome ? "" : outcome.error().localizedDescription;
}

constexpr MediaTime farAway{1000, 1};

TEST(ForeignFragments, AFileThatIsInOrderIsReadToItsEnd)
{
    const auto file = joined({head(), fragment(0), fragment(1), fragment(2)});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(18)));
    EXPECT_FALSE(unreadOf(file));
    EXPECT_EQ(refusal(file, farAway), "");
}

TEST(ForeignFragments, AFragmentThatComesTwiceIsReadOnce)
{
    const auto file = joined({head(), fragment(0), fragment(1), fragment(1), fragment(2), fragment(0)});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(18)));
    EXPECT_FALSE(unreadOf(file));
}

TEST(ForeignFragments, FragmentsOutOfOrderAreReadInTheOrderOfTheirTimes)
{
    const auto file = joined({head(), fragment(2), fragment(0), fragment(3), fragment(1)});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(24)));
    EXPECT_FALSE(unreadOf(file));
}

TEST(ForeignFragments, AllIndexesMayStandBeforeAllMedia)
{
    const auto size = static_cast<std::uint32_t>(index(0).size());
    const auto all = static_cast<std::uint32_t>(pictures(0).size());
    const auto file = joined({head(), movedBy(index(0), 2 * size), movedBy(index(1), size + all), movedBy(index(2), 2 * all),
        media(joined({pictures(0), pictures(1), pictures(2)}))});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(18)));
    EXPECT_FALSE(unreadOf(file));
}

TEST(ForeignFragments, MediaMayStandBeforeItsIndex)
{
    const auto size = static_cast<std::uint32_t>(index(0).size() + pictures(0).size() + 8);
    auto moof = movedBy(index(0), 0U - size);
    const auto file = joined({head(), media(pictures(0)), moof, fragment(1)});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(12)));
}

TEST(ForeignFragments, BehindADamagedOneTheOthersAreReadAndATrimSaysFromWhereItCannot)
{
    for (const char* type : {"moof", "traf", "trun", "tfhd"}) {
        SCOPED_TRACE(type);
        auto damaged = fragment(1);
        damaged[placeOf(damaged, type) + 1] ^= std::byte{0x04};
        const auto file = joined({head(), fragment(0), damaged, fragment(2)});
        auto expected = upTo(6);
        for (int i = 12; i < 18; ++i)
            expected.push_back(i);
        EXPECT_THAT(numbersIn(file), ElementsAreArray(expected));
        const auto unread = unreadOf(file);
        ASSERT_TRUE(unread);
        EXPECT_EQ(unread->from, (MediaTime{6, 30}));
        EXPECT_THAT(unread->what, HasSubstr("at byte " + std::to_string(head().size() + fragment(0).size())));
        EXPECT_EQ(refusal(file, {6, 30}), "");
        EXPECT_THAT(refusal(file, {7, 30}), HasSubstr("cannot be trimmed beyond 0.200 s"));
    }
}

TEST(ForeignFragments, AFragmentOfATrackThatTheIndexDoesNotKnowIsSaid)
{
    auto damaged = fragment(1);
    // The number of its track, after version and flags.
    damaged[placeOf(damaged, "tfhd") + 9] ^= std::byte{0x01};
    const auto file = joined({head(), fragment(0), damaged, fragment(2)});
    auto expected = upTo(6);
    for (int i = 12; i < 18; ++i)
        expected.push_back(i);
    EXPECT_THAT(numbersIn(file), ElementsAreArray(expected));
    EXPECT_EQ(refusal(file, {6, 30}), "");
    EXPECT_THAT(refusal(file, {7, 30}), HasSubstr("cannot be trimmed beyond 0.200 s"));
}

TEST(ForeignFragments, FragmentsOfATrackThatIsNeitherPicturesNorSoundArePassedOver)
{
    auto withText = head();
    // The second track appears only in its defaults, which are all that is kept of it.
    BoxWriter defaults;
    {
        const auto box = defaults.box("trex");
        for (const std::uint32_t field : {0U, 2U, 1U, 0U, 0U, 0U})
            defaults.u32(field);
    }
    const auto extra = defaults.take();
    const auto mvex = placeOf(withText, "mvex") - 4;
    for (const auto place : {placeOf(withText, "moov") - 4, mvex}) {
        BoxWriter changed;
        changed.u32(ByteReader{std::span{withText}.subspan(place)}.u32() + static_cast<std::uint32_t>(extra.size()));
        std::copy(changed.view().begin(), changed.view().end(), withText.begin() + static_cast<std::ptrdiff_t>(place));
    }
    withText.insert(withText.begin() + static_cast<std::ptrdiff_t>(mvex + 8), extra.begin(), extra.end());
    auto text = fragment(1);
    text[placeOf(text, "tfhd") + 11] = std::byte{2};
    const auto file = joined({withText, fragment(0), text, fragment(1)});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(12)));
    EXPECT_FALSE(unreadOf(file));
}

TEST(ForeignFragments, AFileThatIsCutOffIsReadToItsLastWholePicture)
{
    auto file = joined({head(), fragment(0), fragment(1)});
    file.resize(file.size() - 15);
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(10)));
    const auto unread = unreadOf(file);
    ASSERT_TRUE(unread);
    EXPECT_EQ(unread->from, (MediaTime{10, 30}));
    EXPECT_EQ(refusal(file, {10, 30}), "");
    EXPECT_THAT(refusal(file, farAway), HasSubstr("beyond 0.333 s"));
}

TEST(ForeignFragments, AnIndexThatIsCutOffIsSaid)
{
    auto file = joined({head(), fragment(0), index(1)});
    file.resize(file.size() - 20);
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(6)));
    EXPECT_THAT(refusal(file, farAway), HasSubstr("cut off"));
}

TEST(ForeignFragments, AnotherFileBehindItIsSaid)
{
    const auto one = joined({head(), fragment(0), fragment(1)});
    const auto file = joined({one, one});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(12)));
    EXPECT_EQ(refusal(file, {12, 30}), "");
    EXPECT_THAT(refusal(file, farAway), HasSubstr("another movie begins"));
}

TEST(ForeignFragments, TwoFragmentsOfOneTimeAreSaid)
{
    auto other = fragment(1);
    // The size of its first picture, in its index.
    other[placeOf(other, "trun") + 16 + 7] = static_cast<std::byte>(pictureSize - 1);
    const auto file = joined({head(), fragment(0), fragment(1), fragment(2), other});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(18)));
    EXPECT_THAT(refusal(file, farAway), HasSubstr("beyond 0.200 s"));
}

TEST(ForeignFragments, AFewBytesBehindTheIndexOrTheFileAreNoDamage)
{
    const auto four = bytes({0, 0, 0, 0});
    for (const auto& file : {joined({head(), four, fragment(0), fragment(1)}), joined({head(), fragment(0), fragment(1), four}),
             joined({head(), fragment(0), fragment(1), four, four, four})}) {
        EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(12)));
        EXPECT_FALSE(unreadOf(file));
    }
    auto inside = head();
    const auto moov = placeOf(inside, "moov") - 4;
    BoxWriter size;
    size.u32(static_cast<std::uint32_t>(inside.size() - moov + 4));
    std::copy(size.view().begin(), size.view().end(), inside.begin() + static_cast<std::ptrdiff_t>(moov));
    EXPECT_THAT(numbersIn(joined({inside, four, fragment(0)})), ElementsAreArray(upTo(6)));
}

TEST(ForeignFragments, ABoxOfAnUnknownKindIsSaidAndPassedOver)
{
    auto unknown = media(pictures(1));
    unknown[placeOf(unknown, "mdat")] = std::byte{'q'};
    const auto file = joined({head(), fragment(0), unknown, fragment(1)});
    EXPECT_THAT(numbersIn(file), ElementsAreArray(upTo(12)));
    EXPECT_THAT(refusal(file, farAway), HasSubstr("unknown kind"));
}

}  // namespace
}  // namespace velmora::mp4
