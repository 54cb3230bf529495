// A desktop that a test lays out by hand.
#pragma once

#include "platform/ShareableContent.h"
#include "platform/SoundActivity.h"
#include "platform/WindowIcons.h"
#include "platform/WindowRequests.h"

#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace velmora::fake {

/// Answers at once with `content` (or `error`), or keeps the queries until answerNext() when `holdsAnswers` is set.
class FakeShareableContent final : public platform::ShareableContentProvider,
                                   public platform::WindowRequests,
                                   public platform::WindowIcons,
                                   public platform::SoundActivity {
public:
    struct Query {
        bool excludingDesktopWindows;
        bool onScreenWindowsOnly;

        friend bool operator==(const Query&, const Query&) = default;
    };

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) override
    {
        queries.push_back({excludingDesktopWindows, onScreenWindowsOnly});
        if (holdsAnswers)
            held_.push_back({queries.back(), std::move(completion)});
        else
            completion(answer(queries.back()));
    }

    [[nodiscard]] platform::WindowRequests* requests() override { return grantsWindows ? this : nullptr; }

    [[nodiscard]] platform::WindowIcons* icons() override { return hasIcons ? this : nullptr; }

    [[nodiscard]] platform::SoundActivity* soundActivity() override { return tellsOfSounds ? this : nullptr; }

    std::unique_ptr<Observation> observe(Changed changed) override
    {
        struct Counted final : Observation {
            explicit Counted(int& n) : count(n) { ++count; }
            ~Counted() override { --count; }
            int& count;
        };
        soundsChanged = std::move(changed);
        return std::make_unique<Counted>(soundObservations);
    }

    /// Kept until a test answers.
    void findIcons(std::vector<std::uint32_t> windowIDs, int side, Found found) override
    {
        iconQuestions.push_back({std::move(windowIDs), side, std::move(found)});
    }

    [[nodiscard]] bool needsRequest(std::uint32_t windowID) const override { return windowsToRequest.contains(windowID); }

    void requestWindow(std::uint32_t windowID, RequestCompletion completion) override
    {
        requestedWindows.push_back(windowID);
        pendingRequest = std::move(completion);
    }

    void getSoundChoices(std::uint32_t windowID, SoundCompletion completion) override
    {
        soundQuestions.push_back(windowID);
        pendingSoundQuestion = std::move(completion);
    }

    void chooseSound(std::uint32_t windowID, const platform::SoundChoice& choice) override { chosenSounds.emplace_back(windowID, choice); }

    void giveBackWindow(std::uint32_t windowID) override { windowsGivenBack.push_back(windowID); }

    void answerNext()
    {
        auto [query, completion] = std::move(held_.front());
        held_.erase(held_.begin());
        completion(answer(query));
    }

    /// Answers the newest held query first, so that answers overtake each other.
    void answerLast()
    {
        auto [query, completion] = std::move(held_.back());
        held_.pop_back();
        completion(answer(query));
    }

    bool tellsOfSounds = false;
    int soundObservations = 0;  ///< at the moment
    Changed soundsChanged;  ///< of the last one, and kept when that has ended, as a call that is on its way

    struct IconQuestion {
        std::vector<std::uint32_t> windowIDs;
        int side;
        Found found;
    };

    bool hasIcons = true;  ///< this desktop tells of icons
    std::vector<IconQuestion> iconQuestions;
    platform::ShareableContent content;
    std::optional<Error> error;
    bool holdsAnswers = false;
    std::vector<Query> queries;
    bool grantsWindows = true;  ///< this desktop has requests
    std::set<std::uint32_t> windowsToRequest;
    std::vector<std::uint32_t> requestedWindows;
    RequestCompletion pendingRequest;
    std::vector<std::uint32_t> soundQuestions;
    SoundCompletion pendingSoundQuestion;
    std::vector<std::pair<std::uint32_t, platform::SoundChoice>> chosenSounds;
    std::vector<std::uint32_t> windowsGivenBack;

private:
    [[nodiscard]] Result<platform::ShareableContent> answer(const Query& query) const
    {
        if (error)
            return fail(*error);
        auto result = content;
        if (query.onScreenWindowsOnly)
            std::erase_if(result.windows, [](const auto& window) { return !window.isOnScreen; });
        return result;
    }

    std::vector<std::pair<Query, Completion>> held_;
};

}  // namespace velmora::fake
