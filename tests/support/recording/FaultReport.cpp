#include "tests/support/recording/FaultReport.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

namespace velmora::test {

void reportFaults(const std::string& what, int count, int held, const std::string& figures)
{
    std::printf("%-64s %4d of %4d  %s\n", what.c_str(), held, count, figures.c_str());
    std::fflush(stdout);
    if (const char* const file = std::getenv("VELMORA_FAULT_REPORT")) {
        std::ofstream{file, std::ios::app} << R"({"what": ")" << what << R"(", "count": )" << count << R"(, "held": )" << held
                                           << R"(, "figures": {)" << figures << "}}\n";
    }
}

int faultCount(const char* variable, int usual)
{
    const char* const text = std::getenv(variable);
    const int count = text ? std::atoi(text) : 0;
    return count > 0 ? count : usual;
}

unsigned faultSeed()
{
    const char* const text = std::getenv("VELMORA_FAULT_SEED");
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : std::random_device{}();
}

}  // namespace velmora::test
