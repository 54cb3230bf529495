#include "platform/linux/kernel/BoundedQuestions.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using namespace std::chrono_literals;
using End = BoundedAnswer::End;

/// Far more than a test takes.
constexpr auto longPatience = 100s;

std::string hang()
{
    for (;;)
        ::pause();
}

TEST(BoundedQuestions, AnswersComeInTheOrderOfTheQuestionsHoweverLongTheyAre)
{
    const std::string longText(1'000'000, 'x');
    const std::vector<Question> questions{[&] { return longText; }, [] { return std::string{}; }, [] { return std::string{"third"}; }};
    const auto answers = askWithin(questions, longPatience);
    ASSERT_EQ(answers.size(), 3U);
    for (const auto& answer : answers)
        EXPECT_EQ(answer.end, End::answered);
    EXPECT_EQ(answers[0].text, longText);
    EXPECT_EQ(answers[1].text, "");
    EXPECT_EQ(answers[2].text, "third");
}

TEST(BoundedQuestions, OneThatHangsIsLateAndTheOthersAreAnswered)
{
    const std::vector<Question> questions{hang, [] { return std::string{"here"}; }};
    const auto answers = askWithin(questions, 500ms);
    EXPECT_EQ(answers[0].end, End::late);
    EXPECT_EQ(answers[0].text, "");
}

TEST(BoundedQuestions, OneThatEndsItsProcessIsNamedByItsSignalAndHarmsNobody)
{
    const std::vector<Question> questions{
        []() -> std::string {
            // What a sanitizer or a core dump would say of it is no news.
            ::signal(SIGABRT, SIG_DFL);
            ::kill(::getpid(), SIGKILL);
            return {};
        },
        []() -> std::string { ::_exit(7); },
        [] { return std::string{"here"}; },
    };
    const auto answers = askWithin(questions, longPatience);
    EXPECT_EQ(answers[0].end, End::died);
    EXPECT_EQ(answers[0].signal, SIGKILL);
    EXPECT_EQ(answers[1].end, End::died);
    EXPECT_EQ(answers[1].signal, 0);
    EXPECT_EQ(answers[2].text, "here");
}

TEST(BoundedQuestions, ASignalThatTheAskerHasBlockedEndsTheQuestion)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const std::vector<Question> questions{[]() -> std::string {
        ::raise(SIGTERM);
        return "it goes on";
    }};
    const auto answers = askWithin(questions, longPatience);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(answers[0].end, End::died);
    EXPECT_EQ(answers[0].signal, SIGTERM);
}

TEST(BoundedQuestions, NoneAreAnsweredAtOnce)
{
    EXPECT_TRUE(askWithin({}, longPatience).empty());
}

}  // namespace
}  // namespace velmora::linux_backend
