#include "system/Log.h"
#include "tests/support/CapturedLog.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <tuple>
#include <vector>

namespace velmora {
namespace {

struct Entry {
    std::string format;
    LogCategory category;
    LogLevel level;

    friend bool operator==(const Entry&, const Entry&) = default;
};

void PrintTo(const Entry& entry, std::ostream* out)
{
    *out << entry.format;
}

template <LogCategory Category, LogLevel Level, typename... Arguments>
Entry entryOf(const LogLine<Category, Level, Arguments...>& line)
{
    return {std::string{line.format}, Category, Level};
}

template <typename Argument>
std::string conversionOf()
{
    if constexpr (std::is_same_v<Argument, std::string_view>)
        return "%s";
    else if constexpr (std::is_same_v<Argument, std::int64_t>)
        return "%ld";
    else if constexpr (std::is_same_v<Argument, std::uint32_t>)
        return "%u";
    else
        return "%d";
}

template <LogCategory Category, LogLevel Level, typename... Arguments>
std::vector<std::string> conversionsOf(const LogLine<Category, Level, Arguments...>&)
{
    return {conversionOf<Arguments>()...};
}

std::vector<std::string> conversionsIn(std::string_view format)
{
    std::vector<std::string> result;
    for (std::size_t i = 0; i + 1 < format.size(); ++i) {
        if (format[i] == '%')
            result.emplace_back(format.substr(i, format[i + 1] == 'l' ? 3 : 2));
    }
    return result;
}

// Written out a second time on purpose: a text for which people search their logs must not change by accident.
const std::vector<Entry>& expectedCatalogue()
{
    using enum LogCategory;
    constexpr auto info = LogLevel::info;
    constexpr auto standard = LogLevel::standard;
    constexpr auto error = LogLevel::error;
    static const std::vector<Entry> lines{
        {"Failed to create directory at %s: %s", app, error},
        {"System will sleep. Stopping active capture safely.", app, info},
        {"System woke from sleep.", app, info},
        {"Display configuration changed.", app, info},
        {"Capture started for window %s", capture, info},
        {"Failed to start capture: %s", capture, error},
        {"Started manual recording to %s", capture, info},
        {"Failed starting manual recording: %s", capture, error},
        {"Finished manual recording: %s", capture, info},
        {"Failed stopping manual recording: %s", capture, error},
        {"Capture stopped unexpectedly: %s", capture, standard},
        {"Started window-specific capture for %s (%ldx%ld)", capture, info},
        {"Using app-level display filter for %s on display %u (Chromium-safe audio)", capture, info},
        {"Falling back to desktopIndependentWindow filter for %s", capture, info},
        {"Stopped window capture.", capture, info},
        {"Error stopping capture stream: %s", capture, error},
        {"Manual recording session started at %s", capture, info},
        {"SCStream did stop with error: %s", capture, error},
        {"Manual writer startWriting failed: %s", capture, error},
        {"Cannot add manual recording video input", capture, error},
        {"Manual recording: failed to append video sample: %s", capture, error},
        {"Manual recording: failed to append audio sample: %s", capture, error},
        {"Initialized hardware video encoder (%ldx%ld H.264)", capture, info},
        {"VTCompressionSessionCreate failed: %d", capture, error},
        {"VTCompressionSessionEncodeFrame failed with status %d", capture, error},
        {"Failed to query shareable content: %s", capture, error},
        {"Writer could not add audio input; proceeding with video-only.", exporter, error},
        {"Failed appending video sample: %s", exporter, error},
        {"Failed appending audio sample: %s", exporter, error},
        {"Global shortcut ⌥⌘C registered successfully.", hotkey, info},
        {"Failed to install Carbon event handler: %d", hotkey, error},
        {"Failed to register recording shortcut: %d", hotkey, error},
        {"Toggle recording hotkey triggered (⌥⌘C)", hotkey, info},
        {"Save clip shortcut triggered but feature has been removed.", hotkey, info},
        {"Notification permission error: %s", permissions, error},
        {"Failed loading clips from %s: %s", library, error},
    };
    return lines;
}

TEST(LogCatalogue, HoldsEveryLineWithItsLoggerAndLevel)
{
    const auto actual = std::apply([](const auto&... lines) { return std::vector<Entry>{entryOf(lines)...}; }, log_line::all);
    EXPECT_EQ(actual, expectedCatalogue());
}

TEST(LogCatalogue, EveryFormatHasOnePlaceForEachArgumentOfItsType)
{
    std::apply([](const auto&... lines) { (..., [&] { EXPECT_EQ(conversionsIn(lines.format), conversionsOf(lines)) << lines.format; }()); },
        log_line::all);
}

TEST(Log, WritesUnderTheSubsystemAndTheCategoryOfItsLogger)
{
    const test::CapturedLog log;
    Log::app().info(log_line::systemWoke);
    Log::capture().notice(log_line::captureStoppedUnexpectedly, "why");
    Log::exporter().error(log_line::exporterWithoutAudio);
    Log::hotkey().info(log_line::toggleTriggered);
    Log::permissions().error(log_line::notificationPermissionError, "why");
    Log::library().error(log_line::failedLoadingClips, "where", "why");
    const std::vector<fake::FakeLogSink::Line> expected{
        {"com.velmora.Velmora", "App", LogLevel::info, "System woke from sleep."},
        {"com.velmora.Velmora", "Capture", LogLevel::standard, "Capture stopped unexpectedly: <private>"},
        {"com.velmora.Velmora", "Exporter", LogLevel::error, "Writer could not add audio input; proceeding with video-only."},
        {"com.velmora.Velmora", "HotKey", LogLevel::info, "Toggle recording hotkey triggered (⌥⌘C)"},
        {"com.velmora.Velmora", "Permissions", LogLevel::error, "Notification permission error: <private>"},
        {"com.velmora.Velmora", "Library", LogLevel::error, "Failed loading clips from <private>: <private>"},
    };
    EXPECT_TRUE(log->lines() == expected);
    EXPECT_EQ(Log::categoryName(LogCategory::buffer), "Buffer");
}

TEST(Log, RedactsTextsAndShowsNumbers)
{
    const test::CapturedLog log;
    Log::capture().info(log_line::startedWindowCapture, "Secret — Title", 1280, 720);
    Log::capture().info(log_line::usingDisplayFilter, "Secret", 4'000'000'000U);
    Log::capture().error(log_line::sessionCreateFailed, -12903);
    EXPECT_EQ(log->messages(),
        (std::vector<std::string>{"Started window-specific capture for <private> (1280x720)",
            "Using app-level display filter for <private> on display 4000000000 (Chromium-safe audio)",
            "VTCompressionSessionCreate failed: -12903"}));
}

TEST(Log, KeepsAPercentSignInAPrivateValueOutOfTheFormat)
{
    const test::CapturedLog log;
    Log::app().error(log_line::failedToCreateDirectory, "/100%s/%d", "%ld");
    EXPECT_EQ(log->messages(), (std::vector<std::string>{"Failed to create directory at <private>: <private>"}));
}

TEST(Log, ShowsPrivateValuesToADeveloperWhoAsksForThem)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // in its own process: the variable is read once
    const auto writeRevealed = [](const char* value) {
        ::setenv(Log::revealVariable, value, 1);
        const test::CapturedLog log;
        Log::capture().error(log_line::failedToStartCapture, "the secret");
        std::fprintf(stderr, "%s\n", log->messages().at(0).c_str());
        std::exit(0);
    };
    EXPECT_EXIT(writeRevealed("1"), testing::ExitedWithCode(0), "Failed to start capture: the secret");
    EXPECT_EXIT(writeRevealed("0"), testing::ExitedWithCode(0), "Failed to start capture: <private>");
}

TEST(Log, YieldsTheSameLoggerEveryTime)
{
    EXPECT_EQ(&Log::buffer(), &Log::buffer());
    EXPECT_EQ(&Log::capture(), &Log::capture());
}

TEST(Log, MayBeWrittenFromAnyThread)
{
    const test::CapturedLog log;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int line = 0; line < 100; ++line)
                Log::capture().info(log_line::stoppedWindowCapture);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(log->count("Stopped window capture."), 400U);
}

TEST(Log, LosesLinesQuietlyWhileThereIsNoSink)
{
    const auto previous = Log::setSink(nullptr);
    Log::capture().info(log_line::stoppedWindowCapture);
    EXPECT_EQ(Log::setSink(previous), nullptr);
}

}  // namespace
}  // namespace velmora
