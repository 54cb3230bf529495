// What every file manager has to do, whichever back end it is of.
#pragma once

#include "platform/FileManager.h"
#include "tests/support/TemporaryDirectory.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace velmora::test {

struct NamedFileManager {
    std::string name;
    std::function<std::shared_ptr<platform::FileManager>()> make;
};

class FileManagerContract : public testing::TestWithParam<NamedFileManager> {
protected:
    std::filesystem::path makeFile(const std::string& name, const std::string& text = "x") const;

    const TemporaryDirectory folder_;
    const std::shared_ptr<platform::FileManager> files_ = GetParam().make();
};

}  // namespace velmora::test
