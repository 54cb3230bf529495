#include "benchmarks/ProcessUse.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

namespace velmora::benchmarks {

namespace {

constexpr std::chrono::seconds restLooked{1};
constexpr double shareAtRest = 0.01;
constexpr int longestRest = 30;

double statusMegabytes(pid_t process, std::string_view field)
{
    std::ifstream status{"/proc/" + std::to_string(process) + "/status"};
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field))
            return std::atof(line.c_str() + field.size()) / 1024;
    }
    return 0;
}

}  // namespace

double processorSeconds(pid_t process)
{
    clockid_t clock{};
    timespec time{};
    // 0 would be this process itself.
    if (process <= 0 || ::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        return 0;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double residentMegabytes(pid_t process)
{
    return statusMegabytes(process, "VmRSS:");
}

double anonymousMegabytes(pid_t process)
{
    return statusMegabytes(process, "RssAnon:");
}

double sharedMegabytes(pid_t process)
{
    return statusMegabytes(process, "RssShmem:");
}

void awaitRest(pid_t process)
{
    for (int second = 0; second < longestRest; ++second) {
        const ProcessorShare share{process};
        std::this_thread::sleep_for(restLooked);
        if (share.soFar() < shareAtRest)
            return;
    }
}

}  // namespace velmora::benchmarks
