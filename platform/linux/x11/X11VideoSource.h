// Pictures of one X11 window.
#pragma once

#include "engine/codecs/PictureScaler.h"
#include "engine/pictures/VideoSource.h"
#include "platform/StreamConfiguration.h"
#include "platform/linux/x11/ServerMemory.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velmora::linux_backend {

/// Captures the client area of one window: whole, however it is covered or moved off the screen, with its child windows, without its
/// frame and without shadows that its program draws. Other windows of the program are not in the picture.
/// What was covered or off the screen at the start is there once the program has drawn it again, which the server asks it to do.
///
/// A picture is taken when something is drawn or the pointer moves over the window, at most one per minimum frame interval on
/// average (one that is late may be followed by one half an interval later), and its time stamp is the moment it was taken. The last
/// picture comes again, same memory and nothing dirty, when 0.5 s pass without a new one. Each picture is one moment of the window: it is
/// fetched in one request, and only the bounds of what changed. While consumers hold all of a small pool of pictures, none is taken.
///
/// A window whose size is not that of the pictures, from the start or after a resize, is fitted in: aspect kept, centred, black
/// around it. One that is minimised or on another workspace is a still picture until it comes back. One that is destroyed or withdrawn
/// ends the stream ("Velmora.X11", windowUnavailable), as does a lost connection.
class X11VideoSource final : public engine::VideoSource {
public:
    struct Options {
        std::string displayName;  ///< as in DISPLAY; empty: that variable
        ImageTransport transport = ImageTransport::fileDescriptor;  ///< the best that may be used
        /// Called on the capture's thread, in place of `stopped`, when the connection is lost because there is no server any more; need
        /// not return. Where it is empty, `stopped` is called in that case too.
        std::function<void()> displayIsGone = {};
    };

    /// `makeScaler` is called on the capture's thread, when the first picture has to be scaled.
    X11VideoSource(std::uint32_t windowID, const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler,
        Options options = {"", ImageTransport::fileDescriptor, {}});
    ~X11VideoSource() override;

    /// Whether the server of this session offers all that a capture needs; an error says what is missing.
    static Result<void> checkAvailable(const std::string& displayName = "");

    Result<void> start(Callbacks callbacks) override;
    Result<void> updateSize(std::int32_t width, std::int32_t height) override;
    void wantPicture() override;
    void stop() override;

private:
    class Capture;

    std::uint32_t windowID_;
    platform::StreamConfiguration configuration_;
    engine::PictureScalerFactory makeScaler_;
    Options options_;
    std::unique_ptr<Capture> capture_;
};

}  // namespace velmora::linux_backend
