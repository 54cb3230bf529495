// What a person with a Mac tries first: whether the screen may be captured, what there is to capture, one recording, what a recording needs, and
// what the system shows of the program: an item in the menu bar and the panel. Compiled and tested against stand-ins; never run on a Mac.
#pragma once

#include "app/native/FloatingPanel.h"
#include "app/native/StatusBarItem.h"
#include "platform/DesktopInspection.h"
#include "platform/PlatformServices.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

namespace trial {

struct Request {
    enum class Kind { permission, windows, record, doctor, shell };

    Kind kind = Kind::permission;
    std::uint32_t windowID = 0;  ///< these three to record
    std::chrono::seconds duration{0};
    std::filesystem::path output;
};

inline constexpr const char* usage = "usage: velmora-trial permission\n"
                                     "       velmora-trial windows\n"
                                     "       velmora-trial record WINDOW SECONDS FILE\n"
                                     "       velmora-trial doctor\n"
                                     "       velmora-trial shell\n";

/// None for what is none of these.
[[nodiscard]] std::optional<Request> parse(const std::vector<std::string>& arguments);

/// What a trial says, and calls when it is over.
struct Surroundings {
    std::shared_ptr<Executor> mainExecutor;
    std::function<void(std::chrono::milliseconds, UniqueFunction<void()>)> later;  ///< on the main thread
    std::function<void(const std::string& line)> print;
    std::function<void(int status)> end;  ///< once; 0 is success
    /// What the machine has of what a recording needs; asked for by a doctor alone.
    std::function<platform::DesktopFacts()> inspect = {};
    /// What the system shows of the program; asked for by a shell alone.
    std::function<std::unique_ptr<StatusBarItem>(const BarPicture& mark)> makeStatusBarItem = {};
    std::function<std::unique_ptr<FloatingPanel>()> makePanel = {};
};

}  // namespace trial

/// One trial. Main thread only; has to live until it has ended.
class TrialCommand {
public:
    virtual ~TrialCommand() = default;
};

[[nodiscard]] std::unique_ptr<TrialCommand> startTrial(
    const trial::Request& request, const platform::PlatformServices& services, trial::Surroundings surroundings);

}  // namespace velmora
