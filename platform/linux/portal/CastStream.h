// The pictures that a desktop shares of one window, over PipeWire.
#pragma once

#include "engine/pictures/VideoSource.h"
#include "platform/StreamConfiguration.h"
#include "platform/linux/kernel/FileDescriptor.h"
#include "platform/linux/portal/CastPictures.h"

#include <cstdint>
#include <memory>
#include <string>

namespace velmora::linux_backend {

/// Runs from its creation on, on a thread of its own, so that the size of the window is known before anybody wants its pictures. It
/// always keeps the newest one: a window that stands still has a picture for whoever comes.
///
/// Buffers that are empty or marked as corrupt are skipped, as are those that repeat the one before. When the window's format changes and
/// no picture comes in it, the stream is connected anew: some desktops need that. The same is done when the first picture does not come:
/// one that was lost on its way is not sent again while the window stands still.
class CastStream {
public:
    struct Callbacks {
        /// The first picture is there, and the window has this size; pixels. `application` is the name of the desktop entry of the window's
        /// application where the node gives it, else empty. Once.
        UniqueFunction<void(std::int32_t width, std::int32_t height, const std::string& application)> firstPicture;
        /// The cast has ended by itself. At most once; whoever is attached is told too.
        UniqueFunction<void(const Error&)> stopped;
    };

    /// `remote` is a connection to a PipeWire server that may see the node. The callbacks are called on the stream's thread. Fails where
    /// the connection is of no use at once.
    static Result<std::unique_ptr<CastStream>> create(FileDescriptor remote, std::uint32_t nodeID, Callbacks callbacks);
    ~CastStream();
    CastStream(const CastStream&) = delete;
    CastStream& operator=(const CastStream&) = delete;

    using Attachment = std::uint64_t;

    /// Delivers pictures from now on, beginning with the newest; on the stream's thread, even before this returns. Whoever was attached
    /// before hears nothing more. Fails when the cast has ended. Any thread but the stream's.
    Result<Attachment> attach(const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler,
        engine::VideoSource::Callbacks callbacks);

    /// PictureStream::updateSize() for the attachment's pictures; fails when there is another one by now, or the cast has ended. Any thread but
    /// the stream's.
    Result<void> updateSize(Attachment attachment, std::int32_t width, std::int32_t height);

    /// PictureStream::wantPicture(), soon, for the attachment's pictures; nothing when there is another one by now. Returns at once. Any thread.
    void wantPicture(Attachment attachment);

    /// Returns when none of the attachment's callbacks runs or will run. Any thread but the stream's.
    void detach(Attachment attachment);

    /// Ends the cast as if it had ended by itself. Any thread but the stream's.
    void end(const Error& error);

private:
    class Session;

    explicit CastStream(std::unique_ptr<Session> session);

    std::unique_ptr<Session> session_;
};

}  // namespace velmora::linux_backend
