// The clips window's model, on top of fakes.
#pragma once

#include "library/views/ClipsModel.h"
#include "platform/fake/FakeAssetReader.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeFileMover.h"
#include "platform/fake/FakeThumbnails.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryDirectory.h"

#include <QDate>
#include <QDateTime>
#include <QTime>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

/// It is noon of 20 November 2026, a Friday. What the worker and the main thread have to do waits until run().
struct ClipsFixture {
    ClipsFixture()
    {
        clock->time = moment(0, 12, 0);
        std::filesystem::create_directories(folder());
        executor->runAll();
    }
    ~ClipsFixture()
    {
        model.reset();
        run();
    }
    ClipsFixture(const ClipsFixture&) = delete;
    ClipsFixture& operator=(const ClipsFixture&) = delete;

    [[nodiscard]] std::filesystem::path folder() const { return home.path() / "videos" / "Velmora"; }

    /// Local time, so many days ago.
    [[nodiscard]] static ClipItem::Date moment(int daysAgo, int hour, int minute)
    {
        const QDateTime time{QDate{2026, 11, 20}.addDays(-daysAgo), QTime{hour, minute}};
        return ClipItem::Date{std::chrono::milliseconds{time.toMSecsSinceEpoch()}};
    }

    /// A file of the length 12.3 s that comes to be noticed with the next reading.
    std::filesystem::path add(const std::string& name, ClipItem::Date date, std::size_t size = 1'500'000) const
    {
        const auto file = folder() / name;
        std::ofstream{file};
        std::filesystem::resize_file(file, size);
        fileManager->creationDates[file] = date;
        assetReader->durations[file] = MediaTime{123, 10};
        return file;
    }

    void run() const
    {
        while (worker->runOne() || executor->runOne()) { }
    }

    /// The window is shown.
    void appear()
    {
        model = std::make_unique<ClipsModel>(ClipsModel::Services{
            .library = *library,
            .folder = {fileManager, fileMover, assetReader, executor, worker},
            .thumbnails = thumbnails,
            .clock = clock,
            .open = [this](const std::filesystem::path& file) { opened.push_back(file.filename()); },
            .share = [this](const std::filesystem::path& file, const QPoint& position) { shared.emplace_back(file.filename(), position); },
            .copy = [this](const std::filesystem::path& file) { copied.push_back(file.filename()); },
            .reveal =
                [this](const std::vector<std::filesystem::path>& files) {
                    for (const auto& file : files)
                        revealed.push_back(file.filename());
                },
            .drag = [this](const std::vector<std::filesystem::path>& files) { dragged.push_back(files); },
            .fileBrowserName = [this] { return fileBrowser; },
            .smallFiles = smallFiles,
        });
        model->viewWillAppear();
        run();
    }

    void reload() const
    {
        model->reload();
        run();
    }

    /// The lines, each with its heading and the names in it: "Today: a.mp4 b.mp4".
    [[nodiscard]] std::vector<std::string> lines() const
    {
        std::vector<std::string> found;
        for (int row = 0; row < model->rowCount(); ++row) {
            const auto value = [&](int role) { return model->data(model->index(row), role); };
            auto line = value(ClipsModel::Heading).toString().toStdString() + ":";
            for (int i = 0; i < value(ClipsModel::Count).toInt(); ++i)
                line += " " + model->clip(value(ClipsModel::First).toInt() + i)->filename();
            found.push_back(line);
        }
        return found;
    }

    [[nodiscard]] std::vector<std::string> selected() const
    {
        std::vector<std::string> names;
        for (int i = 0; model->clip(i); ++i) {
            if (model->isSelected(*model->clip(i)))
                names.push_back(model->clip(i)->filename());
        }
        return names;
    }

    [[nodiscard]] std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder()))
            names.push_back(entry.path().filename().native());
        std::sort(names.begin(), names.end());
        return names;
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {}) const
    {
        model->pressKey(key, static_cast<int>(modifiers), text, 2);
        run();
    }

    [[nodiscard]] std::string status() const { return model->statusText().toStdString(); }

    TemporaryDirectory home;
    CapturedLog log;
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::ManualExecutor> worker = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    std::shared_ptr<fake::FakeFileManager> fileManager = [this] {
        auto manager = std::make_shared<fake::FakeFileManager>();
        manager->movies = {home.path() / "videos"};
        return manager;
    }();
    std::shared_ptr<fake::FakeFileMover> fileMover = std::make_shared<fake::FakeFileMover>(home.path() / "trash");
    std::shared_ptr<fake::FakeAssetReader> assetReader = std::make_shared<fake::FakeAssetReader>();
    std::shared_ptr<fake::FakeThumbnails> thumbnails = std::make_shared<fake::FakeThumbnails>();
    std::shared_ptr<fake::FakeWorkspace> workspace = std::make_shared<fake::FakeWorkspace>();
    std::shared_ptr<ClipLibrary> library =
        std::make_shared<ClipLibrary>(ClipLibrary::Services{{fileManager, assetReader, clock, executor}, workspace});
    std::vector<std::string> opened;
    std::vector<std::pair<std::string, QPoint>> shared;
    std::vector<std::string> copied;
    std::vector<std::string> revealed;
    std::vector<std::vector<std::filesystem::path>> dragged;
    std::shared_ptr<SmallFiles> smallFiles;  ///< before appear()
    std::string fileBrowser;
    std::unique_ptr<ClipsModel> model;
};

}  // namespace velmora::test
