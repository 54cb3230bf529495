#include "benchmarks/QuietMachine.h"

#include <algorithm>
#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::benchmarks {

namespace {

constexpr int firstTries = 5;
constexpr double tolerance = 1.1;
constexpr std::uint64_t rounds = 40'000'000;

/// Each step needs the one before, so that no compiler and no processor takes a short cut.
void work()
{
    std::uint64_t value = rounds;
    for (std::uint64_t round = 0; round < rounds; ++round)
        value = value * 6364136223846793005U + 1442695040888963407U;
    [[maybe_unused]] volatile std::uint64_t kept = value;
}

}  // namespace

std::chrono::duration<double> QuietMachine::spinOnAllProcessors()
{
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    const auto processors = std::max(1U, std::thread::hardware_concurrency());
    for (unsigned i = 0; i < processors; ++i)
        threads.emplace_back(work);
    for (auto& thread : threads)
        thread.join();
    return std::chrono::steady_clock::now() - begin;
}

QuietMachine::QuietMachine(Spin spin) : spin_(std::move(spin)), least_(spin_())
{
    for (int i = 1; i < firstTries; ++i)
        least_ = std::min(least_, spin_());
}

bool QuietMachine::isQuiet()
{
    const auto took = spin_();
    least_ = std::min(least_, took);
    return took <= least_ * tolerance;
}

}  // namespace velmora::benchmarks
