// The preview of a clip, on top of fakes.
#pragma once

#include "library/views/ClipPreviewModel.h"
#include "platform/fake/FakeAssetReader.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeExportSession.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakePlayer.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

/// A clip of ten seconds with fifty pictures a second.
struct PreviewFixture {
    explicit PreviewFixture(const std::string& name = "clip.mp4")
    {
        fileManager->movies = {folder.path()};
        clip = library->effectiveOutputDirectory() / name;
        std::filesystem::create_directories(clip.parent_path());
        std::ofstream{clip} << "a film";
        executor->runAll();
        library->reloadClips();
        executor->runAll();
        assetReader->durations[clip] = MediaTime{10, 1};
        setPictureTimes(50, 500);
        model = makeModel();
    }

    /// What a test leaves running ends, as a session always does: until then it keeps all that its completion needs.
    ~PreviewFixture()
    {
        model.reset();
        for (const auto& one : exportSessions->sessions) {
            one->cancelsAtOnce = true;
            if (one->isRunning())
                one->cancelExport();
        }
        executor->runAll();
    }
    PreviewFixture(const PreviewFixture&) = delete;
    PreviewFixture& operator=(const PreviewFixture&) = delete;

    void setPictureTimes(std::int32_t rate, int count) const
    {
        std::vector<MediaTime> times;
        for (int i = 0; i < count; ++i)
            times.emplace_back(i, rate);
        assetReader->pictureTimes = std::move(times);
    }

    [[nodiscard]] std::unique_ptr<ClipPreviewModel> makeModel()
    {
        return std::make_unique<ClipPreviewModel>(clip,
            ClipPreviewModel::Services{
                .players = players,
                .assetReader = assetReader,
                .exportSessions = exportSessions,
                .fileManager = fileManager,
                .library = *library,
                .mainExecutor = executor,
                .runningExports = runningExports,
                .share = [this](const std::filesystem::path& file, const QPoint& position) { shared.emplace_back(file, position); },
                .reveal = [this](const std::filesystem::path& file) { revealed.push_back(file); },
                .fileBrowserName = [this] { return fileBrowser; },
                .copy = [this](const std::filesystem::path& file) { copied.push_back(file); },
                .play = [this](const std::filesystem::path& file) { played.push_back(file); },
                .drag = [this](const std::vector<std::filesystem::path>& files) { dragged.push_back(files); },
            });
    }

    /// The view is shown, and what the file says about itself has arrived.
    void appear()
    {
        model->setupPlayer();
        executor->runAll();
    }

    [[nodiscard]] fake::PlayerRecord& player() const { return *players->players.back(); }
    [[nodiscard]] fake::FakeExportSession& session() const { return *exportSessions->sessions.back(); }

    /// As the real session does: the file has its name once it is whole.
    void completeExport() const
    {
        const auto one = exportSessions->sessions.back();
        std::ofstream{one->outputURL()} << "a part";
        assetReader->durations[one->outputURL()] = MediaTime{3, 1};
        one->complete();
        executor->runAll();
    }

    [[nodiscard]] std::vector<std::string> listedClips() const
    {
        std::vector<std::string> names;
        for (const auto& one : library->recentClips())
            names.push_back(one.filename());
        return names;
    }

    TemporaryDirectory folder;
    CapturedLog log;
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::shared_ptr<fake::FakeAssetReader> assetReader = std::make_shared<fake::FakeAssetReader>();
    std::shared_ptr<fake::FakeWorkspace> workspace = std::make_shared<fake::FakeWorkspace>();
    std::shared_ptr<fake::FakePlayers> players = std::make_shared<fake::FakePlayers>();
    std::shared_ptr<fake::FakeExportSessionFactory> exportSessions = std::make_shared<fake::FakeExportSessionFactory>();
    std::shared_ptr<RunningExports> runningExports = std::make_shared<RunningExports>();
    std::shared_ptr<ClipLibrary> library =
        std::make_shared<ClipLibrary>(ClipLibrary::Services{{fileManager, assetReader, clock, executor}, workspace});
    std::filesystem::path clip;
    std::vector<std::pair<std::filesystem::path, QPoint>> shared;
    std::vector<std::filesystem::path> revealed;
    std::vector<std::vector<std::filesystem::path>> dragged;
    std::string fileBrowser;
    std::vector<std::filesystem::path> copied;
    std::vector<std::filesystem::path> played;
    std::unique_ptr<ClipPreviewModel> model;
};

}  // namespace velmora::test
