#include "benchmarks/peers/Recorders.h"

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velmora::benchmarks {

namespace {

using test::ChildProcess;
using test::ListedWindow;
using test::Program;
using test::TemporaryDirectory;

/// Recorders that take their settings as arguments and end, with their file whole, on SIGINT.
class InterruptedProgram final : public RunningRecording {
public:
    explicit InterruptedProgram(const std::vector<std::string>& arguments) : name_(arguments.front()), program_(arguments) { }

    [[nodiscard]] pid_t processID() const override { return program_.processID(); }

    void finish() override
    {
        program_.signal(SIGINT);
        const auto outcome = program_.finish();
        // ffmpeg reports the signal by its status.
        if (outcome.status != 0 && outcome.status != 255)
            throw std::runtime_error(name_ + " ended badly: " + outcome.messages);
    }

private:
    const std::string name_;
    Program program_;
};

/// It takes its settings from a file, and commands from its standard input.
class SimpleScreenRecorder final : public RunningRecording {
public:
    SimpleScreenRecorder(const ListedWindow& window, const std::filesystem::path& file)
        : process_(command(writeSettings(directory_.path() / "settings", window, file)))
    {
    }

    [[nodiscard]] pid_t processID() const override { return process_.processID(); }

    void finish() override
    {
        process_.send("record-save");
        process_.send("quit");
        if (!process_.endsWithin(test::patience))
            throw std::runtime_error("simplescreenrecorder does not end");
    }

private:
    static std::vector<std::string> command(const std::filesystem::path& settings)
    {
        return {"simplescreenrecorder", "--settingsfile=" + settings.string(), "--logfile=" + settings.string() + ".log", "--no-systray",
            "--start-hidden", "--start-recording"};
    }

    static std::filesystem::path writeSettings(
        const std::filesystem::path& settings, const ListedWindow& window, const std::filesystem::path& file)
    {
        // It records a part of the screen: the window, which nothing covers.
        std::ofstream{settings} << "[input]\naudio_backend=pulseaudio\naudio_enabled=true\naudio_pulseaudio_source=@DEFAULT_MONITOR@\n"
                                << "video_area=fixed\nvideo_frame_rate=60\nvideo_record_cursor=true\nvideo_scale=false\nvideo_x="
                                << static_cast<int>(window.x) << "\nvideo_y=" << static_cast<int>(window.y)
                                << "\nvideo_w=" << static_cast<int>(window.width) << "\nvideo_h=" << static_cast<int>(window.height)
                                << "\n[output]\nadd_timestamp=false\naudio_codec=aac\naudio_kbit_rate=192\ncontainer=mp4\nfile="
                                << file.string()
                                << "\nvideo_allow_frame_skipping=true\nvideo_codec=other\nvideo_codec_av=libx264\nvideo_kbit_rate=8000\n"
                                << "video_options=preset=superfast\n[record]\nhotkey_enable=false\n[welcome]\nskip_page=true\n";
        return settings;
    }

    TemporaryDirectory directory_;
    ChildProcess process_;
};

std::string hexadecimal(std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", value);
    return text;
}

std::unique_ptr<RunningRecording> startVelmora(const ListedWindow& window, const std::filesystem::path& file)
{
    return std::make_unique<InterruptedProgram>(
        test::velmora({"record", "--window", std::to_string(window.id), "--output", file.string()}));
}

std::unique_ptr<RunningRecording> startFfmpeg(const ListedWindow& window, const std::filesystem::path& file)
{
    const auto size = std::to_string(static_cast<int>(window.width)) + "x" + std::to_string(static_cast<int>(window.height));
    return std::make_unique<InterruptedProgram>(std::vector<std::string>{"ffmpeg", "-v", "error", "-nostdin", "-thread_queue_size", "512",
        "-f", "x11grab", "-framerate", "60", "-draw_mouse", "1", "-window_id", hexadecimal(window.id), "-video_size", size, "-i", "",
        "-thread_queue_size", "512", "-f", "pulse", "-i", "@DEFAULT_MONITOR@", "-c:v", "libx264", "-preset", "superfast", "-b:v", "8M",
        "-maxrate", "12M", "-bufsize", "6M", "-pix_fmt", "yuv420p", "-c:a", "aac", "-b:a", "192k", file.string()});
}

std::unique_ptr<RunningRecording> startGStreamer(const ListedWindow& window, const std::filesystem::path& file)
{
    return std::make_unique<InterruptedProgram>(std::vector<std::string>{"gst-launch-1.0", "-q", "-e", "mp4mux", "name=file", "!",
        "filesink", "location=" + file.string(), "ximagesrc", "xid=" + std::to_string(window.id), "use-damage=false", "show-pointer=true",
        "!", "video/x-raw,framerate=60/1", "!", "queue", "!", "videoconvert", "!", "video/x-raw,format=I420", "!", "x264enc",
        "speed-preset=superfast", "bitrate=8000", "!", "h264parse", "!", "queue", "!", "file.", "pulsesrc", "device=@DEFAULT_MONITOR@", "!",
        "queue", "!", "audioconvert", "!", "avenc_aac", "bitrate=192000", "!", "aacparse", "!", "queue", "!", "file."});
}

bool isInstalled(const std::string& program)
{
    return test::runProgram({"sh", "-c", "command -v \"$1\"", "sh", program}).status == 0;
}

}  // namespace

std::vector<Recorder> installedRecorders()
{
    std::vector<Recorder> result{{"velmora", startVelmora}};
    if (isInstalled("ffmpeg"))
        result.push_back({"ffmpeg", startFfmpeg});
    if (isInstalled("gst-launch-1.0") && test::runProgram({"gst-inspect-1.0", "x264enc"}).status == 0)
        result.push_back({"GStreamer", startGStreamer});
    if (isInstalled("simplescreenrecorder")) {
        result.push_back({"SimpleScreenRecorder",
            [](const ListedWindow& window, const std::filesystem::path& file) -> std::unique_ptr<RunningRecording> {
                return std::make_unique<SimpleScreenRecorder>(window, file);
            }});
    }
    return result;
}

}  // namespace velmora::benchmarks
