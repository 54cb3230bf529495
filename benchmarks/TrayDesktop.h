// What a person has before the first click: a home, a tray, the program's item in it.
#pragma once

#include "benchmarks/DesktopWatch.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/recording/Velmora.h"

#include <QString>
#include <QVariantList>

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::benchmarks {

/// A home directory of its own.
class Home {
public:
    enum class Walkthrough { seen, ahead };

    explicit Home(Walkthrough walkthrough = Walkthrough::seen);

    [[nodiscard]] std::filesystem::path path() const { return directory_.path(); }
    [[nodiscard]] std::filesystem::path clips() const { return path() / "Movies" / "Velmora"; }

    /// For programs that are to live in it.
    [[nodiscard]] test::Environment environment() const;

    /// Has this process live in it.
    void enter() const;

    /// Adds copies of that clip, as files of their own, until there are so many.
    void fillWithClips(const std::filesystem::path& clip, int count);

private:
    const test::TemporaryDirectory directory_;
    int clipCount_ = 0;
};

/// A tray, once it is on the screen, until the object's end.
class Tray {
public:
    Tray();

private:
    test::Program program_{{"trayer"}};
};

/// A program whose item is in the tray, until the object's end. There is a tray.
class TrayItem {
public:
    /// Returns as soon as the item has its place.
    TrayItem(DesktopWatch& watch, const std::vector<std::string>& command, const test::Environment& environment);

    /// Velmora.
    TrayItem(DesktopWatch& watch, const test::Environment& environment);

    /// Asks it to end, and waits for that.
    ~TrayItem();
    TrayItem(const TrayItem&) = delete;
    TrayItem& operator=(const TrayItem&) = delete;

    [[nodiscard]] pid_t processID() const { return program_.processID(); }
    [[nodiscard]] xcb_window_t icon() const { return icon_; }

    /// Ends it now; what it said meanwhile.
    test::ProgramOutcome end();

private:
    test::Program program_;
    xcb_window_t icon_;
    bool hasEnded_ = false;
};

/// Calls the program that runs, over the bus, without waiting for an answer. `interface` is one of app/control/InstanceBus.h. Throws when
/// there is no bus.
void callProgram(const char* interface, const QString& method, const QVariantList& arguments);

}  // namespace velmora::benchmarks
