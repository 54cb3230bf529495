// A notification centre whose user is the test.
#pragma once

#include "platform/UserNotificationCenter.h"

#include <optional>
#include <utility>

namespace velmora::fake {

class FakeUserNotificationCenter final : public platform::UserNotificationCenter {
public:
    void setDelegate(std::weak_ptr<platform::UserNotificationCenterDelegate> delegate) override { delegate_ = std::move(delegate); }
    void setNotificationCategories(std::vector<platform::NotificationCategory> newCategories) override
    {
        categories = std::move(newCategories);
    }

    /// Held until `answerSettings`, as a real centre answers later.
    void getAuthorizationStatus(UniqueFunction<void(platform::AuthorizationStatus)> completion) override
    {
        settingsCompletions_.push_back(std::move(completion));
    }

    void requestAuthorization(unsigned options, UniqueFunction<void(Result<bool>)> completion) override
    {
        requestedOptions = options;
        completion(authorization);
    }

    using UserNotificationCenter::add;

    /// Held until `answerRequests`, as a real centre answers later.
    void add(const platform::NotificationRequest& request, UniqueFunction<void(Result<void>)> completion) override
    {
        requests.push_back(request);
        addCompletions_.push_back(std::move(completion));
    }

    /// All that were not answered yet.
    void answerRequests(const Result<void>& outcome = {})
    {
        for (auto& completion : std::exchange(addCompletions_, {}))
            completion(outcome);
    }

    void answerSettings()
    {
        for (auto& completion : std::exchange(settingsCompletions_, {}))
            completion(status);
    }

    /// The presentation options with which the delegate answers.
    std::optional<unsigned> present(const platform::NotificationContent& content)
    {
        std::optional<unsigned> options;
        if (const auto delegate = delegate_.lock())
            delegate->willPresent(content, [&](unsigned answered) { options = answered; });
        return options;
    }

    /// True when the delegate called the completion.
    bool respond(std::string action, const platform::NotificationContent& content)
    {
        bool isCompleted = false;
        if (const auto delegate = delegate_.lock())
            delegate->didReceive({std::move(action), content}, [&] { isCompleted = true; });
        return isCompleted;
    }

    platform::AuthorizationStatus status = platform::AuthorizationStatus::authorized;
    Result<bool> authorization = true;
    std::optional<unsigned> requestedOptions;
    std::vector<platform::NotificationCategory> categories;
    std::vector<platform::NotificationRequest> requests;

private:
    std::weak_ptr<platform::UserNotificationCenterDelegate> delegate_;
    std::vector<UniqueFunction<void(platform::AuthorizationStatus)>> settingsCompletions_;
    std::vector<UniqueFunction<void(Result<void>)>> addCompletions_;
};

}  // namespace velmora::fake
