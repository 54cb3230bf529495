// Velmora beside other recorders on what people record: a film, a page that is scrolled, a terminal, slides, a player in a quarter of its
// window, each with 30 and 60 pictures a second. Runs in a private desktop.

#include "benchmarks/peers/Comparison.h"

#include <cstdio>
#include <exception>
#include <string>
#include <thread>

namespace {

using namespace velmora::benchmarks;
using velmora::test::Scene;

struct Subject {
    const char* name;
    const char* scene;
    int motionPercent;
};

constexpr Subject subjects[] = {{"a film", "film", 100}, {"a film in a quarter", "film", 25}, {"a page that is scrolled", "text", 100},
    {"a terminal that prints", "terminal", 100}, {"slides", "slides", 100}};

}  // namespace

int main(int argc, char** argv)
{
    Figures figures{argc, argv};
    try {
        const auto programs = recorders();
        figures.add("Processors", std::thread::hardware_concurrency(), 0, "");
        figures.text("Load average before", loadAverage());
        for (const auto& subject : subjects) {
            for (const int rate : {30, 60}) {
                const auto name = std::string{subject.name} + " at " + std::to_string(rate);
                const Load load{
                    .name = name, .scene = Scene::named(subject.scene), .motionPercent = subject.motionPercent, .framesPerSecond = rate};
                figures.row([&] { compareRecorders(figures, programs, load); });
            }
        }
        figures.text("Load average after", loadAverage());
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scene_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
