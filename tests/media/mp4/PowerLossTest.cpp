#include "media/mp4/MovieReader.h"
#include "media/mp4/Repair.h"
#include "tests/media/mp4/Recordings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

// Everything before the last sync is on the disk; of what came after it, any part may be, sector by sector.
std::unique_ptr<MemoryFile> afterPowerLoss(const std::vector<MemoryFile::Operation>& journal, std::size_t count, std::mt19937& random)
{
    using Kind = MemoryFile::Operation::Kind;
    std::size_t synced = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (journal[i].kind == Kind::sync)
            synced = i;
    }
    auto file = std::make_unique<MemoryFile>();
    for (std::size_t i = 0; i < count; ++i) {
        const auto& operation = journal[i];
        const bool certain = i <= synced;
        if (operation.kind == Kind::truncate && (certain || random() % 2 == 0))
            static_cast<void>(file->truncate(operation.offset));
        if (operation.kind != Kind::write)
            continue;
        constexpr std::size_t sector = 512;
        for (std::size_t done = 0; done < operation.bytes.size();) {
            const auto offset = operation.offset + done;
            const auto length = std::min(operation.bytes.size() - done, sector - static_cast<std::size_t>(offset % sector));
            if (certain || random() % 2 == 0)
                static_cast<void>(file->writeAt(offset, std::span{operation.bytes}.subspan(done, length)));
            done += length;
        }
    }
    return file;
}

void expectNothingSyncedIsLost(std::uint32_t reserveSize)
{
    const auto& recording = makeRecording({.pictureCount = 45, .soundFrames = 72000, .clicks = {1000, 48000}});
    auto options = testOptions();
    options.reserveSize = reserveSize;
    std::vector<MemoryFile::Operation> journal;
    std::vector<std::size_t> fragmentsAt;  // journal length after each fragment
    const auto file = std::make_shared<MemoryFile>();
    file->journal = &journal;
    const auto writer = RecordingFile::create(file, options);
    ASSERT_TRUE(writer);
    ASSERT_TRUE((*writer)->start(recording.tracks));
    for (const auto& fragment : recording.fragments) {
        ASSERT_TRUE((*writer)->write(fragment));
        fragmentsAt.push_back(journal.size());
    }
    ASSERT_TRUE((*writer)->finish(recording.ends));

    std::mt19937 random{7};
    for (std::size_t count = fragmentsAt.front(); count <= journal.size(); ++count) {
        const auto whole = std::count_if(fragmentsAt.begin(), fragmentsAt.end(), [count](std::size_t at) { return at <= count; });
        for (int attempt = 0; attempt < 6; ++attempt) {
            SCOPED_TRACE("operation " + std::to_string(count) + ", attempt " + std::to_string(attempt));
            const auto survivor = afterPowerLoss(journal, count, random);
            const auto report = repair(*survivor);
            ASSERT_TRUE(report) << report.error().localizedDescription;
            const auto decoded = expectPlays(*survivor);
            EXPECT_GE(decoded.pictures.size(), static_cast<std::size_t>(std::min<std::ptrdiff_t>(whole * 15, 45)));
        }
    }
}

TEST(PowerLoss, LosesNothingThatWasSyncedAtAnyMoment)
{
    expectNothingSyncedIsLost(defaultReserveSize);
}

TEST(PowerLoss, LosesNothingThatWasSyncedWhereTheIndexIsAppended)
{
    expectNothingSyncedIsLost(512);
}

}  // namespace
}  // namespace velmora::mp4
