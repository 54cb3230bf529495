#include "engine/pictures/SizeRequest.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace velmora::engine {
namespace {

/// Asks on a thread of its own, and returns once the request is there to be answered.
class Asking {
public:
    explicit Asking(SizeRequest& request)
    {
        thread_ = std::thread{[this, &request] { result_ = request.ask(800, 600, [this] { isThere_.set_value(); }); }};
        isThere_.get_future().wait();
    }

    ~Asking()
    {
        if (thread_.joinable())
            thread_.join();
    }

    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    const Result<void>& result()
    {
        thread_.join();
        return result_;
    }

private:
    std::promise<void> isThere_;
    Result<void> result_;
    std::thread thread_;
};

TEST(SizeRequest, TheAnswerIsWhatTheStreamsThreadMadeOfTheSizeAskedFor)
{
    SizeRequest request;
    std::vector<std::pair<std::int32_t, std::int32_t>> made;
    const auto make = [&](std::int32_t width, std::int32_t height) -> Result<void> {
        made.emplace_back(width, height);
        if (made.size() == 2)
            return fail("test", 3, "Not now.");
        return {};
    };
    request.answer(make);
    EXPECT_TRUE(made.empty()) << "nobody has asked";
    {
        Asking asking{request};
        request.answer(make);
        EXPECT_TRUE(asking.result());
    }
    request.answer(make);
    EXPECT_EQ(made.size(), 1U) << "each is answered once";
    Asking asking{request};
    request.answer(make);
    ASSERT_FALSE(asking.result());
    EXPECT_EQ(made, (std::vector<std::pair<std::int32_t, std::int32_t>>{{800, 600}, {800, 600}}));
}

TEST(SizeRequest, AStreamThatEndsAnswersWhoeverWaits)
{
    SizeRequest request;
    Asking asking{request};
    request.end();
    EXPECT_FALSE(asking.result());
}

TEST(SizeRequest, WhoAsksAfterTheEndIsAnsweredAtOnce)
{
    SizeRequest request;
    request.end();
    EXPECT_FALSE(request.ask(800, 600, [] { FAIL() << "there is no thread to wake"; }));
}

}  // namespace
}  // namespace velmora::engine
