// Part of a test program: after a test that failed it prints how the programs ended that the test had started, and what they said.

#include "tests/support/recording/ProgramReports.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace velmora::test {
namespace {

class ReportingListener final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { takeProgramReports(); }

    void OnTestEnd(const ::testing::TestInfo& test) override
    {
        const auto reports = takeProgramReports();
        if (!test.result()->Failed())
            return;
        for (const auto& report : reports)
            std::printf("%s", report.c_str());
        std::fflush(stdout);
    }
};

const bool isListening = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new ReportingListener);
    return true;
}();

}  // namespace
}  // namespace velmora::test
