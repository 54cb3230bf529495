// How a test steers the stand-in for the user's notifications, and what it says of its use. Main thread only, except where stated.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora::standin {

struct PostedCategory {
    std::string identifier;
    std::vector<std::vector<std::string>> actions;  ///< identifier, title, options
    unsigned long options = 0;
};
struct PostedNotification {
    std::string identifier;
    std::string title;
    std::string body;
    std::string category;
    bool hasSound = false;
    unsigned long level = 1;
    std::map<std::string, std::string> userInfo;
};
struct Notifications {
    long status = 0;
    bool isGranted = true;
    bool failsToAsk = false;
    bool failsToAdd = false;
    bool answersTwice = false;
    bool answersAtOnce = false;

    int centresAskedFor = 0;
    unsigned long askedOptions = 0;
    std::vector<PostedCategory> categories;
    std::vector<PostedNotification> posted;
};
Notifications& notifications();

/// Waits for what is being answered on another thread.
void finishAnswers();

/// What the delegate answers to a notification that is posted to an active program; none where it does not answer. On another thread.
std::optional<unsigned long> presentNotification(const PostedNotification& notification);

/// Whether the delegate answered to what the user did. On another thread.
bool respondToNotification(const PostedNotification& notification, const std::string& action);
bool clickNotification(const PostedNotification& notification);
bool closeNotification(const PostedNotification& notification);
bool hasNotificationDelegate();

}  // namespace velmora::standin
