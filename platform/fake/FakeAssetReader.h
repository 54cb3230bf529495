// Durations and pictures that a test chooses, answered at once or when the test says so.
#pragma once

#include "platform/Asset.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

namespace velmora::fake {

class FakeAssetReader final : public platform::AssetReader {
public:
    void loadDuration(const std::filesystem::path& file, UniqueFunction<void(Result<MediaTime>)> completion) override
    {
        asked.push_back(file);
        const auto found = durations.find(file);
        auto answer = [completion = std::move(completion),
                          result = found == durations.end()
                              ? fail("Velmora.Fake", 1, "no such asset")
                              : Result<MediaTime>{found->second}]() mutable { completion(std::move(result)); };
        if (answersAtOnce)
            answer();
        else
            pending_.push_back({file, std::move(answer)});
    }

    void loadPictureTimes(const std::filesystem::path& file, UniqueFunction<void(Result<std::vector<MediaTime>>)> completion) override
    {
        auto answer = [completion = std::move(completion), result = pictureTimes]() mutable { completion(std::move(result)); };
        if (answersAtOnce)
            answer();
        else
            pending_.push_back({file, std::move(answer)});
    }

    void generateImage(const std::filesystem::path&, MediaTime time, std::int32_t maximumWidth, std::int32_t maximumHeight,
        UniqueFunction<void(Result<PixelBufferRef>)> completion) override
    {
        imageTime = time;
        imageWidth = maximumWidth;
        imageHeight = maximumHeight;
        if (holdsImages)
            heldImages_.push_back(std::move(completion));
        else
            completion(image);
    }

    /// Hands out the pictures that were asked for while they were held.
    void handOutImages()
    {
        holdsImages = false;
        for (auto& completion : std::exchange(heldImages_, {}))
            completion(image);
    }

    /// Answers what has been asked so far, in that order; false if nothing has.
    bool answerAll()
    {
        auto questions = std::exchange(pending_, {});
        for (auto& question : questions)
            question.answer();
        return !questions.empty();
    }

    /// Answers the oldest question about this file, or the newest, which overtakes the others; false when there is none.
    bool answerOne(const std::filesystem::path& file) { return answer(0, file); }
    bool answerNewest(const std::filesystem::path& file)
    {
        const auto all = std::count_if(pending_.begin(), pending_.end(), [&](const auto& question) { return question.file == file; });
        return all > 0 && answer(all - 1, file);
    }

    std::map<std::filesystem::path, MediaTime> durations;  ///< a file that is not here fails
    bool answersAtOnce = true;
    std::vector<std::filesystem::path> asked;
    Result<std::vector<MediaTime>> pictureTimes = fail("Velmora.Fake", 1, "no pictures");
    Result<PixelBufferRef> image = fail("Velmora.Fake", 1, "no picture");
    MediaTime imageTime;
    std::int32_t imageWidth = 0;
    std::int32_t imageHeight = 0;
    bool holdsImages = false;

private:
    struct Question {
        std::filesystem::path file;
        UniqueFunction<void()> answer;
    };

    bool answer(std::ptrdiff_t older, const std::filesystem::path& file)
    {
        const auto found =
            std::find_if(pending_.begin(), pending_.end(), [&](const auto& question) { return question.file == file && older-- == 0; });
        if (found == pending_.end())
            return false;
        auto answer = std::move(found->answer);
        pending_.erase(found);
        answer();
        return true;
    }

    std::vector<Question> pending_;
    std::vector<UniqueFunction<void(Result<PixelBufferRef>)>> heldImages_;
};

}  // namespace velmora::fake
