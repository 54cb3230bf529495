// Small pictures that come when a test says so.
#pragma once

#include "platform/Thumbnails.h"

#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace velmora::fake {

class FakeThumbnails final : public platform::Thumbnails {
public:
    struct Question {
        std::filesystem::path file;
        int side = 0;
        Completion completion;
    };

    void find(const std::filesystem::path& file, int side, Completion completion) override
    {
        found.push_back(file);
        ask(finding, {file, side, std::move(completion)}, kept);
    }

    void make(const std::filesystem::path& file, int side, Completion completion) override
    {
        made.push_back(file);
        ask(making, {file, side, std::move(completion)}, makeable);
    }

    /// A grey one.
    static PixelBufferRef picture(int width = 256, int height = 144)
    {
        auto pixels = std::make_shared<std::vector<std::byte>>(static_cast<std::size_t>(width * height * 4), std::byte{0x80});
        auto buffer = std::make_shared<PixelBuffer>();
        buffer->width = width;
        buffer->height = height;
        buffer->bytesPerRow = static_cast<std::size_t>(width) * 4;
        buffer->baseAddress = pixels->data();
        buffer->owner = std::move(pixels);
        return buffer;
    }

    /// Answers the oldest question of that kind; false where there is none.
    static bool answerOne(std::vector<Question>& questions, Result<PixelBufferRef> answer)
    {
        if (questions.empty())
            return false;
        auto question = std::move(questions.front());
        questions.erase(questions.begin());
        question.completion(std::move(answer));
        return true;
    }

    bool answersAtOnce = true;
    std::map<std::filesystem::path, PixelBufferRef> kept;  ///< those of other files cannot be found
    std::map<std::filesystem::path, PixelBufferRef> makeable;  ///< those of other files cannot be made
    std::vector<std::filesystem::path> found;  ///< all that were looked for
    std::vector<std::filesystem::path> made;  ///< all that were to be made
    std::vector<Question> finding;  ///< without an answer
    std::vector<Question> making;

private:
    void ask(std::vector<Question>& open, Question question, const std::map<std::filesystem::path, PixelBufferRef>& answers)
    {
        if (!answersAtOnce)
            return open.push_back(std::move(question));
        const auto answer = answers.find(question.file);
        if (answer != answers.end())
            question.completion(answer->second);
        else if (&answers == &kept)
            question.completion(PixelBufferRef{});
        else
            question.completion(fail("Velmora.Fake", 1, "no picture"));
    }
};

}  // namespace velmora::fake
