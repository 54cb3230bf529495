#include "tests/support/sound/SoundServer.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <numbers>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velmora::test {

namespace {

constexpr const char* sinkName = "velmora-test-sink";

void waitUntil(const std::function<bool()>& condition, const char* what, std::chrono::seconds patience = std::chrono::seconds{20})
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error(std::string{"not ready: "} + what);
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
    }
}

/// A socket exists before it listens, and a client that comes in between is refused and ends.
bool listens(const std::filesystem::path& socket)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socket.native().size() >= sizeof address.sun_path)
        throw std::runtime_error("the socket's path is too long");
    std::memcpy(address.sun_path, socket.c_str(), socket.native().size() + 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isConnected = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return isConnected;
}

void setVariable(const std::string& name, const std::optional<std::string>& value)
{
    if (value)
        ::setenv(name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(name.c_str());
}

}  // namespace

PrivateSession::PrivateSession()
{
    std::string name = (std::filesystem::temp_directory_path() / "velmora-sound-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("no temporary directory");
    directory_ = name;
    std::filesystem::create_directory(directory_ / "run");
    std::filesystem::create_directory(directory_ / "tmp");
    std::filesystem::permissions(directory_ / "run", std::filesystem::perms::owner_all);
    const std::map<std::string, std::optional<std::string>> settings{
        {"HOME", name},
        {"TMPDIR", name + "/tmp"},
        {"XDG_RUNTIME_DIR", name + "/run"},
        {"XDG_CONFIG_HOME", name + "/config"},
        {"XDG_STATE_HOME", name + "/state"},
        {"XDG_CACHE_HOME", name + "/cache"},
        {"XDG_DATA_HOME", name + "/data"},
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + name + "/run/bus"},
        {"PIPEWIRE_RUNTIME_DIR", std::nullopt},
        {"PIPEWIRE_REMOTE", std::nullopt},
        {"PULSE_SERVER", std::nullopt},
        {"PULSE_RUNTIME_PATH", std::nullopt},
    };
    for (const auto& [variable, value] : settings) {
        const char* old = ::getenv(variable.c_str());
        before_.emplace(variable, old ? std::optional<std::string>{old} : std::nullopt);
        setVariable(variable, value);
    }
}

PrivateSession::~PrivateSession()
{
    for (const auto& [variable, value] : before_)
        setVariable(variable, value);
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

PipeWireServer::PipeWireServer(const PrivateSession& session)
{
    const auto configuration = session.directory() / "config" / "pipewire" / "pipewire.conf.d";
    std::filesystem::create_directories(configuration);
    std::ofstream{configuration / "10-test-sink.conf"} << "context.objects = [\n"
                                                          "  { factory = adapter\n"
                                                          "    args = { factory.name = support.null-audio-sink\n"
                                                          "             node.name = \""
                                                       << sinkName
                                                       << "\"\n"
                                                          "             media.class = Audio/Sink\n"
                                                          "             audio.position = \"FL,FR\"\n"
                                                          "             priority.session = 1000\n"
                                                          "             object.linger = true } }\n"
                                                          "]\n";
    bus_ = std::make_unique<ChildProcess>(std::vector<std::string>{
        "dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=unix:path=" + (session.directory() / "run" / "bus").string()});
    waitUntil([&] { return listens(session.directory() / "run" / "bus"); }, "dbus-daemon");
    startPrograms();
}

void PipeWireServer::startPrograms()
{
    pipeWire_ = std::make_unique<ChildProcess>(std::vector<std::string>{"pipewire"});
    const std::filesystem::path runtime{::getenv("XDG_RUNTIME_DIR")};
    waitUntil([&] { return listens(runtime / "pipewire-0"); }, "pipewire");
    wirePlumber_ = std::make_unique<ChildProcess>(std::vector<std::string>{"wireplumber"});
    pulse_ = std::make_unique<ChildProcess>(std::vector<std::string>{"pipewire-pulse"});
    const auto isReady = [this] {
        // A service manager starts one again that fails on its way.
        if (pulse_->endsWithin(std::chrono::seconds{0}))
            pulse_ = std::make_unique<ChildProcess>(std::vector<std::string>{"pipewire-pulse"});
        return outputOf({"pactl", "get-default-sink"}) == std::string{sinkName} + "\n";
    };
    // A sink that is being set up is there, and now and then refuses its first stream, or keeps it waiting for half a minute.
    const auto playsSilence = [] {
        ChildProcess player{{"sh", "-c", "head -c 1920 /dev/zero | pacat --raw --latency-msec=20 --rate=48000 --channels=2"}};
        return player.endsWithin(std::chrono::seconds{5}) && player.wait() == 0;
    };
    try {
        waitUntil(isReady, "the sink");
        waitUntil(playsSilence, "a stream", std::chrono::seconds{60});
        waitUntil([] { return outputOf({"pactl", "list", "short", "sink-inputs"}).empty(); }, "the end of the stream");
    } catch (const std::runtime_error& error) {
        // Hundreds of questions asked in vain would hide in the report what the servers said.
        throw std::runtime_error(
            std::string{error.what()} + '\n' + pipeWire_->transcript() + wirePlumber_->transcript() + pulse_->transcript());
    }
}

void PipeWireServer::kill()
{
    pulse_->kill();
    wirePlumber_->kill();
    pipeWire_->kill();
}

void PipeWireServer::restart()
{
    kill();
    const std::filesystem::path runtime{::getenv("XDG_RUNTIME_DIR")};
    std::filesystem::remove(runtime / "pipewire-0");
    startPrograms();
}

PulseServer::PulseServer(const PrivateSession& session)
{
    static_cast<void>(session);
    startProgram();
}

void PulseServer::restart()
{
    kill();
    startProgram();
}

void PulseServer::startProgram()
{
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"pulseaudio", "-n", "--exit-idle-time=-1", "--daemonize=no", "--use-pid-file=no", "--disable-shm=yes",
            "-L", "module-null-sink sink_name=first", "-L", "module-null-sink sink_name=second", "-L", "module-native-protocol-unix"});
    waitUntil([] { return outputOf({"pactl", "get-default-sink"}) == "first\n"; }, "pulseaudio");
}

std::string outputOf(std::vector<std::string> arguments)
{
    ChildProcess child{std::move(arguments)};
    std::string output;
    while (const auto line = child.readLine())
        output += *line + "\n";
    child.wait();
    return output;
}

void writeTone(const std::filesystem::path& file, double frequency, int seconds)
{
    constexpr std::uint32_t rate = 48000;
    constexpr std::uint16_t channels = 2;
    std::vector<std::int16_t> samples;
    for (std::uint32_t i = 0; i < rate * static_cast<std::uint32_t>(seconds); ++i) {
        const auto sample = static_cast<std::int16_t>(std::lround(16384 * std::sin(2 * std::numbers::pi * frequency * i / rate)));
        samples.insert(samples.end(), channels, sample);
    }
    std::string bytes;
    const auto number = [&](std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes.push_back(static_cast<char>(value >> (8 * i)));
    };
    const auto size = static_cast<std::uint32_t>(samples.size() * sizeof(std::int16_t));
    bytes += "RIFF";
    number(36 + size, 4);
    bytes += "WAVEfmt ";
    number(16, 4);
    number(1, 2);
    number(channels, 2);
    number(rate, 4);
    number(rate * channels * 2, 4);
    number(channels * 2, 2);
    number(16, 2);
    bytes += "data";
    number(size, 4);
    for (const auto sample : samples)
        number(static_cast<std::uint16_t>(sample), 2);
    std::ofstream{file, std::ios::binary}.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace velmora::test
