#include "platform/linux/x11/ServerMemory.h"

#include "tests/platform/linux/x11/TestDesktop.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

class Transport : public testing::TestWithParam<ImageTransport> { };

TEST_P(Transport, FetchesAPartToItsPlaceAndNothingElse)
{
    TestDesktop desktop;
    const auto window = desktop.showWindow({.overridesRedirect = true});
    desktop.raise(window);
    desktop.fill(window, {0, 0, 400, 300}, 0x102030);
    desktop.fill(window, {11, 20, 2, 1}, 0xa1b2c3);
    desktop.sync();
    const auto memory = ServerMemory::allocate(desktop.connection(), 4096, GetParam());
    ASSERT_TRUE(memory);
    EXPECT_EQ((*memory)->transport(), GetParam());
    ASSERT_TRUE((*memory)->fetch(window, {10, 20, 4, 2}, 64));
    std::uint32_t pixels[8] = {};
    std::memcpy(pixels, (*memory)->block()->data() + 64, sizeof pixels);
    for (std::size_t index = 0; index < 8; ++index)
        EXPECT_EQ(pixels[index] & 0xffffff, index == 1 || index == 2 ? 0xa1b2c3U : 0x102030U) << index;
    EXPECT_EQ((*memory)->block()->data()[63], std::byte{0});
    EXPECT_EQ((*memory)->block()->data()[64 + 32], std::byte{0});
}

TEST_P(Transport, APartThatIsNotInsideIsRefusedAndTheConnectionLives)
{
    TestDesktop desktop;
    const auto pixmap = desktop.connection().newId();
    xcb_create_pixmap(desktop.xcb(), desktop.connection().screen().root_depth, pixmap, desktop.root(), 8, 8);
    const auto memory = ServerMemory::allocate(desktop.connection(), 4096, GetParam());
    ASSERT_TRUE(memory);
    EXPECT_FALSE((*memory)->fetch(pixmap, {4, 4, 8, 8}, 0));
    EXPECT_TRUE((*memory)->fetch(pixmap, {0, 0, 8, 8}, 0));
    EXPECT_FALSE(desktop.connection().isBroken());
}

TEST_P(Transport, TheBlockOutlivesItsConnection)
{
    std::shared_ptr<engine::MemoryBlock> block;
    {
        TestDesktop desktop;
        auto memory = ServerMemory::allocate(desktop.connection(), 4096, GetParam());
        ASSERT_TRUE(memory);
        block = (*memory)->block();
    }
    block->data()[4095] = std::byte{7};
    EXPECT_EQ(block->data()[4095], std::byte{7});
}

TEST_P(Transport, WhatIsGivenBackIsTakenByTheSystemAndCanBeFetchedIntoAgain)
{
    TestDesktop desktop;
    const auto pixmap = desktop.connection().newId();
    xcb_create_pixmap(desktop.xcb(), desktop.connection().screen().root_depth, pixmap, desktop.root(), 8, 8);
    desktop.fill(pixmap, {0, 0, 8, 8}, 0xa1b2c3);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto memory = ServerMemory::allocate(desktop.connection(), 3 * page, GetParam());
    ASSERT_TRUE(memory);
    auto* const data = (*memory)->block()->data();
    std::fill_n(data, 3 * page, std::byte{7});
    (*memory)->block()->giveBack(page, page);
    EXPECT_EQ(data[page - 1], std::byte{7});
    EXPECT_EQ(data[2 * page], std::byte{7});
    EXPECT_EQ(std::count(data + page, data + 2 * page, std::byte{0}), static_cast<std::ptrdiff_t>(page)) << "pages of zeros are new ones";
    ASSERT_TRUE((*memory)->fetch(pixmap, {0, 0, 8, 8}, page));
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, data + page + 63 * sizeof pixel, sizeof pixel);
    EXPECT_EQ(pixel & 0xffffff, 0xa1b2c3U);
}

INSTANTIATE_TEST_SUITE_P(
    ServerMemory, Transport, testing::Values(ImageTransport::fileDescriptor, ImageTransport::systemV, ImageTransport::socket));

TEST(ServerMemory, LeavesNoSystemVSegmentBehind)
{
    const auto segments = [] {
        // Segments of this process that are not marked for removal: the mode's SHM_DEST bit is 01000 (proc(5), sysvipc/shm).
        std::ifstream table("/proc/sysvipc/shm");
        std::string line;
        std::getline(table, line);
        int count = 0;
        long key = 0;
        long id = 0;
        long mode = 0;
        long long size = 0;
        long creator = 0;
        while (table >> key >> id >> std::oct >> mode >> std::dec >> size >> creator && std::getline(table, line))
            count += creator == getpid() && (mode & 01000) == 0;
        return count;
    };
    TestDesktop desktop;
    const auto before = segments();
    const auto memory = ServerMemory::allocate(desktop.connection(), 4096, ImageTransport::systemV);
    ASSERT_TRUE(memory);
    EXPECT_EQ((*memory)->transport(), ImageTransport::systemV);
    EXPECT_EQ(segments(), before);
}

}  // namespace
}  // namespace velmora::linux_backend
