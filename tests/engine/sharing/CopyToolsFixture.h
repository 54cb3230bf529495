// What tests of copies with codecs that encode nothing have in common: files in memory, and progress that has to rise.
#pragma once

#include "engine/sharing/CopyWork.h"

#include "tests/support/media/MemoryFile.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace velmora::engine {

class CopyToolsFixture : public testing::Test {
protected:
    [[nodiscard]] CopyTools tools()
    {
        return {.makeTarget = [this] { return Result<mp4::File*>{target.get()}; },
            .makeScratch = [this]() -> Result<std::unique_ptr<mp4::File>> {
                auto file = std::make_unique<test::MemoryFile>();
                file->faults = scratchFaults;
                return file;
            },
            .progress =
                [this](double done) {
                    EXPECT_GE(done, lastProgress);
                    EXPECT_LE(done, 1);
                    lastProgress = done;
                    return ++progressCalls <= cancelAt;
                }};
    }

    std::unique_ptr<test::MemoryFile> target = std::make_unique<test::MemoryFile>();
    test::MemoryFile::Faults scratchFaults;
    double lastProgress = 0;
    int progressCalls = 0;
    int cancelAt = std::numeric_limits<int>::max();
};

}  // namespace velmora::engine
