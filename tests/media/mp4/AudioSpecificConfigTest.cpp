#include "media/mp4/AudioSpecificConfig.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <vector>

namespace velmora::mp4 {
namespace {

bool isPlain(std::initializer_list<int> bytes)
{
    std::vector<std::byte> configuration;
    for (const int byte : bytes)
        configuration.push_back(static_cast<std::byte>(byte));
    return isPlainAacLc(configuration);
}

TEST(AudioSpecificConfig, AacLcIsPlain)
{
    EXPECT_TRUE(isPlain({0x11, 0x90}));  // 48 kHz, stereo
    EXPECT_TRUE(isPlain({0x12, 0x08}));  // 44.1 kHz, mono
    EXPECT_TRUE(isPlain({0x17, 0x80, 0x5D, 0xC0, 0x10}));  // its rate in full
}

TEST(AudioSpecificConfig, AacLcThatSaysThatNothingIsOnTopIsPlain)
{
    EXPECT_TRUE(isPlain({0x11, 0x90, 0x56, 0xE5, 0x00}));
}

TEST(AudioSpecificConfig, BandReplicationIsNotPlainHoweverItIsTold)
{
    EXPECT_FALSE(isPlain({0x2B, 0x11, 0x88, 0x00}));
    EXPECT_FALSE(isPlain({0xEB, 0x11, 0x88, 0x00}));  // with parametric stereo
    EXPECT_FALSE(isPlain({0x13, 0x10, 0x56, 0xE5, 0x98}));  // after AAC-LC
}

TEST(AudioSpecificConfig, OtherKindsOfAacAndNothingAtAllAreNotPlain)
{
    EXPECT_FALSE(isPlain({0x09, 0x90}));  // AAC Main
    EXPECT_FALSE(isPlain({0x21, 0x90}));  // long-term prediction
    EXPECT_FALSE(isPlain({0xF8, 0xE6, 0x40}));  // low delay, by an escape
    EXPECT_FALSE(isPlain({}));
    EXPECT_FALSE(isPlain({0x11}));
}

}  // namespace
}  // namespace velmora::mp4
