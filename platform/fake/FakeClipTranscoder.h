// A transcoder that a test steps by hand: nothing is read or written.
#pragma once

#include "platform/ClipTranscoder.h"
#include "platform/fake/FakeExportSession.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::fake {

/// Used on the test's thread alone.
class FakeTranscodingSession final : public platform::TranscodingSession {
public:
    FakeTranscodingSession(const std::filesystem::path& asset, const platform::TranscodingSettings& askedFor)
        : steps(asset)
        , settings(askedFor)
    {
    }

    void setOutputURL(const std::filesystem::path& outputURL) override { steps.setOutputURL(outputURL); }
    void setNextOutputURL(NextOutputURL next) override { steps.setNextOutputURL(std::move(next)); }
    void setOutputFileType(platform::AssetFileType type) override { steps.setOutputFileType(type); }
    void setTimeRange(const TimeRange& range) override { steps.setTimeRange(range); }
    void setCuts(std::vector<TimeRange> cuts) override { steps.setCuts(std::move(cuts)); }
    void exportAsynchronously(UniqueFunction<void()> completion) override { steps.exportAsynchronously(std::move(completion)); }
    void cancelExport() override { steps.cancelExport(); }
    [[nodiscard]] std::filesystem::path outputURL() const override { return steps.outputURL(); }
    [[nodiscard]] Status status() const override { return steps.status(); }
    [[nodiscard]] std::optional<Error> error() const override { return steps.error(); }
    [[nodiscard]] double progress() const override { return steps.progress(); }
    [[nodiscard]] std::optional<platform::TranscodingReport> report() const override
    {
        return status() == Status::completed ? std::optional{result} : std::nullopt;
    }

    FakeExportSession steps;
    const platform::TranscodingSettings settings;
    platform::TranscodingReport result{
        .size = 9'600'000, .width = 1280, .height = 720, .pictureRate = 30, .soundBitRate = 96000, .rounds = 1};
};

class FakeClipTranscoder final : public platform::ClipTranscoder {
public:
    Result<std::shared_ptr<platform::TranscodingSession>> makeSession(
        const std::filesystem::path& asset, const platform::TranscodingSettings& settings) override
    {
        if (createError)
            return velmora::fail(*createError);
        auto session = std::make_shared<FakeTranscodingSession>(asset, settings);
        sessions.push_back(session);
        return std::shared_ptr<platform::TranscodingSession>{session};
    }

    std::optional<Error> createError;
    std::vector<std::shared_ptr<FakeTranscodingSession>> sessions;
};

}  // namespace velmora::fake
