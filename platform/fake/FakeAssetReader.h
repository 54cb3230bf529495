// Durations and pictures that a test chooses, answered at once or when the test says.
#pragma once

#include "platform/Asset.h"

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
            pending_.emplace_back(std::move(answer));
    }

    void loadPictureTimes(const std::filesystem::path&, UniqueFunction<void(Result<std::vector<MediaTime>>)> completion) override
    {
        auto answer = [completion = std::move(completion), result = pictureTimes]() mutable { completion(std::move(result)); };
        if (answersAtOnce)
            answer();
        else
            pending_.emplace_back(std::move(answer));
    }

    void generateImage(const std::filesystem::path&, MediaTime time, std::int32_t maximumWidth, std::int32_t maximumHeight,
        UniqueFunction<void(Result<PixelBufferRef>)> completion) override
    {
        imageTime = time;
        imageWidth = maximumWidth;
        imageHeight = maximumHeight;
        completion(image);
    }

    /// Answers what was asked so far, in that order.
    void answerAll()
    {
        for (auto& answer : std::exchange(pending_, {}))
            answer();
    }

    std::map<std::filesystem::path, MediaTime> durations;  ///< a file that is not here fails
    bool answersAtOnce = true;
    std::vector<std::filesystem::path> asked;
    Result<std::vector<MediaTime>> pictureTimes = fail("Velmora.Fake", 1, "no pictures");
    Result<PixelBufferRef> image = fail("Velmora.Fake", 1, "no picture");
    MediaTime imageTime;
    std::int32_t imageWidth = 0;
    std::int32_t imageHeight = 0;

private:
    std::vector<UniqueFunction<void()>> pending_;
};

}  // namespace velmora::fake
