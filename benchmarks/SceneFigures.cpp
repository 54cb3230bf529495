// Velmora beside other recorders on what people record: a film, a page that is scrolled, a terminal, slides, a player in a quarter of its
// window, each with 30 and 60 pictures a second. Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/peers/Comparison.h"

#include <string>

namespace {

using namespace velmora::benchmarks;
using velmora::test::Scene;

constexpr Budget budget{.once = std::chrono::seconds{370}, .again = std::chrono::seconds{30}};

struct Subject {
    const char* name;
    const char* scene;
    int motionPercent;
};

/// Slides change every four seconds at 30 pictures a second: each measurement has one change, and two at 60.
constexpr Subject subjects[] = {{"a film", "film", 100}, {"a film in a quarter", "film", 25}, {"a page that is scrolled", "text", 100},
    {"a terminal that prints", "terminal", 100}, {"slides", "slides", 100}};

void measure(Figures& figures)
{
    RecorderComparison comparison;
    for (const auto& subject : subjects) {
        for (const int rate : {30, 60}) {
            comparison.compare(figures,
                {.name = std::string{subject.name} + " at " + std::to_string(rate),
                    .scene = Scene::named(subject.scene),
                    .motionPercent = subject.motionPercent,
                    .framesPerSecond = rate});
        }
    }
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
