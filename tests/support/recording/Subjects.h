// What is recorded in tests: windows that move and applications that play sound, each ended with its object.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace velmora::test {

/// tests/support/NumberedWindow.cpp, running, its first frame on the screen.
class NumberedWindow {
public:
    /// `sound`, when given, is a WAV file that processes below the window's play over and over, on whatever sound server there is.
    explicit NumberedWindow(const std::vector<std::string>& options = {}, const std::filesystem::path& sound = {});

    [[nodiscard]] std::uint32_t id() const { return id_; }
    [[nodiscard]] const std::string& title() const { return title_; }

    /// Has a command carried out; returns the answer.
    std::string command(const std::string& line);

    /// Each frame's number so far, with the CLOCK_MONOTONIC nanoseconds by which it had been shown. Numbers are those that a picture of
    /// the window gives: modulo 65536.
    [[nodiscard]] std::map<std::uint32_t, std::int64_t> shown() const;

    void close() { process_.kill(); }

private:
    std::string title_;
    TemporaryDirectory directory_;
    ChildProcess process_;
    std::uint32_t id_ = 0;
};

/// mpv with a window with that title on the screen, playing a file over and over.
class VideoPlayer {
public:
    VideoPlayer(const std::string& title, const std::filesystem::path& file);

    [[nodiscard]] const ListedWindow& window() const { return window_; }

private:
    ChildProcess process_;
    ListedWindow window_;
};

/// Arguments that start Chromium with a profile of its own and without chatter. Options and the page come after them.
std::vector<std::string> chromiumArguments(const std::filesystem::path& profile);

/// What a page says, in a browser without a window, with console.log('clip-report ' + … + ' end-of-report'); empty if it never does. Its profile
/// goes beside the page, which may read the files there.
std::string reportOfPage(const std::filesystem::path& page);

/// Waits until that many streams are playing on the sound server. Throws when they never do.
void awaitPlayingStreams(int count);

/// A clip for players, made by ffmpeg: `video` and `audio` are libavfilter sources.
void makeClip(const std::filesystem::path& file, const std::string& video, const std::string& audio, int seconds);

/// Noise at half of full scale, which no encoder can compress well, as a WAV file.
void writeNoise(const std::filesystem::path& file, int seconds);

/// White pictures and a beep, both for the first tenth of every second.
void makeFlashAndBeepClip(const std::filesystem::path& file, int seconds);

}  // namespace velmora::test
