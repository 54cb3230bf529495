// How a test steers the stand-in for ScreenCaptureKit and for the list of windows, and what it says of the calls that it got. What their
// pages leave open it does in the ways that they allow, one switch each.
#pragma once

#include "tests/platform/mac/standins/CoreMediaStandIn.h"

#include <CoreGraphics/CoreGraphics.h>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::standin {

struct ListedApplication {
    std::int32_t processID = 0;
    std::optional<std::string> bundleIdentifier;
    std::optional<std::string> name;
};
struct ListedWindow {
    std::uint32_t windowID = 0;
    std::optional<std::string> title;
    CGRect frame{};
    std::int64_t layer = 0;
    bool isOnScreen = true;
    std::optional<std::int32_t> processID;  ///< of the application that owns it
};
struct ListedDisplay {
    std::uint32_t displayID = 0;
    CGRect frame{};
};

/// Set before it is asked; read by its threads.
struct ScreenDesktop {
    std::vector<ListedWindow> windows{};  ///< in the order in which ScreenCaptureKit lists them
    std::vector<ListedDisplay> displays{};
    std::vector<ListedApplication> applications{};
    std::vector<std::uint32_t> frontToBack{};  ///< the list of windows
    bool hasWindowList = true;
    std::int64_t listError = 0;
    bool answersTwice = false;  ///< each completion; no page says that it is called once
    bool answersAtOnce = false;  ///< within the call, instead of on a thread of its own

    std::int64_t addError = 0;
    std::int64_t startError = 0;
    bool endsBeforeTheStartIsAnswered = false;
    bool deliversAfterAStop = false;
    bool firstPictureIsStarted = false;  ///< its status, and not that of a complete one
};
ScreenDesktop& screenDesktop();

/// Of the last stream that was made.
struct StreamRecord {
    std::string filter;  ///< "window 7", "display 3, applications 5 6, except 8"
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::uint32_t pixelFormat = 0;
    CMTime minimumFrameInterval{};
    CGRect sourceRect{};
    bool showsCursor = false;
    bool capturesAudio = false;
    std::int64_t sampleRate = 0;
    std::int64_t channelCount = 0;
    bool excludesCurrentProcessAudio = false;
    bool ignoresShadowsSingleWindow = false;
    bool ignoresShadowsDisplay = false;
    std::vector<std::int64_t> outputs;
    int starts = 0;
    int stops = 0;
    int refusedStops = 0;  ///< while the stream did not run
};
StreamRecord& streamRecord();

/// Each returns when the stream's receivers have been told. To streams that run only, unless after a stop is asked for.
void showPicture(CVPixelBufferRef pixels, CMTime time);
void showNothing(std::int64_t status, CMTime time);
void playSound(const SoundParts& parts);
void endStream(std::int64_t code);

/// Returns when every thread of the stand-in has done what it had to.
void settleScreenCapture();

/// Back to how a program finds it.
void resetScreenCapture();

[[nodiscard]] std::int64_t statusComplete();
[[nodiscard]] std::int64_t statusIdle();
[[nodiscard]] std::int64_t statusBlank();

}  // namespace velmora::standin
