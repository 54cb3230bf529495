// Runs a fuzz target with the inputs of a corpus, without a fuzzer: what once went wrong goes right.
//
//     NAME_replay SECONDS CORPUS...
//
// Inputs are files and the files of folders, in the order of their names. No input is begun after SECONDS; it says how many were left out.
// The exit status is 1 when there is no input at all.
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::vector<std::filesystem::path> inputs(std::span<char*> arguments)
{
    std::vector<std::filesystem::path> files;
    for (const auto* argument : arguments) {
        if (!std::filesystem::is_directory(argument)) {
            files.emplace_back(argument);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator{argument})
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int count, char** arguments)
{
    if (count < 3) {
        std::fputs("usage: replay SECONDS CORPUS...\n", stderr);
        return 2;
    }
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds{std::atoi(arguments[1])};
    const auto files = inputs({arguments + 2, static_cast<std::size_t>(count - 2)});
    std::size_t done = 0;
    for (; done < files.size() && Clock::now() < end; ++done) {
        // Should the target abort, this is the last line.
        std::printf("%s\n", files[done].c_str());
        std::fflush(stdout);
        std::ifstream stream{files[done], std::ios::binary};
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>{stream}, std::istreambuf_iterator<char>{}};
        if (!stream.good() && !stream.eof()) {
            std::fprintf(stderr, "%s cannot be read\n", files[done].c_str());
            return 1;
        }
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs, %zu left out\n", done, files.size() - done);
    return done > 0 ? 0 : 1;
}
