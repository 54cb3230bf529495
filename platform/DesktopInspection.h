// Seam: what this machine and its desktop have of what a recording needs, for a report.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::platform {

/// What was found. Texts come from servers and services, and may hold anything. Each `failure` is empty, or says why its question found
/// no answer; nothing else beside it counts then.
struct DesktopFacts {
    enum class DisplayKind { none, x11, wayland, mac };

    struct Encoder {
        enum class Outcome {
            works,
            fails,  ///< cannot be opened here, or its pictures were not right; `reason` says which
            missing,  ///< the library does not have it
            endedAProgram,  ///< in its trial, in this login session: it is passed over
            ruledOut,  ///< another is the one to use (`onlyEncoder`)
        };

        std::string name;
        Outcome outcome = Outcome::fails;
        std::string reason = {};
        bool isSoftware = false;
    };

    struct Encoders {
        std::string failure;  ///< the codec module cannot be used
        std::string library;  ///< whose encoders these are, and its version
        std::string onlyEncoder;  ///< the one that the environment names; empty: any
        std::vector<Encoder> tried;  ///< the preferred one first
    };

    struct Display {
        DisplayKind kind = DisplayKind::none;
        std::string failure;
        std::string name;  ///< as DISPLAY or WAYLAND_DISPLAY names it
        std::string server;  ///< who made it and its version; empty where it does not say
        std::string desktop;  ///< XDG_CURRENT_DESKTOP
    };

    struct Portal {
        std::string failure;
        bool isRunning = false;
        bool canBeStarted = false;
        std::uint32_t screenCast = 0;  ///< version of the interface; 0: it has none
        bool sharesWindows = false;
        std::uint32_t shortcuts = 0;  ///< the same
    };

    struct Shortcut {
        enum class State {
            unknown,  ///< this display does not say before it is registered
            free,
            taken,
            impossible,  ///< the keyboard has no such keys
        };

        State state = State::unknown;
    };

    struct Program {
        std::string failure;
        bool isRunning = false;
        std::string status;  ///< its own words, a JSON object
    };

    struct Sound {
        std::string failure;
        std::string server;  ///< empty: none answers
        std::string reason;  ///< why none does
    };

    struct Notifications {
        std::string failure;
        std::string service;  ///< name and version; empty: none is running
        bool canBeStarted = false;
    };

    struct Tray {
        std::string failure;
        bool hasStatusNotifierHost = false;
        bool hasXEmbedHost = false;  ///< by the display, whatever the bus says
    };

    struct Disk {
        std::string failure;
        std::filesystem::path folder;  ///< of the clips
        bool exists = false;
        std::string refusal;  ///< why no file can be created in it, or it cannot be created; empty: it can
        std::optional<std::uint64_t> freeBytes;  ///< for this user
    };

    std::string system;
    Encoders encoders;
    Display display;
    Portal portal;
    Shortcut shortcut;
    Program program;
    Sound sound;
    Notifications notifications;
    Tray tray;
    Disk disk;
};

/// Main thread only, in a process that has no other threads yet.
class DesktopInspection {
public:
    struct Questions {
        std::uint32_t keyCode = 0;  ///< of the shortcut, as HotKeyCenter has it
        std::uint32_t modifiers = 0;
        std::filesystem::path clipsFolder;
        /// Where the running program is asked for its status, on the session bus.
        std::string programService;
        std::string programPath;
        std::string programInterface;
    };

    virtual ~DesktopInspection() = default;

    /// Asks everything, for `patience` at most; what has not answered by then counts as a failure. Starts no capture and no service,
    /// and leaves nothing changed; where nobody else has the shortcut it is taken and given back at once.
    [[nodiscard]] virtual DesktopFacts inspect(const Questions& questions, std::chrono::milliseconds patience) = 0;
};

/// That of the desktop that this process runs on.
std::unique_ptr<DesktopInspection> makeDesktopInspection();

}  // namespace velmora::platform
