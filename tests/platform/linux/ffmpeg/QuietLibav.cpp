// FFmpeg's own log lines would bury what the tests say; the module turns them off too.

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/log.h>
}

namespace {

class QuietLibav : public ::testing::Environment {
public:
    void SetUp() override { av_log_set_level(AV_LOG_QUIET); }
};

[[maybe_unused]] const auto* const quietLibav = ::testing::AddGlobalTestEnvironment(new QuietLibav);

}  // namespace
