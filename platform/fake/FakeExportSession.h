// Exports that a test steps by hand: nothing is read or written.
#pragma once

#include "platform/ExportSession.h"

#include <cassert>
#include <utility>
#include <vector>

namespace velmora::fake {

/// Used on the test's thread alone.
class FakeExportSession final : public platform::ExportSession {
public:
    explicit FakeExportSession(std::filesystem::path assetPath) : asset(std::move(assetPath)) { }
    ~FakeExportSession() override
    {
        if (isRunning())
            end(Status::cancelled);
    }

    void setOutputURL(const std::filesystem::path& outputURL) override { output = outputURL; }
    void setNextOutputURL(NextOutputURL next) override { nextOutputURL = std::move(next); }
    void setOutputFileType(platform::AssetFileType type) override { fileType = type; }
    void setTimeRange(const TimeRange& timeRange) override { range = timeRange; }
    void setCuts(std::vector<TimeRange> timeRanges) override { cuts = std::move(timeRanges); }

    void exportAsynchronously(UniqueFunction<void()> completion) override
    {
        assert(!isRunning() && !wasStarted_);
        wasStarted_ = true;
        completion_ = std::move(completion);
        if (status_ == Status::cancelled)
            return end(Status::cancelled);
        status_ = Status::waiting;
    }

    void cancelExport() override
    {
        ++cancelCount;
        if (!isRunning() && status_ != Status::unknown)
            return;
        if (cancelsAtOnce)
            end(Status::cancelled);
    }

    [[nodiscard]] std::filesystem::path outputURL() const override { return output; }
    [[nodiscard]] Status status() const override { return status_; }
    [[nodiscard]] std::optional<Error> error() const override { return error_; }
    [[nodiscard]] double progress() const override { return progress_; }

    [[nodiscard]] bool isRunning() const { return status_ == Status::waiting || status_ == Status::exporting; }

    /// The steps.
    void advance(double progress)
    {
        assert(isRunning());
        status_ = Status::exporting;
        progress_ = progress;
    }
    void complete()
    {
        assert(isRunning());
        progress_ = 1;
        end(Status::completed);
    }
    void fail(Error error)
    {
        assert(isRunning());
        error_ = std::move(error);
        end(Status::failed);
    }
    /// Somebody else takes the name; false when there is no other.
    bool takeOutputURL()
    {
        const auto other = nextOutputURL ? nextOutputURL() : std::nullopt;
        if (!other || *other == output)
            return false;
        output = *other;
        return true;
    }

    const std::filesystem::path asset;
    std::filesystem::path output;
    NextOutputURL nextOutputURL;
    platform::AssetFileType fileType = platform::AssetFileType::mpeg4;
    std::optional<TimeRange> range;
    std::vector<TimeRange> cuts;
    std::vector<std::filesystem::path> joinedAssets;  ///< the first of them is `asset`; empty for an export of one
    bool cancelsAtOnce = true;
    int cancelCount = 0;

private:
    void end(Status status)
    {
        status_ = status;
        // The completion may release the session.
        if (auto completion = std::exchange(completion_, nullptr))
            completion();
    }

    Status status_ = Status::unknown;
    std::optional<Error> error_;
    double progress_ = 0;
    bool wasStarted_ = false;
    UniqueFunction<void()> completion_;
};

class FakeExportSessionFactory final : public platform::ExportSessionFactory {
public:
    Result<std::shared_ptr<platform::ExportSession>> makeExportSession(
        const std::filesystem::path& asset, platform::ExportPreset preset) override
    {
        if (createError)
            return velmora::fail(*createError);
        lastPreset = preset;
        auto session = std::make_shared<FakeExportSession>(asset);
        sessions.push_back(session);
        return std::shared_ptr<platform::ExportSession>{session};
    }

    Result<std::shared_ptr<platform::ExportSession>> makeJoinSession(
        const std::vector<std::filesystem::path>& assets, platform::ExportPreset preset) override
    {
        auto session = makeExportSession(assets.front(), preset);
        if (session)
            sessions.back()->joinedAssets = assets;
        return session;
    }

    std::optional<Error> createError;
    std::optional<platform::ExportPreset> lastPreset;
    std::vector<std::shared_ptr<FakeExportSession>> sessions;
};

}  // namespace velmora::fake
