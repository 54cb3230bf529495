// What tests of commands that wait for a session have in common.
#pragma once

#include "tests/app/EventLoopExecutor.h"
#include "tests/support/TemporaryDirectory.h"

#include <QCoreApplication>

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace velmora {

class CommandFixture : public testing::Test {
protected:
    /// What the command prints is in `output` and `errors` then.
    int runCaptured(const std::function<int()>& command)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = command();
        output = testing::internal::GetCapturedStdout();
        errors = testing::internal::GetCapturedStderr();
        return status;
    }

    int argumentCount = 1;
    char name[8] = "velmora";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};

    const test::TemporaryDirectory folder;
    std::string output;
    std::string errors;
};

}  // namespace velmora
