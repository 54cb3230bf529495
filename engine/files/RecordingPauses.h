// What a recording leaves out while it is paused, and where the rest of it lies.
#pragma once

#include "base/Mutex.h"
#include "media/MediaTime.h"

#include <atomic>
#include <cstddef>
#include <vector>

namespace velmora::engine {

/// The pauses of one recording, on the time line of its samples. A pause begins where it was asked for and ends with the first picture that
/// can be decoded by itself at or after the resume: there the recording goes on where it was left, pictures and sound alike. Between the
/// pauses are stretches, counted from 0; stretch i ends where pause i begins.
///
/// pause() and resume() may be called on any thread; all else is done on the writer's queue.
class RecordingPauses {
public:
    struct Pause {
        MediaTime from;  ///< what is stamped from here on is left out
        MediaTime resumed;  ///< it may end here or later; invalid until that is asked for
        MediaTime to;  ///< it ends here; invalid until that is known
        MediaTime leftOutBefore;  ///< what the pauses before it leave out
    };

    /// Nothing while it is paused.
    void pause(MediaTime time);

    /// Nothing while it is not paused.
    void resume(MediaTime time);

    /// The file begins with what is stamped `start`. Without pictures a pause ends where that was asked for.
    void begin(MediaTime start, bool hasPictures);

    /// Learns of what was asked for. Cheap where nothing was; called before each sample.
    void update();

    /// Whether a picture, which is not before its predecessor, belongs in the file. `mayBegin`: what goes on with it can be decoded.
    [[nodiscard]] bool admits(MediaTime time, bool mayBegin);

    /// The stretch of the next picture that belongs in the file.
    [[nodiscard]] std::size_t stretchOfPictures() const { return stretch_; }

    /// The pause that ends a stretch; null where none is known of.
    [[nodiscard]] const Pause* end(std::size_t stretch) const { return stretch < pauses_.size() ? &pauses_[stretch] : nullptr; }

    /// What is left out before a stretch that has begun.
    [[nodiscard]] MediaTime leftOutBefore(std::size_t stretch) const;

    /// From the beginning of the file to a moment of a stretch.
    [[nodiscard]] MediaTime inFile(MediaTime time, std::size_t stretch) const { return time - start_ - leftOutBefore(stretch); }

    /// Pictures are left out until the next one that may begin a stretch.
    [[nodiscard]] bool isResuming() const;

private:
    struct Request {
        MediaTime time;
        bool isPause = false;
    };

    void ask(Request request);
    void follow(Request request);
    void endPause(MediaTime to);

    Mutex mutex_;
    std::vector<Request> requests_ GUARDED_BY(mutex_);
    std::atomic<bool> hasRequests_ = false;

    std::vector<Pause> pauses_;
    std::size_t stretch_ = 0;
    MediaTime start_;  ///< invalid before begin()
    bool hasPictures_ = true;
};

}  // namespace velmora::engine
