#include "benchmarks/Figures.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <unistd.h>
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

double statusMegabytes(pid_t process, std::string_view field)
{
    std::ifstream status{"/proc/" + std::to_string(process) + "/status"};
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field))
            return std::atof(line.c_str() + field.size()) / 1024;
    }
    return 0;
}

}  // namespace

double processorSeconds(pid_t process)
{
    std::ifstream file{"/proc/" + std::to_string(process) + "/stat"};
    std::string text;
    if (!std::getline(file, text))
        return 0;
    std::istringstream fields{text.substr(text.rfind(')') + 2)};
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

double processorTime(pid_t process)
{
    double seconds = 0;
    std::error_code ended;
    for (const auto& thread : std::filesystem::directory_iterator{"/proc/" + std::to_string(process) + "/task", ended}) {
        double nanoseconds = 0;
        std::ifstream{thread.path() / "schedstat"} >> nanoseconds;
        seconds += nanoseconds / 1e9;
    }
    return seconds;
}

double residentMegabytes(pid_t process)
{
    return statusMegabytes(process, "VmRSS:");
}

double anonymousMegabytes(pid_t process)
{
    return statusMegabytes(process, "RssAnon:");
}

std::string loadAverage()
{
    std::ifstream file{"/proc/loadavg"};
    std::string one;
    file >> one;
    return one;
}

Figures::Figures(int argc, char** argv, QuietMachine::Spin spin) : machine_(std::move(spin))
{
    if (argc == 3 && std::string_view{argv[1]} == "--json") {
        file_ = argv[2];
    } else if (argc != 1) {
        std::fprintf(stderr, "usage: %s [--json FILE]\n", argv[0]);
        std::exit(2);
    }
}

void Figures::row(const std::function<void()>& measure)
{
    isInRow_ = true;
    for (int attempt = 1;; ++attempt) {
        row_.clear();
        const bool wasQuiet = machine_.isQuiet();
        measure();
        if (machine_.isQuiet() && wasQuiet)
            break;
        if (attempt == tries) {
            text("   the machine was not quiet in any of so many tries", std::to_string(tries));
            break;
        }
    }
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
