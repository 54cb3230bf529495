#include "tests/support/recording/ProgramReports.h"

#include "base/Mutex.h"

#include <utility>

namespace velmora::test {

namespace {

struct Reports {
    Mutex mutex;
    std::vector<std::string> texts GUARDED_BY(mutex);
};

// Programs may end after everything else.
Reports& reports()
{
    static auto& kept = *new Reports;
    return kept;
}

}  // namespace

void addProgramReport(std::string report)
{
    auto& kept = reports();
    MutexLock lock(kept.mutex);
    // Who waits asks again and again.
    if (kept.texts.empty() || kept.texts.back() != report)
        kept.texts.push_back(std::move(report));
}

std::vector<std::string> takeProgramReports()
{
    auto& kept = reports();
    MutexLock lock(kept.mutex);
    return std::exchange(kept.texts, {});
}

}  // namespace velmora::test
