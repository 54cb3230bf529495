#include "media/SampleBuffer.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(AttachmentDictionary, AMissingKeyOrAValueThatIsNoBooleanReadsAsFalse)
{
    const AttachmentDictionary dictionary{{"Flag", true}, {"Number", std::int64_t{1}}, {"Text", std::string{"true"}}};
    EXPECT_TRUE(dictionary.boolean("Flag"));
    EXPECT_FALSE(dictionary.boolean("Number"));
    EXPECT_FALSE(dictionary.boolean("Text"));
    EXPECT_FALSE(dictionary.boolean("Missing"));
}

TEST(AttachmentDictionary, SettingAKeyAgainReplacesItsValue)
{
    AttachmentDictionary dictionary{{"Flag", true}};
    dictionary.set("Flag", false);
    ASSERT_NE(dictionary.find("Flag"), nullptr);
    EXPECT_FALSE(dictionary.boolean("Flag"));
}

TEST(DataBlock, SharesItsBytesWithoutCopyingThem)
{
    std::vector<std::byte> bytes(100, std::byte{42});
    const auto* address = bytes.data();
    const auto block = DataBlock::owning(std::move(bytes));
    const DataBlock copy = block;
    EXPECT_EQ(block.bytes.data(), address);
    EXPECT_EQ(copy.bytes.data(), address);
    EXPECT_EQ(block.owner, copy.owner);
}

TEST(FourCharacterCode, IsTheBigEndianNumberOfItsText)
{
    EXPECT_EQ(FourCharacterCode{"avc1"}.value, 0x61766331U);
    EXPECT_EQ(FourCharacterCode{"aac "}.text(), "aac ");
}

}  // namespace
}  // namespace velmora
