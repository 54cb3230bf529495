// A program for a person with a Mac to try first. Compiled against our own declarations; never run on a Mac.
#include "app/mac/TrialCommand.h"
#include "platform/DesktopInspection.h"
#include "platform/PlatformFactory.h"

#import <AppKit/AppKit.h>
#include <CoreFoundation/CoreFoundation.h>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

namespace {

/// The main thread, by its loop.
class MainLoopExecutor final : public velmora::Executor {
public:
    void async(velmora::UniqueFunction<void()> work) override
    {
        // A block copies what it captures.
        const auto shared = std::make_shared<velmora::UniqueFunction<void()>>(std::move(work));
        CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, ^{
            @autoreleasepool {
                (*shared)();
            }
        });
        CFRunLoopWakeUp(CFRunLoopGetMain());
    }
};

/// What can be said of this Mac within a time that a person waits.
velmora::platform::DesktopFacts inspect(const velmora::platform::FileManager& files)
{
    const auto movies = files.moviesDirectories();
    velmora::platform::DesktopInspection::Questions questions;
    using velmora::platform::HotKeyCenter;
    constexpr std::uint32_t keyOfC = 8;
    questions.keyCode = keyOfC;
    questions.modifiers = HotKeyCenter::optionModifier | HotKeyCenter::commandModifier;
    questions.clipsFolder = (movies.empty() ? files.homeDirectory() / "Movies" : movies.front()) / "Velmora";
    return velmora::platform::makeDesktopInspection()->inspect(questions, std::chrono::seconds{15});
}

}  // namespace

int main(int count, char* arguments[])
{
    @autoreleasepool {
        velmora::platform::prepareProcess();
        const auto request = velmora::trial::parse({arguments + 1, arguments + count});
        if (!request) {
            std::fputs(velmora::trial::usage, stderr);
            return 2;
        }
        if (!velmora::becomeMenuBarProgram())
            std::fputs("The system refuses a program that is in the menu bar alone.\n", stderr);
        const auto executor = std::make_shared<MainLoopExecutor>();
        const auto services = velmora::platform::makePlatformServices(executor, {});
        std::unique_ptr<velmora::TrialCommand> trial;
        trial = velmora::startTrial(*request, services,
            {.mainExecutor = executor,
                .later =
                    [executor](std::chrono::milliseconds delay, velmora::UniqueFunction<void()> work) {
                        std::thread{[executor, delay, work = std::move(work)]() mutable {
                            std::this_thread::sleep_for(delay);
                            executor->async(std::move(work));
                        }}.detach();
                    },
                .print =
                    [](const std::string& line) {
                        std::printf("%s\n", line.c_str());
                        std::fflush(stdout);
                    },
                .end =
                    [executor, &trial](int status) {
                        // The application's loop has no end of its own; what runs in it now is the trial's.
                        executor->async([&trial, status] {
                            trial.reset();
                            std::exit(status);
                        });
                    },
                .inspect = [files = services.fileManager] { return inspect(*files); },
                .makeStatusBarItem = velmora::makeStatusBarItem,
                .makePanel = velmora::makeFloatingPanel});
        // A menu needs the application's events, not the loop alone.
        [NSApplication.sharedApplication run];
        return 1;
    }
}
