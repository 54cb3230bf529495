// Every line that this system writes to the log, with its category and level. Nothing else is ever logged.
#pragma once

#include "platform/LogSink.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>

namespace velmora {

enum class LogCategory { app, capture, buffer, exporter, hotkey, permissions, library };

using platform::LogLevel;

/// One line of the catalogue. `format` has one place for each argument: %s for std::string_view (private), %ld for std::int64_t, %u for
/// std::uint32_t and %d for std::int32_t (public). Category, level and arguments are part of the type, so a logger takes only its
/// own lines, at their level, with the arguments they need.
template <LogCategory Category, LogLevel Level, typename... Arguments>
struct LogLine {
    std::string_view format;
};

namespace log_line {

using Text = std::string_view;

template <typename... Arguments>
using AppInfo = LogLine<LogCategory::app, LogLevel::info, Arguments...>;
template <typename... Arguments>
using AppError = LogLine<LogCategory::app, LogLevel::error, Arguments...>;
template <typename... Arguments>
using CaptureInfo = LogLine<LogCategory::capture, LogLevel::info, Arguments...>;
template <typename... Arguments>
using CaptureStandard = LogLine<LogCategory::capture, LogLevel::standard, Arguments...>;
template <typename... Arguments>
using CaptureError = LogLine<LogCategory::capture, LogLevel::error, Arguments...>;
template <typename... Arguments>
using ExporterError = LogLine<LogCategory::exporter, LogLevel::error, Arguments...>;
template <typename... Arguments>
using HotkeyInfo = LogLine<LogCategory::hotkey, LogLevel::info, Arguments...>;
template <typename... Arguments>
using HotkeyError = LogLine<LogCategory::hotkey, LogLevel::error, Arguments...>;
template <typename... Arguments>
using PermissionsError = LogLine<LogCategory::permissions, LogLevel::error, Arguments...>;
template <typename... Arguments>
using LibraryError = LogLine<LogCategory::library, LogLevel::error, Arguments...>;

inline constexpr AppError<Text, Text> failedToCreateDirectory{"Failed to create directory at %s: %s"};
inline constexpr AppInfo<> systemWillSleep{"System will sleep. Stopping active capture safely."};
inline constexpr AppInfo<> systemWoke{"System woke from sleep."};
inline constexpr AppInfo<> displayConfigurationChanged{"Display configuration changed."};

inline constexpr CaptureInfo<Text> captureStarted{"Capture started for window %s"};
inline constexpr CaptureError<Text> failedToStartCapture{"Failed to start capture: %s"};
inline constexpr CaptureInfo<Text> startedManualRecording{"Started manual recording to %s"};
inline constexpr CaptureError<Text> failedStartingManualRecording{"Failed starting manual recording: %s"};
inline constexpr CaptureInfo<Text> finishedManualRecording{"Finished manual recording: %s"};
inline constexpr CaptureError<Text> failedStoppingManualRecording{"Failed stopping manual recording: %s"};
inline constexpr CaptureStandard<Text> captureStoppedUnexpectedly{"Capture stopped unexpectedly: %s"};

inline constexpr CaptureInfo<Text, std::int64_t, std::int64_t> startedWindowCapture{"Started window-specific capture for %s (%ldx%ld)"};
inline constexpr CaptureInfo<Text, std::uint32_t> usingDisplayFilter{
    "Using app-level display filter for %s on display %u (Chromium-safe audio)"};
inline constexpr CaptureInfo<Text> usingWindowFilter{"Falling back to desktopIndependentWindow filter for %s"};
inline constexpr CaptureInfo<> stoppedWindowCapture{"Stopped window capture."};
inline constexpr CaptureError<Text> errorStoppingStream{"Error stopping capture stream: %s"};
inline constexpr CaptureInfo<Text> manualRecordingSessionStarted{"Manual recording session started at %s"};
inline constexpr CaptureError<Text> streamDidStop{"SCStream did stop with error: %s"};

inline constexpr CaptureError<Text> startWritingFailed{"Manual writer startWriting failed: %s"};
inline constexpr CaptureError<> cannotAddVideoInput{"Cannot add manual recording video input"};
inline constexpr CaptureError<Text> failedToAppendVideo{"Manual recording: failed to append video sample: %s"};
inline constexpr CaptureError<Text> failedToAppendAudio{"Manual recording: failed to append audio sample: %s"};

inline constexpr CaptureInfo<std::int64_t, std::int64_t> initializedEncoder{"Initialized hardware video encoder (%ldx%ld H.264)"};
inline constexpr CaptureError<std::int32_t> sessionCreateFailed{"VTCompressionSessionCreate failed: %d"};
inline constexpr CaptureError<std::int32_t> encodeFrameFailed{"VTCompressionSessionEncodeFrame failed with status %d"};

inline constexpr CaptureError<Text> failedToQueryContent{"Failed to query shareable content: %s"};

inline constexpr ExporterError<> exporterWithoutAudio{"Writer could not add audio input; proceeding with video-only."};
inline constexpr ExporterError<Text> exporterFailedVideo{"Failed appending video sample: %s"};
inline constexpr ExporterError<Text> exporterFailedAudio{"Failed appending audio sample: %s"};

inline constexpr HotkeyInfo<> shortcutRegistered{"Global shortcut ⌥⌘C registered successfully."};
inline constexpr HotkeyError<std::int32_t> failedToInstallHandler{"Failed to install Carbon event handler: %d"};
inline constexpr HotkeyError<std::int32_t> failedToRegisterShortcut{"Failed to register recording shortcut: %d"};
inline constexpr HotkeyInfo<> toggleTriggered{"Toggle recording hotkey triggered (⌥⌘C)"};
inline constexpr HotkeyInfo<> saveClipTriggered{"Save clip shortcut triggered but feature has been removed."};

inline constexpr PermissionsError<Text> notificationPermissionError{"Notification permission error: %s"};

inline constexpr LibraryError<Text, Text> failedLoadingClips{"Failed loading clips from %s: %s"};

/// Every line above, for whoever wants to go through them.
inline constexpr auto all = std::make_tuple(failedToCreateDirectory, systemWillSleep, systemWoke, displayConfigurationChanged,
    captureStarted, failedToStartCapture, startedManualRecording, failedStartingManualRecording, finishedManualRecording,
    failedStoppingManualRecording, captureStoppedUnexpectedly, startedWindowCapture, usingDisplayFilter, usingWindowFilter,
    stoppedWindowCapture, errorStoppingStream, manualRecordingSessionStarted, streamDidStop, startWritingFailed, cannotAddVideoInput,
    failedToAppendVideo, failedToAppendAudio, initializedEncoder, sessionCreateFailed, encodeFrameFailed, failedToQueryContent,
    exporterWithoutAudio, exporterFailedVideo, exporterFailedAudio, shortcutRegistered, failedToInstallHandler, failedToRegisterShortcut,
    toggleTriggered, saveClipTriggered, notificationPermissionError, failedLoadingClips);

}  // namespace log_line
}  // namespace velmora
