#include "media/mp4/BoxReader.h"
#include "media/mp4/BoxWriter.h"

#include <gtest/gtest.h>

namespace velmora::mp4 {
namespace {

TEST(BoxWriter, FillsInTheSizesOfNestedBoxes)
{
    BoxWriter writer;
    {
        const auto outer = writer.box("moov");
        {
            const auto inner = writer.fullBox("mvhd", 1, 0x020304);
            writer.u64(7);
        }
        const auto last = writer.box("free");
    }
    const auto bytes = writer.take();
    ASSERT_EQ(bytes.size(), 8U + 12 + 8 + 8);
    ByteReader reader{bytes};
    const auto outer = nextBox(reader);
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer->type.text(), "moov");
    EXPECT_EQ(reader.remaining(), 0U);
    const auto inner = findBox(outer->payload, "mvhd");
    ASSERT_TRUE(inner);
    ByteReader content{inner->payload};
    const auto header = readFullBoxHeader(content);
    EXPECT_EQ(header.version, 1);
    EXPECT_EQ(header.flags, 0x020304U);
    EXPECT_EQ(content.u64(), 7U);
    EXPECT_FALSE(content.failed());
    const auto last = findBox(outer->payload, "free");
    ASSERT_TRUE(last);
    EXPECT_TRUE(last->payload.empty());
}

TEST(ByteReader, ReadingPastTheEndGivesZeroAndIsRemembered)
{
    const std::vector<std::byte> bytes(3, std::byte{0xFF});
    ByteReader reader{bytes};
    EXPECT_EQ(reader.u16(), 0xFFFF);
    EXPECT_EQ(reader.u32(), 0U);
    EXPECT_TRUE(reader.failed());
    EXPECT_EQ(reader.u8(), 0);
}

TEST(ByteReader, ReadsSignedNumbers)
{
    BoxWriter writer;
    writer.i32(-2);
    writer.i64(-3);
    const auto bytes = writer.take();
    ByteReader reader{bytes};
    EXPECT_EQ(reader.i32(), -2);
    EXPECT_EQ(reader.i64(), -3);
}

TEST(NextBox, ReadsASizeOf64Bits)
{
    BoxWriter writer;
    writer.u32(1);
    writer.text("mdat");
    writer.u64(20);
    writer.u32(5);
    const auto bytes = writer.take();
    ByteReader reader{bytes};
    const auto box = nextBox(reader);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->payload.size(), 4U);
}

TEST(NextBox, ASizeOfZeroMeansUpToTheEnd)
{
    BoxWriter writer;
    writer.u32(0);
    writer.text("mdat");
    writer.zeros(10);
    const auto bytes = writer.take();
    ByteReader reader{bytes};
    const auto box = nextBox(reader);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->payload.size(), 10U);
}

TEST(NextBox, ABoxThatClaimsMoreThanThereIsOrLessThanItsHeaderIsNone)
{
    for (const std::uint32_t size : {7U, 2U, 100U, 0xFFFFFFFFU}) {
        BoxWriter writer;
        writer.u32(size);
        writer.text("free");
        writer.zeros(8);
        const auto bytes = writer.take();
        ByteReader reader{bytes};
        EXPECT_FALSE(nextBox(reader)) << size;
        EXPECT_TRUE(reader.failed()) << size;
    }
    BoxWriter writer;
    writer.u32(1);
    writer.text("free");
    writer.u64(0xFFFFFFFFFFFFFFFFU);
    const auto bytes = writer.take();
    ByteReader reader{bytes};
    EXPECT_FALSE(nextBox(reader));
}

}  // namespace
}  // namespace velmora::mp4
