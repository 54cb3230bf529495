// What the user is told when capturing or recording fails. The prefixes are followed by the error's description.
#pragma once

#include <string_view>

namespace velmora::capture_message {

inline constexpr std::string_view permissionRequired = "Screen recording permission is required.";
inline constexpr std::string_view failedToCapture = "Failed to capture window: ";
inline constexpr std::string_view selectWindowFirst = "Cannot record: Please select a video window first.";
inline constexpr std::string_view failedToStartRecording = "Failed to start recording: ";
inline constexpr std::string_view failedToSave = "Failed saving recording: ";
inline constexpr std::string_view windowClosed = "Selected window was closed or is no longer available. Please select a window.";

}  // namespace velmora::capture_message
