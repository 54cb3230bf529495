// What the programs said that a test has started.
#pragma once

#include <string>
#include <vector>

namespace velmora::test {

/// Keeps what a program's end was. Any thread.
void addProgramReport(std::string report);

/// What was kept since the last call, in its order.
std::vector<std::string> takeProgramReports();

}  // namespace velmora::test
