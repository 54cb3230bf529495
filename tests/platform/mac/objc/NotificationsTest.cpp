// The adapter of the user's notifications on its stand-in.
#include "platform/mac/MacUserNotificationCenter.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/FolderStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/objc/UserNotificationsStandIn.h"

#include "base/Mutex.h"

#include <gmock/gmock.h>
#include <optional>
#include <utility>

namespace velmora::test {
namespace {

using platform::AuthorizationStatus;
using platform::NotificationContent;
using platform::NotificationResponse;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class Delegate final : public platform::UserNotificationCenterDelegate {
public:
    void willPresent(const NotificationContent& content, UniqueFunction<void(unsigned)> completion) override
    {
        presented.push_back(content);
        completion(options);
    }
    void didReceive(const NotificationResponse& response, UniqueFunction<void()> completion) override
    {
        responses.push_back(response);
        completion();
    }

    unsigned options = platform::presentation_option::banner | platform::presentation_option::sound;
    std::vector<NotificationContent> presented;
    std::vector<NotificationResponse> responses;
};

class MacNotificationsTest : public testing::TestWithParam<std::pair<bool, bool>> {
protected:
    MacNotificationsTest()
    {
        standin::notifications() = {};
        standin::notifications().answersAtOnce = GetParam().first;
        standin::notifications().answersTwice = GetParam().second;
    }
    ~MacNotificationsTest() override
    {
        standin::finishAnswers();
        centres_ = {};
        EXPECT_FALSE(standin::hasNotificationDelegate());
    }
    MacNotificationsTest(const MacNotificationsTest&) = delete;
    MacNotificationsTest& operator=(const MacNotificationsTest&) = delete;

    /// The answers that a call got, once the system has answered.
    template <typename T>
    struct Answers {
        UniqueFunction<void(T)> take()
        {
            return [this](T answer) { all.push_back(std::move(answer)); };
        }
        std::vector<T> all;
    };

private:
    const ObjectCount count_{standin::resetAppKit};

protected:
    mac_backend::UserNotificationCenters centres_ = mac_backend::makeUserNotificationCenters();
    const std::shared_ptr<Delegate> delegate_ = std::make_shared<Delegate>();
    const std::shared_ptr<Delegate> quietDelegate_ = std::make_shared<Delegate>();
};

INSTANTIATE_TEST_SUITE_P(Mac, MacNotificationsTest,
    testing::Values(std::pair{false, false}, std::pair{true, false}, std::pair{false, true}), [](const auto& parameter) {
        return std::string{parameter.param.first ? "AnsweredWithinTheCall" : "AnsweredLater"} + (parameter.param.second ? "Twice" : "");
    });

NotificationContent content()
{
    return {.title = "Clip Saved (2.0s)",
        .body = "größe \xFF.mp4",
        .playsDefaultSound = true,
        .categoryIdentifier = "CLIP_SAVED",
        .userInfo = {{"clip", "/clips/größe.mp4"}, {"n", ""}}};
}

TEST_P(MacNotificationsTest, EveryStatusIsTheSystems)
{
    for (const auto& [number, status] :
        {std::pair{0L, AuthorizationStatus::notDetermined}, {1L, AuthorizationStatus::denied}, {2L, AuthorizationStatus::authorized},
            {3L, AuthorizationStatus::provisional}, {4L, AuthorizationStatus::notDetermined}, {77L, AuthorizationStatus::notDetermined}}) {
        standin::notifications().status = number;
        Answers<AuthorizationStatus> answers;
        centres_.ordinary->getAuthorizationStatus(answers.take());
        standin::finishAnswers();
        EXPECT_THAT(answers.all, ElementsAre(status));
    }
}

TEST_P(MacNotificationsTest, AskingForLeaveIsAnsweredOnceWithWhatTheUserSays)
{
    Answers<Result<bool>> answers;
    const unsigned options = platform::authorization_option::alert | platform::authorization_option::sound;
    centres_.ordinary->requestAuthorization(options, answers.take());
    standin::finishAnswers();
    EXPECT_EQ(standin::notifications().askedOptions, options);
    ASSERT_THAT(answers.all, SizeIs(1));
    EXPECT_TRUE(answers.all[0].value());

    standin::notifications().isGranted = false;
    centres_.ordinary->requestAuthorization(options, answers.take());
    standin::finishAnswers();
    ASSERT_THAT(answers.all, SizeIs(2));
    EXPECT_FALSE(answers.all[1].value());

    standin::notifications().failsToAsk = true;
    centres_.ordinary->requestAuthorization(options, answers.take());
    standin::finishAnswers();
    ASSERT_THAT(answers.all, SizeIs(3));
    EXPECT_EQ(answers.all[2].error().domain, "UNErrorDomain");
}

TEST_P(MacNotificationsTest, WhatIsPostedIsWholeAndOfItsCentre)
{
    Answers<Result<void>> answers;
    centres_.ordinary->add({"id-1", content()}, answers.take());
    auto silent = content();
    silent.playsDefaultSound = false;
    centres_.quiet->add({"id-2", silent}, answers.take());
    standin::finishAnswers();
    ASSERT_THAT(answers.all, SizeIs(2));
    EXPECT_TRUE(answers.all[0]);
    EXPECT_TRUE(answers.all[1]);
    const auto& posted = standin::notifications().posted;
    ASSERT_THAT(posted, SizeIs(2));
    EXPECT_EQ(posted[0].identifier, "id-1");
    EXPECT_EQ(posted[0].title, "Clip Saved (2.0s)");
    EXPECT_EQ(posted[0].body, "gr???\?e ?.mp4");
    EXPECT_EQ(posted[0].category, "CLIP_SAVED");
    EXPECT_TRUE(posted[0].hasSound);
    EXPECT_EQ(posted[0].level, 1UL);
    EXPECT_FALSE(posted[1].hasSound);
    EXPECT_EQ(posted[1].level, 0UL);
}

TEST_P(MacNotificationsTest, AFailureToShowIsTold)
{
    standin::notifications().failsToAdd = true;
    Answers<Result<void>> answers;
    centres_.ordinary->add({"id", content()}, answers.take());
    standin::finishAnswers();
    ASSERT_THAT(answers.all, SizeIs(1));
    EXPECT_EQ(answers.all[0].error().domain, "UNErrorDomain");
}

TEST_P(MacNotificationsTest, TheCategoriesOfBothCentresAreThereWithTheirActions)
{
    centres_.ordinary->setNotificationCategories(
        {{"CLIP_SAVED", {{"PREVIEW", "Preview & Trim", true}, {"REVEAL", "Reveal in Finder", false}}}});
    centres_.quiet->setNotificationCategories({{"QUIET", {}}});
    const auto& categories = standin::notifications().categories;
    ASSERT_THAT(categories, SizeIs(2));
    EXPECT_EQ(categories[0].identifier, "CLIP_SAVED");
    EXPECT_THAT(
        categories[0].actions, ElementsAre(ElementsAre("PREVIEW", "Preview & Trim", "4"), ElementsAre("REVEAL", "Reveal in Finder", "0")));
    EXPECT_EQ(categories[0].options, 1UL);
    EXPECT_EQ(categories[1].identifier, "QUIET");
    centres_.ordinary->setNotificationCategories({});
    ASSERT_THAT(standin::notifications().categories, SizeIs(1));
    EXPECT_EQ(standin::notifications().categories[0].identifier, "QUIET");
}

TEST_P(MacNotificationsTest, WhatTheUserDoesComesToTheCentreThatPostedIt)
{
    centres_.ordinary->setDelegate(delegate_);
    centres_.quiet->setDelegate(quietDelegate_);
    centres_.ordinary->add({"id-1", content()});
    centres_.quiet->add({"id-2", content()});
    standin::finishAnswers();
    const auto posted = standin::notifications().posted;
    EXPECT_TRUE(standin::respondToNotification(posted[0], "REVEAL"));
    EXPECT_TRUE(standin::clickNotification(posted[0]));
    EXPECT_TRUE(standin::closeNotification(posted[1]));
    ASSERT_THAT(delegate_->responses, SizeIs(2));
    EXPECT_EQ(delegate_->responses[0].actionIdentifier, "REVEAL");
    EXPECT_THAT(delegate_->responses[0].content.userInfo, ElementsAre(Pair("clip", "/clips/größe.mp4"), Pair("n", "")));
    EXPECT_EQ(delegate_->responses[0].content.title, "Clip Saved (2.0s)");
    EXPECT_EQ(delegate_->responses[0].content.categoryIdentifier, "CLIP_SAVED");
    EXPECT_TRUE(delegate_->responses[0].content.playsDefaultSound);
    EXPECT_EQ(delegate_->responses[1].actionIdentifier, NotificationResponse::defaultActionIdentifier);
    ASSERT_THAT(quietDelegate_->responses, SizeIs(1));
    EXPECT_EQ(quietDelegate_->responses[0].actionIdentifier, NotificationResponse::dismissActionIdentifier);
}

TEST_P(MacNotificationsTest, TheDelegateSaysHowOneIsShownWhileTheProgramIsActive)
{
    centres_.ordinary->setDelegate(delegate_);
    centres_.ordinary->add({"id", content()});
    standin::finishAnswers();
    EXPECT_EQ(standin::presentNotification(standin::notifications().posted[0]), 18UL);
    ASSERT_THAT(delegate_->presented, SizeIs(1));
    EXPECT_THAT(delegate_->presented[0].userInfo, SizeIs(2));
}

TEST_P(MacNotificationsTest, TheSystemIsAnsweredWithoutADelegateToo)
{
    {
        const auto gone = std::make_shared<Delegate>();
        centres_.ordinary->setDelegate(gone);
    }
    centres_.ordinary->add({"id", content()});
    standin::finishAnswers();
    const auto posted = standin::notifications().posted[0];
    EXPECT_TRUE(standin::clickNotification(posted));
    EXPECT_EQ(standin::presentNotification(posted), 0UL);
}

TEST_P(MacNotificationsTest, AnAnswerToANotificationOfAnEarlierRunIsHeard)
{
    centres_.ordinary->setDelegate(delegate_);
    EXPECT_TRUE(standin::hasNotificationDelegate());
    EXPECT_TRUE(standin::clickNotification({.identifier = "old", .title = "t", .body = "b", .category = "CLIP_SAVED", .userInfo = {}}));
    EXPECT_THAT(delegate_->responses, SizeIs(1));
}

TEST_P(MacNotificationsTest, WithoutABundleNothingIsAskedOfTheSystem)
{
    standin::removeBundle();
    centres_.ordinary->setDelegate(delegate_);
    centres_.ordinary->setNotificationCategories({{"CLIP_SAVED", {}}});
    Answers<AuthorizationStatus> statuses;
    Answers<Result<bool>> leaves;
    Answers<Result<void>> results;
    centres_.ordinary->getAuthorizationStatus(statuses.take());
    centres_.ordinary->requestAuthorization(0, leaves.take());
    centres_.ordinary->add({"id", content()}, results.take());
    EXPECT_THAT(statuses.all, ElementsAre(AuthorizationStatus::denied));
    ASSERT_THAT(leaves.all, SizeIs(1));
    EXPECT_FALSE(leaves.all[0]);
    ASSERT_THAT(results.all, SizeIs(1));
    EXPECT_FALSE(results.all[0]);
    EXPECT_EQ(standin::notifications().centresAskedFor, 0);
}

}  // namespace
}  // namespace velmora::test
