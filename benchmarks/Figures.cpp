#include "benchmarks/Figures.h"

#include "benchmarks/ProcessUse.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace velmora::benchmarks {

namespace {

constexpr std::size_t nameWidth = 76;
constexpr int tries = 3;

std::string number(double value, int decimals)
{
    if (std::isnan(value))
        return "-";
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.*f", decimals, value);
    return digits;
}

/// Names of figures and units hold nothing below a space.
std::string jsonText(std::string_view text)
{
    std::string result{'"'};
    for (const char one : text) {
        if (one == '"' || one == '\\')
            result += '\\';
        result += one;
    }
    return result + '"';
}

std::string jsonNumber(double value)
{
    return std::isfinite(value) ? number(value, 6) : "null";
}

void print(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

}  // namespace

Figures::Figures(std::filesystem::path file, std::chrono::duration<double> forRepetitions, QuietMachine::Spin spin)
    : file_(std::move(file))
    , forRepetitions_(forRepetitions)
    , machine_(std::move(spin))
{
}

bool Figures::undisturbed(const std::function<void()>& take)
{
    for (int attempt = 1;; ++attempt) {
        const Stopwatch stopwatch;
        const bool wasQuiet = machine_.isQuiet();
        take();
        if (machine_.isQuiet() && wasQuiet)
            return true;
        const std::chrono::duration<double> took{stopwatch.seconds()};
        if (attempt == tries || took > forRepetitions_)
            return false;
        forRepetitions_ -= took;
    }
}

void Figures::row(const std::function<void()>& measure)
{
    isInRow_ = true;
    int attempts = 0;
    const bool wasQuiet = undisturbed([&] {
        row_.clear();
        ++attempts;
        measure();
    });
    if (!wasQuiet)
        text("   the machine was not quiet in any of so many tries", std::to_string(attempts));
    isInRow_ = false;
    for (auto& [line, object] : row_) {
        print(line);
        objects_.push_back(std::move(object));
    }
}

void Figures::put(const std::string& what, const std::string& value, std::string object)
{
    Figure figure{what + std::string(nameWidth > what.size() ? nameWidth - what.size() : 0, ' ') + ' ' + value, std::move(object)};
    if (isInRow_) {
        row_.push_back(std::move(figure));
        return;
    }
    print(figure.line);
    objects_.push_back(std::move(figure.object));
}

void Figures::text(const std::string& what, const std::string& value)
{
    put(what, value, "{\"figure\": " + jsonText(what) + ", \"text\": " + jsonText(value) + "}");
}

void Figures::add(const std::string& what, double value, int decimals, const std::string& unit)
{
    put(what, number(value, decimals) + " " + unit,
        "{\"figure\": " + jsonText(what) + ", \"unit\": " + jsonText(unit) + ", \"value\": " + jsonNumber(value) + "}");
}

void Figures::addMemory(const std::string& what, pid_t process)
{
    add(what, residentMegabytes(process), 1, "MB");
    add("   of which in no file", anonymousMegabytes(process), 1, "MB");
}

void Figures::compare(
    const std::string& what, const std::vector<Compared>& programs, int decimals, const std::string& unit, bool isLessBetter)
{
    const auto& ours = programs.front();
    double best = std::nan("");
    std::string line = ours.program + " " + number(ours.value, decimals);
    std::string peers;
    for (auto peer = programs.begin() + 1; peer != programs.end(); ++peer) {
        if (std::isnan(best) || (isLessBetter ? peer->value < best : peer->value > best))
            best = peer->value;
        line += "  " + peer->program + " " + number(peer->value, decimals);
        peers += (peers.empty() ? "" : ", ") + jsonText(peer->program) + ": " + jsonNumber(peer->value);
    }
    const double ratio = ours.value / best;
    put(what, line + (unit.empty() ? "" : "  ") + unit + "  ratio " + number(ratio, 2),
        "{\"figure\": " + jsonText(what) + ", \"unit\": " + jsonText(unit) + ", \"value\": " + jsonNumber(ours.value) + ", \"peers\": {"
            + peers + "}, \"ratio\": " + jsonNumber(ratio) + "}");
}

void Figures::write() const
{
    if (file_.empty())
        return;
    std::ofstream file{file_};
    for (std::size_t i = 0; i < objects_.size(); ++i)
        file << (i == 0 ? "[\n  " : ",\n  ") << objects_[i];
    file << "\n]\n";
    if (!file.flush())
        throw std::runtime_error("cannot write " + file_.string());
}

}  // namespace velmora::benchmarks
