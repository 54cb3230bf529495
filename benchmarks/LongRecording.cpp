#include "benchmarks/LongRecording.h"

#include "benchmarks/LongClip.h"
#include "benchmarks/ProcessUse.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace velmora::benchmarks {

namespace {

using namespace velmora::test;

void addContents(Figures& figures, const std::filesystem::path& path)
{
    figures.add("The file", static_cast<double>(std::filesystem::file_size(path)) / 1e6, 0, "MB");
    const auto file = valueOf(mp4::PosixFile::openForReading(path));
    const mp4::Movie movie = valueOf(mp4::readMovie(*file)).movie;
    for (const mp4::Track& track : movie.tracks) {
        const std::string what = track.isVideo() ? "Pictures" : "Sound";
        figures.add(what + ": length", mp4::presentationDuration(movie, track).seconds(), 3, "s");
        if (!track.isVideo())
            continue;
        std::uint32_t longest = 0;
        for (const mp4::SampleTable::Run& run : track.samples.durationRuns())
            longest = std::max(longest, static_cast<std::uint32_t>(run.value));
        figures.add("Pictures in the file", static_cast<double>(track.samples.count()), 0, "");
        figures.add("The longest that one of them stays", 1000.0 * longest / track.timescale, 0, "ms");
    }
}

}  // namespace

void measureLongRecording(Figures& figures, const LongRecording& wanted)
{
    const TemporaryDirectory directory;
    writeNoise(directory.path() / "noise.wav", 60);
    const NumberedWindow window{{"--size", wanted.size, "--scene", "grain", "--motion", "25"}, directory.path() / "noise.wav"};
    awaitPlayingStreams(1);
    RecordingProcess recording{window.id(), directory.path() / "clip.mp4"};
    if (!recording.hasFragment())
        throw std::runtime_error("no recording: " + recording.finish().messages);
    for (int minute = wanted.every; minute <= wanted.minutes; minute += wanted.every) {
        const ProcessorShare share{recording.processID()};
        std::this_thread::sleep_for(std::chrono::minutes{wanted.every});
        const auto name = "Minute " + std::to_string(minute) + ": ";
        figures.addMemory(name + "resident", recording.processID());
        figures.add(name + "processor", share.soFar(), 3, "s/s");
    }
    const Stopwatch stopwatch;
    recording.signal(SIGINT);
    const auto outcome = recording.finish();
    if (outcome.status != 0)
        throw std::runtime_error("the recording ended badly: " + outcome.messages);
    figures.add("Stop to the finished file and the program's end", stopwatch.milliseconds(), 0, "ms");
    if (!outcome.loss.empty())
        figures.text("What the recorder says", outcome.loss);
    addContents(figures, recording.file());
}

}  // namespace velmora::benchmarks
