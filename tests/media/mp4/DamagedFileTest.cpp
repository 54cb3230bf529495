#include "media/mp4/MovieReader.h"
#include "media/mp4/Repair.h"
#include "tests/media/mp4/Recordings.h"

#include <gtest/gtest.h>
#include <random>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

constexpr std::size_t reserve = 64;

// Where the interesting bytes are: all but the media.
std::vector<std::size_t> indexBytes(const std::vector<std::byte>& file, bool fragmented)
{
    std::vector<std::size_t> positions;
    const auto add = [&](std::size_t from, std::size_t to) {
        for (auto i = from; i < std::min(to, file.size()); ++i)
            positions.push_back(i);
    };
    add(0, reserveOffset + 8);
    for (std::size_t i = 0; i + 4 < file.size(); ++i) {
        const auto is = [&](const char* type) {
            for (std::size_t j = 0; j < 4; ++j) {
                if (file[i + j] != static_cast<std::byte>(type[j]))
                    return false;
            }
            return true;
        };
        if (is("moov"))
            add(i - 4, i + 1800);
        if (fragmented && is("moof"))
            add(i - 4, i + 900);
    }
    return positions;
}

void damageAndRead(const std::vector<std::byte>& original, bool fragmented, unsigned seed)
{
    std::mt19937 random{seed};
    const auto positions = indexBytes(original, fragmented);
    ASSERT_GT(positions.size(), 1000U);
    int readable = 0;
    int refused = 0;
    for (int round = 0; round < 1500; ++round) {
        auto bytes = original;
        const auto hits = 1 + random() % 4;
        for (unsigned i = 0; i < hits; ++i) {
            const auto position = positions[random() % positions.size()];
            switch (random() % 4) {
            case 0:
                bytes[position] = std::byte{0xFF};
                break;
            case 1:
                bytes[position] = std::byte{0};
                break;
            case 2:
                bytes[position] ^= static_cast<std::byte>(1U << random() % 8);
                break;
            default:
                for (std::size_t j = 0; j < 8 && position + j < bytes.size(); ++j)
                    bytes[position + j] = static_cast<std::byte>(random());
            }
        }
        MemoryFile file{bytes};
        const auto movie = readMovie(file);
        if (movie) {
            ++readable;
            // What is believed can be walked and measured, and lies inside the file.
            EXPECT_GE(presentationDuration(movie->movie).value, 0);
            for (const auto& track : movie->movie.tracks) {
                for (const auto& sample : track.samples.expanded())
                    EXPECT_LE(sample.offset + sample.size, bytes.size());
            }
        } else {
            ++refused;
            EXPECT_FALSE(movie.error().localizedDescription.empty());
        }
        const auto report = repair(file);
        if (!report) {
            EXPECT_EQ(file.content(), bytes);
        } else if (!report->wasFinished) {
            EXPECT_TRUE(readMovie(file));
        }
    }
    EXPECT_GT(readable, 50);
    EXPECT_GT(refused, 50);
}

TEST(DamagedFile, AFragmentedFileIsReadWithinItsBoundsOrRefused)
{
    const auto& recording = makeRecording({.pictureCount = 45, .soundFrames = 72000, .clicks = {1000}});
    auto options = testOptions();
    options.reserveSize = reserve;
    const auto file = std::make_shared<MemoryFile>();
    writeUnfinished(file, recording, recording.fragments.size(), options);
    damageAndRead(file->content(), true, 1);
}

TEST(DamagedFile, AnOrdinaryFileIsReadWithinItsBoundsOrRefused)
{
    const auto& recording = makeRecording({.pictureCount = 45, .soundFrames = 72000, .clicks = {1000}});
    auto options = testOptions();
    options.reserveSize = reserve;
    const auto file = std::make_shared<MemoryFile>();
    ASSERT_TRUE(writeUnfinished(file, recording, recording.fragments.size(), options)->finish(recording.ends));
    damageAndRead(file->content(), false, 2);
}

TEST(DamagedFile, ATruncatedOrdinaryFileIsRefused)
{
    const auto& recording = makeRecording({.pictureCount = 45, .soundFrames = 72000, .clicks = {1000}});
    auto bytes = finishedFile(recording)->content();
    bytes.resize(bytes.size() - 1000);
    MemoryFile file{bytes};
    const auto movie = readMovie(file);
    ASSERT_FALSE(movie);
    EXPECT_EQ(movie.error().code, static_cast<int>(ErrorCode::damaged));
}

}  // namespace
}  // namespace velmora::mp4
