#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velmora::test {

namespace {

std::vector<std::string> windowArguments(
    const std::string& title, const std::filesystem::path& log, const std::vector<std::string>& options, const std::filesystem::path& sound)
{
    std::vector<std::string> arguments;
    if (!sound.empty()) {
        // The shell becomes the window's process; what plays stays below it and ends with the window.
        arguments = {"sh", "-c", "setpriv --pdeathsig KILL sh -c \"$1\" sh \"$2\" & shift 2; exec \"$@\"", "sh",
            "while :; do setpriv --pdeathsig KILL pw-play \"$1\" 2>/dev/null; sleep 0.2; done", sound.string()};
    }
    arguments.insert(arguments.end(), {VELMORA_NUMBERED_WINDOW, "--title", title, "--log", log.string()});
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

std::string nextTitle()
{
    static int count = 0;
    return "Numbered window " + std::to_string(++count);
}

void runToSuccess(std::vector<std::string> arguments)
{
    const auto name = arguments.front();
    if (const auto outcome = runProgram(std::move(arguments)); outcome.status != 0)
        throw std::runtime_error(name + ": " + outcome.messages);
}

}  // namespace

NumberedWindow::NumberedWindow(const std::vector<std::string>& options, const std::filesystem::path& sound)
    : title_(nextTitle())
    , process_(windowArguments(title_, directory_.path() / "log", options, sound))
{
    const auto ready = process_.readLine(patience);
    if (!ready || !ready->starts_with("ready "))
        throw std::runtime_error("no numbered window");
    id_ = static_cast<std::uint32_t>(std::stoul(ready->substr(6)));
    awaitWindow(title_);
}

std::string NumberedWindow::command(const std::string& line)
{
    process_.send(line);
    return process_.readLine(patience).value_or("");
}

std::map<std::uint32_t, std::int64_t> NumberedWindow::shown() const
{
    std::map<std::uint32_t, std::int64_t> frames;
    std::ifstream log{directory_.path() / "log"};
    for (std::string line; std::getline(log, line) && !log.eof();) {
        const auto separator = line.find(' ');
        frames.emplace(std::stoul(line) & 0xffffU, std::stoll(line.substr(separator)));
    }
    return frames;
}

VideoPlayer::VideoPlayer(const std::string& title, const std::filesystem::path& file)
    : process_({"mpv", "--no-config", "--vo=x11", "--ao=pipewire", "--hwdec=no", "--loop-file=inf", "--no-osc", "--osd-level=0",
        "--no-terminal", "--title=" + title, file.string()})
    , window_(awaitWindow(title))
{
}

std::vector<std::string> chromiumArguments(const std::filesystem::path& profile)
{
    return {"chromium", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
        "--disable-component-update", "--disable-sync", "--autoplay-policy=no-user-gesture-required",
        "--user-data-dir=" + profile.string()};
}

std::string reportOfPage(const std::filesystem::path& page)
{
    auto arguments = chromiumArguments(page.string() + ".profile");
    arguments.insert(arguments.end(),
        {"--headless=new", "--allow-file-access-from-files", "--enable-logging=stderr", "--v=0", "file://" + page.string()});
    ChildProcess browser{arguments, {}, "/dev/stdout"};
    const std::string opening = "clip-report ";
    std::string report;
    while (const auto line = browser.readLine(patience)) {
        const auto begin = line->find(opening);
        const auto end = line->find(" end-of-report");
        if (begin != std::string::npos && end != std::string::npos) {
            report = line->substr(begin + opening.size(), end - begin - opening.size());
            break;
        }
    }
    browser.terminate();
    return report;
}

void awaitPlayingStreams(int count)
{
    const auto isThere = [count] {
        const auto streams = runProgram({"pactl", "list", "short", "sink-inputs"}).output;
        return std::count(streams.begin(), streams.end(), '\n') == count;
    };
    if (!waitUntil(isThere))
        throw std::runtime_error(
            "not " + std::to_string(count) + " playing streams: " + runProgram({"pactl", "list", "sink-inputs"}).output);
}

void makeClip(const std::filesystem::path& file, const std::string& video, const std::string& audio, int seconds)
{
    runToSuccess({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", video, "-f", "lavfi", "-i", audio, "-t", std::to_string(seconds), "-c:v",
        "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac", "-ac", "2", "-ar", "48000", file.string()});
}

void writeNoise(const std::filesystem::path& file, int seconds)
{
    runToSuccess({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "anoisesrc=r=48000:a=0.5:seed=1", "-f", "lavfi", "-i",
        "anoisesrc=r=48000:a=0.5:seed=2", "-filter_complex", "amerge=inputs=2", "-t", std::to_string(seconds), file.string()});
}

void makeFlashAndBeepClip(const std::filesystem::path& file, int seconds)
{
    makeClip(file, "color=black:s=640x480:r=60,drawbox=color=white:t=fill:enable='lt(mod(t,1),0.1)'",
        "aevalsrc='0.8*sin(2*PI*1000*t)*lt(mod(t,1),0.1)':s=48000", seconds);
}

}  // namespace velmora::test
