// What recording an application's sound costs and how true it is: two players with two tones on a private PipeWire server, the sound of
// one recorded for a while. Usage: sound_figures [SECONDS]. Prints figures; judges nothing.

#include "platform/linux/sound/ApplicationAudio.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/Recorder.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <vector>

using velmora::SampleBufferRef;
using velmora::test::ChildProcess;
using velmora::test::Recorder;

namespace {

double processorSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void printSpread(const char* what, std::vector<double> values, const char* unit)
{
    if (values.empty())
        return;
    std::sort(values.begin(), values.end());
    const auto at = [&](double part) { return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))]; };
    std::printf("%-44s min %9.3f  median %9.3f  99%% %9.3f  max %9.3f %s\n", what, at(0), at(0.5), at(0.99), at(1), unit);
}

/// The breaks of a 440 Hz sine: frames at which it does not continue by its own recurrence x[n+1] = 2 cos(w) x[n] - x[n-1].
std::size_t countBreaks(const std::vector<float>& samples)
{
    const double coefficient = 2 * std::cos(2 * std::numbers::pi * 440 / Recorder::sampleRate);
    std::size_t breaks = 0;
    std::size_t last = 0;
    for (std::size_t i = 2; i < samples.size() / 2; ++i) {
        const auto at = [&](std::size_t frame) { return static_cast<double>(samples[frame * 2]); };
        if (std::abs(at(i) - (coefficient * at(i - 1) - at(i - 2))) > 1e-3 && (breaks == 0 || i > last + 480)) {
            ++breaks;
            last = i;
        }
    }
    return breaks;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::size_t seconds = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 20;
    velmora::test::PrivateSession session;
    velmora::test::PipeWireServer server{session};
    ChildProcess target{{VELMORA_TONE_PLAYER, "440"}};
    ChildProcess other{{VELMORA_TONE_PLAYER, "1000"}};
    target.readLine();
    other.readLine();

    const auto measure = [&](pid_t process, bool audible) {
        Recorder recorder;
        const auto source = velmora::linux_backend::makeApplicationAudioSource();
        velmora::engine::AudioTarget wanted;
        wanted.processID = process;
        if (!source->start(wanted, {}, [&](const SampleBufferRef& sample) { recorder.add(sample); }))
            return;
        if (audible)
            recorder.waitForTone(440);
        const auto begin = recorder.position();
        const double before = processorSeconds();
        const auto start = std::chrono::steady_clock::now();
        recorder.waitFor(begin, seconds * 48000);
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("%s: %.2f %% of one core (this program, recorder included)\n", audible ? "playing" : "nothing matches",
            100 * (processorSeconds() - before) / elapsed);
        std::vector<double> delays;
        for (const auto& block : recorder.blocks())
            delays.push_back(static_cast<double>(block.arrival - block.stamp) * 1e-6);
        printSpread("a block's arrival after its time stamp", delays, "ms");
        std::printf("largest gap between blocks: %lld ns\n", static_cast<long long>(recorder.largestGap()));
        if (!audible)
            return;
        std::printf("breaks in the tone (the player's own included): %zu in %zu s\n", countBreaks(recorder.samples(begin, seconds * 48000)),
            seconds);
        std::printf("the other program: %.1f dB against the target\n", recorder.cleanestSecond(440, 1000));

        std::vector<double> errors;
        for (std::size_t i = 0; i < seconds * 4; ++i) {
            const auto from = recorder.position();
            target.send("click");
            const auto heard = std::stoll(target.readLine().value_or("0"));
            recorder.waitFor(from, 12000);
            for (const auto& block : recorder.blocks()) {
                if (block.begin < from)
                    continue;
                const auto samples = recorder.samples(block.begin, block.frames);
                for (std::size_t frame = 0; frame < block.frames; ++frame) {
                    const auto stamp = block.stamp + static_cast<std::int64_t>(static_cast<double>(frame) * 1e9 / 48000);
                    if (samples[frame * 2] > 0.9F)
                        errors.push_back(static_cast<double>(stamp - heard) * 1e-6);
                }
            }
        }
        printSpread("time of a click against the player's own", errors, "ms");
    };
    measure(server.processID(), false);
    measure(target.processID(), true);
    return 0;
}
