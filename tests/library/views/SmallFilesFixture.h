// Copies that are made to fit, on top of fakes.
#pragma once

#include "library/views/SmallFiles.h"
#include "platform/fake/FakeClipTranscoder.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace velmora::test {

struct SmallFilesFixture {
    SmallFilesFixture() = default;
    ~SmallFilesFixture()
    {
        // What runs keeps itself alive until it ends, and then the next begins.
        for (std::size_t number = 0; number < transcoder->sessions.size(); ++number) {
            auto& steps = session(number).steps;
            steps.cancelsAtOnce = true;
            steps.cancelExport();
            executor->runAll();
        }
    }
    SmallFilesFixture(const SmallFilesFixture&) = delete;
    SmallFilesFixture& operator=(const SmallFilesFixture&) = delete;

    [[nodiscard]] fake::FakeTranscodingSession& session(std::size_t number) { return *transcoder->sessions.at(number); }

    /// The session's end is told on the main thread.
    void complete(std::size_t number)
    {
        session(number).steps.complete();
        executor->runAll();
    }

    [[nodiscard]] std::filesystem::path shared(const char* name) const { return folder.path() / "Shared" / name; }

    const TemporaryDirectory folder;
    const std::shared_ptr<fake::FakeClipTranscoder> transcoder = std::make_shared<fake::FakeClipTranscoder>();
    const std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    const std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    const std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    const std::shared_ptr<RunningExports> exports = std::make_shared<RunningExports>();
    std::vector<std::filesystem::path> copied;
    std::vector<std::string> told;
    std::shared_ptr<SmallFiles> files = std::make_shared<SmallFiles>(SmallFiles::Services{
        .transcoder = transcoder,
        .fileManager = fileManager,
        .clock = clock,
        .mainExecutor = executor,
        .runningExports = exports,
        .clipsFolder = [this] { return folder.path(); },
        .copy = [this](const std::filesystem::path& file) { copied.push_back(file); },
        .tell = [this](const std::string& title, const std::string& body,
                    const std::filesystem::path&) { told.push_back(title + ": " + body); },
    });
};

}  // namespace velmora::test
