// A Wayland desktop as far as a program that records it is concerned, for scripts: the real portal on a bus of its own, behind which the
// chooser of windows answers at once, and a window of 640 x 480 that moves and is shared.
//
//   shared_desktop
//
// Prints "ready ADDRESS" with the bus's address. Commands on standard input, one a line: "stop" ends the sharing as a desktop does. Each is
// answered with "ok". End of input ends the program.

#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/platform/linux/portal/TestCast.h"
#include "tests/platform/linux/portal/TestPortal.h"

#include <QSocketNotifier>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

int run()
{
    using namespace std::chrono_literals;
    const test::PrivateBus bus;
    TestCast cast;
    TestPortal portal{bus};
    portal.node = cast.nodeID();
    std::atomic<bool> isDone = false;
    std::thread window{[&] {
        for (std::uint32_t number = 1; !isDone; ++number) {
            cast.showIfWanted(number);
            std::this_thread::sleep_for(33ms);
        }
    }};
    QSocketNotifier input{STDIN_FILENO, QSocketNotifier::Read};
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        std::string line;
        if (!std::getline(std::cin, line)) {
            QCoreApplication::quit();
            return;
        }
        if (line == "stop")
            portal.closeSession();
        std::puts("ok");
        std::fflush(stdout);
    });
    std::printf("ready %s\n", bus.address().c_str());
    std::fflush(stdout);
    const int status = QCoreApplication::exec();
    isDone = true;
    window.join();
    return status;
}

}  // namespace
}  // namespace velmora::linux_backend

int main()
{
    try {
        return velmora::linux_backend::run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "shared_desktop: %s\n", error.what());
        return 1;
    }
}
