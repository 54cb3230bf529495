// What became of many faults, as a table and as JSON: for people, and for scripts that sum it up.
#pragma once

#include <string>

namespace velmora::test {

/// Reports that of `count` faults of one kind `held` ended as they should. The row is printed; with
/// VELMORA_FAULT_REPORT set, a line of JSON for each row is appended to that file. `figures` is the content of a JSON object.
void reportFaults(const std::string& what, int count, int held, const std::string& figures = {});

/// How many faults of one kind to try: the environment variable's value, else `usual`.
int faultCount(const char* variable, int usual);

/// The seed for random moments: VELMORA_FAULT_SEED, else a new one.
unsigned faultSeed();

}  // namespace velmora::test
