// `velmora doctor`: what this desktop has of what a recording needs, on standard output.
#pragma once

#include "app/CommandLine.h"
#include "app/doctor/Diagnosis.h"
#include "platform/FileManager.h"

#include <string>
#include <vector>

namespace velmora {

/// Returns the exit status: failed where something stands in the way of a recording. Takes 15 seconds at most, whatever hangs.
int runDoctorCommand(
    const command_line::Doctor& command, platform::DesktopInspection& inspection, const platform::FileManager& fileManager);

/// A line for each finding, its remedy on the next, each of its length. `version` is the program's. Control characters are replaced.
[[nodiscard]] std::string diagnosisAsText(
    const std::vector<Finding>& findings, const platform::DesktopFacts& facts, const std::string& version);

/// A JSON object with version, system, canRecord and findings, an array of objects with topic, severity ("good", "note", "warning" or
/// "fault"), text and remedy.
[[nodiscard]] std::string diagnosisAsJson(
    const std::vector<Finding>& findings, const platform::DesktopFacts& facts, const std::string& version);

}  // namespace velmora
