#include "engine/codecs/KeyFrameRequests.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::engine {
namespace {

TEST(KeyFrameRequests, NobodyWaitsUntilSomebodyAsksAndAfterThatIsFulfilled)
{
    KeyFrameRequests requests;
    EXPECT_FALSE(requests.last());
    const auto request = requests.ask();
    const auto asked = requests.last();
    ASSERT_TRUE(asked);
    EXPECT_EQ(requests.last(), asked) << "looking changes nothing";
    requests.fulfil(*asked);
    EXPECT_FALSE(requests.last());
}

TEST(KeyFrameRequests, ARequestEndsWithWhoeverAsked)
{
    KeyFrameRequests requests;
    {
        const auto request = requests.ask();
        EXPECT_TRUE(requests.last());
    }
    EXPECT_FALSE(requests.last());
    auto request = requests.ask();
    request.end();
    EXPECT_FALSE(requests.last());
    request.end();
}

TEST(KeyFrameRequests, ARequestThatMovesIsStillOne)
{
    KeyFrameRequests requests;
    auto first = requests.ask();
    auto second = std::move(first);
    EXPECT_TRUE(requests.last());
    second = requests.ask();
    const auto asked = requests.last();
    second = KeyFrameRequests::Registration{};
    EXPECT_TRUE(asked);
    EXPECT_FALSE(requests.last()) << "the one that was replaced has ended too";
}

TEST(KeyFrameRequests, AKeyFrameIsForAllWhoAskedBeforeItAndForNobodyAfter)
{
    KeyFrameRequests requests;
    const auto first = requests.ask();
    const auto second = requests.ask();
    const auto encoding = requests.last();
    const auto third = requests.ask();
    requests.fulfil(*encoding);
    ASSERT_TRUE(requests.last());
    EXPECT_GT(*requests.last(), *encoding);
    requests.fulfil(*requests.last());
    EXPECT_FALSE(requests.last());
}

TEST(KeyFrameRequests, WhoStillWaitsIsNotForgottenWhenTheLastGivesUp)
{
    KeyFrameRequests requests;
    const auto first = requests.ask();
    {
        const auto second = requests.ask();
    }
    EXPECT_TRUE(requests.last());
}

TEST(KeyFrameRequests, CopiesSpeakOfTheSame)
{
    KeyFrameRequests requests;
    auto copy = requests;
    const auto request = requests.ask();
    ASSERT_TRUE(copy.last());
    copy.fulfil(*copy.last());
    EXPECT_FALSE(requests.last());
    EXPECT_FALSE(KeyFrameRequests{}.last());
}

TEST(KeyFrameRequests, ARequestMayOutliveWhatItWasMadeOf)
{
    std::optional<KeyFrameRequests> requests{std::in_place};
    const auto request = requests->ask();
    const auto observation = requests->observe([] {});
    requests.reset();
}

TEST(KeyFrameRequests, ObserversHearOfEachRequestUntilTheyLetGo)
{
    KeyFrameRequests requests;
    int first = 0;
    int second = 0;
    auto observation = requests.observe([&] { ++first; });
    {
        const auto other = requests.observe([&] { ++second; });
        static_cast<void>(requests.ask());
    }
    static_cast<void>(requests.ask());
    observation.end();
    static_cast<void>(requests.ask());
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
}

TEST(KeyFrameRequests, ThreadsThatAskEncodeAndObserveAtOnceLoseNothing)
{
    constexpr int rounds = 2000;
    KeyFrameRequests requests;
    std::atomic<bool> isOver = false;
    std::atomic<int> heard = 0;
    const auto observation = requests.observe([&] { ++heard; });
    std::thread encoder{[&] {
        while (!isOver) {
            if (const auto asked = requests.last())
                requests.fulfil(*asked);
            std::this_thread::yield();
        }
    }};
    std::thread watcher{[&] {
        while (!isOver) {
            int own = 0;
            auto brief = requests.observe([&own] { ++own; });
            brief.end();
            // It would be a call after the end: own is read without a lock.
            EXPECT_GE(own, 0);
            std::this_thread::yield();
        }
    }};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 2; ++writer) {
        writers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round)
                static_cast<void>(requests.ask());
        });
    }
    for (auto& writer : writers)
        writer.join();
    isOver = true;
    encoder.join();
    watcher.join();
    EXPECT_EQ(heard, 2 * rounds);
    EXPECT_FALSE(requests.last());
}

}  // namespace
}  // namespace velmora::engine
