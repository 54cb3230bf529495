// A window that a test draws and shares over PipeWire, as a desktop does.
#pragma once

#include "base/Geometry.h"
#include "base/MonotonicClock.h"
#include "platform/linux/kernel/FileDescriptor.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// A node on this desktop's server. Frames carry numbers that readFrameNumber() reads.
class TestCast {
public:
    struct Options {
        std::int32_t width = 640;
        std::int32_t height = 480;
        bool isRedFirst = false;
        std::string name = "test window";
    };

    struct Frame {
        std::uint32_t number = 0;
        std::optional<PixelRect> crop;  ///< the window within the picture; the rest is noise
        std::int32_t shadow = 0;  ///< pixels at the crop's edge that are half transparent and not the window; the window then is opaque
        std::vector<PixelRect> damage;  ///< none: nothing is reported
        bool isCorrupt = false;  ///< and shows another number
        bool isEmpty = false;
        std::optional<MonotonicTime> time;  ///< none: now
        /// Draws the number only into the damage, so that damage that is left out shows.
        bool drawsDamageOnly = false;
    };

    TestCast();
    explicit TestCast(Options options);
    ~TestCast();
    TestCast(const TestCast&) = delete;
    TestCast& operator=(const TestCast&) = delete;

    /// Waits until the server has named it.
    [[nodiscard]] std::uint32_t nodeID();

    /// Waits until somebody takes pictures, then hands one over. It is repeated, its time unchanged and no damage reported, until there is
    /// another: what comes while the server is still busy with the one before may get lost.
    void show(const Frame& frame);
    /// Only if somebody takes pictures just now.
    void showIfWanted(std::uint32_t number);

    /// Shows the one, and by the time that it is shown the window has changed to the other, of which only those are told who begin to take
    /// pictures after that.
    void showAndChange(std::uint32_t shown, std::uint32_t untold);

    /// Hands over a picture that is not kept, and waits until its buffer comes back.
    void showInVain(const Frame& frame);
    void show(std::uint32_t number) { show({.number = number, .crop = {}, .damage = {}, .time = {}}); }

    /// From now on, pictures of another size, in a new format.
    void resize(std::int32_t width, std::int32_t height);

    /// How often somebody began to take pictures.
    [[nodiscard]] int connections();

    /// Waits until that many have begun.
    void waitForConnections(int count);

    /// Waits until whoever took pictures has left.
    void waitUntilAlone();

    /// The window is closed.
    void close();

    /// A connection to the server, as a portal hands it out.
    [[nodiscard]] static FileDescriptor connectToServer();

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace velmora::linux_backend
