// Trims one file after another, for scripts/foreign-files, which would otherwise start a program a thousand times.
//
//     trim_tool <LINES
//     trim_tool --clip SEED FILE
//
// A line is SOURCE, START and END in seconds, and TARGET, with tabs between them. Each is answered with a line: "written", or "refused" and
// the reason. The second form writes a clip as the recorder leaves it, with pictures at uneven times.
#include "media/mp4/PosixFile.h"
#include "media/mp4/Trimmer.h"
#include "tests/support/media/WrittenClip.h"

#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>

using namespace velmora;

namespace {

std::string answer(const std::string& line)
{
    std::istringstream fields{line};
    std::string source;
    std::string start;
    std::string end;
    std::string target;
    std::getline(fields, source, '\t');
    std::getline(fields, start, '\t');
    std::getline(fields, end, '\t');
    std::getline(fields, target);
    const TimeRange range{MediaTime::fromSeconds(std::stod(start), MediaTime::nanosecondScale),
        MediaTime::fromSeconds(std::stod(end), MediaTime::nanosecondScale)};
    const auto in = mp4::PosixFile::openForReading(source);
    if (!in)
        return "refused " + in.error().localizedDescription;
    auto plan = mp4::readAndPlanTrim(**in, range);
    if (!plan)
        return "refused " + plan.error().localizedDescription;
    std::filesystem::remove(target);
    const auto out = mp4::PosixFile::create(target);
    if (!out)
        return "refused " + out.error().localizedDescription;
    const auto outcome = mp4::writeTrim(**in, std::move(*plan), **out);
    return outcome ? "written" : "refused " + outcome.error().localizedDescription;
}

}  // namespace

int main(int count, char** arguments)
{
    if (count == 4 && std::string{arguments[1]} == "--clip") {
        test::writeClip(arguments[3], test::unevenClip(static_cast<unsigned>(std::stoul(arguments[2]))));
        return 0;
    }
    for (std::string line; std::getline(std::cin, line);)
        std::cout << answer(line) << std::endl;
    return 0;
}
