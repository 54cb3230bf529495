#include "tests/support/recording/Velmora.h"

#include "base/MonotonicClock.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velmora::test {

namespace {

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

std::vector<std::string> recordArguments(std::uint32_t window, const std::filesystem::path& file, const std::vector<std::string>& more)
{
    auto arguments = velmora({"record", "--window", std::to_string(window), "--output", file.string()});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// Takes the line that begins so out of `text`.
std::string takeLine(std::string& text, const std::string& beginning)
{
    const auto begin = text.find(beginning);
    if (begin == std::string::npos || (begin > 0 && text[begin - 1] != '\n'))
        return {};
    const auto end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    auto line = text.substr(begin, end - begin);
    text.erase(begin, end - begin);
    return line;
}

}  // namespace

std::string ProgramOutcome::lastLine() const
{
    const auto end = output.ends_with('\n') ? output.size() - 1 : output.size();
    const auto before = end == 0 ? std::string::npos : output.rfind('\n', end - 1);
    const auto begin = before == std::string::npos ? 0 : before + 1;
    return output.substr(begin, end - begin);
}

Program::Program(std::vector<std::string> arguments, Environment environment)
    : process_(std::move(arguments), std::move(environment), directory_.path() / "messages")
{
}

ProgramOutcome Program::finish()
{
    ProgramOutcome outcome;
    while (const auto line = process_.readLine(patience))
        outcome.output += *line + "\n";
    if (!process_.endsWithin(patience))
        process_.signal(SIGKILL);
    outcome.status = process_.wait();
    outcome.messages = contentOf(directory_.path() / "messages");
    outcome.loss = takeLine(outcome.messages, "The machine did not keep up: ");
    return outcome;
}

ProgramOutcome runProgram(std::vector<std::string> arguments, Environment environment)
{
    return Program{std::move(arguments), std::move(environment)}.finish();
}

std::vector<std::string> velmora(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), VELMORA_PROGRAM);
    return arguments;
}

ProgramOutcome runVelmora(std::vector<std::string> arguments, Environment environment)
{
    return runProgram(velmora(std::move(arguments)), std::move(environment));
}

bool waitUntil(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
    }
    return true;
}

std::int64_t monotonicNow()
{
    return MonotonicClock::now().time_since_epoch().count();
}

std::vector<ListedWindow> listWindows()
{
    const auto outcome = runVelmora({"windows", "--json"});
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(outcome.output));
    if (outcome.status != 0 || !document.isArray())
        throw std::runtime_error("no list of windows: " + outcome.messages + outcome.output);
    std::vector<ListedWindow> windows;
    for (const auto& entry : document.array()) {
        const auto object = entry.toObject();
        const auto frame = object.value(QStringLiteral("frame")).toObject();
        windows.push_back({
            .id = static_cast<std::uint32_t>(object.value(QStringLiteral("id")).toInteger()),
            .title = object.value(QStringLiteral("title")).toString().toStdString(),
            .appName = object.value(QStringLiteral("appName")).toString().toStdString(),
            .x = frame.value(QStringLiteral("x")).toDouble(),
            .y = frame.value(QStringLiteral("y")).toDouble(),
            .width = frame.value(QStringLiteral("width")).toDouble(),
            .height = frame.value(QStringLiteral("height")).toDouble(),
            .isOnScreen = object.value(QStringLiteral("isOnScreen")).toBool(),
        });
    }
    return windows;
}

ListedWindow awaitWindow(const std::string& title)
{
    std::optional<ListedWindow> found;
    waitUntil([&] {
        for (auto& window : listWindows()) {
            if (window.title == title && window.isOnScreen)
                found = std::move(window);
        }
        return found.has_value();
    });
    if (!found)
        throw std::runtime_error("not listed: " + title);
    return *found;
}

RecordingProcess::RecordingProcess(
    std::uint32_t window, std::filesystem::path file, const std::vector<std::string>& arguments, Environment environment)
    : file_(std::move(file))
    , program_(recordArguments(window, file_, arguments), std::move(environment))
{
}

bool RecordingProcess::hasFile() const
{
    return waitUntil([this] { return std::filesystem::exists(file_) || !program_.isRunning(); }) && std::filesystem::exists(file_);
}

bool RecordingProcess::hasFragment() const
{
    bool isThere = false;
    waitUntil([&] {
        isThere = contentOf(file_).find("moof") != std::string::npos;
        return isThere || !program_.isRunning();
    });
    return isThere;
}

ProgramOutcome record(std::uint32_t window, const std::filesystem::path& file, double seconds, Environment environment)
{
    return RecordingProcess{window, file, {"--duration", std::to_string(seconds)}, std::move(environment)}.finish();
}

}  // namespace velmora::test
