// Part of every test program: a test that fails prints what the programs that it started said.

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace velmora::test {

// Only there if the test program starts others (tests/support/sound/ChildProcess.h).
[[gnu::weak]] std::string takeProgramTranscripts();

namespace {

class FailureReport final : public ::testing::EmptyTestEventListener {
    void OnTestEnd(const ::testing::TestInfo& test) override
    {
        if (!takeProgramTranscripts)
            return;
        const auto said = takeProgramTranscripts();
        if (test.result()->Failed() && !said.empty())
            std::printf("What the programs of %s.%s said:\n%s", test.test_suite_name(), test.name(), said.c_str());
    }
};

// The list owns it.
[[maybe_unused]] const bool isListening = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new FailureReport);
    return true;
}();

}  // namespace
}  // namespace velmora::test
