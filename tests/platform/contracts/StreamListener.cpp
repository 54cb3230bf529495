#include "tests/platform/contracts/StreamListener.h"

namespace velmora::test {

using platform::CaptureStream;
using platform::StreamOutputType;

void StreamListener::streamDidOutputSampleBuffer(const CaptureStream&, const SampleBufferRef& sample, StreamOutputType type)
{
    MutexLock lock(mutex_);
    (type == StreamOutputType::audio ? sound_ : pictures_).push_back(sample);
    changed_.notifyAll();
}

void StreamListener::streamDidStopWithError(const CaptureStream&, const Error& error)
{
    MutexLock lock(mutex_);
    errors_.push_back(error);
    changed_.notifyAll();
}

void StreamListener::waitForPictures(std::size_t count)
{
    MutexLock lock(mutex_);
    while (pictures_.size() < count)
        changed_.wait(mutex_);
}

void StreamListener::waitForSound(std::size_t count)
{
    MutexLock lock(mutex_);
    while (sound_.size() < count)
        changed_.wait(mutex_);
}

void StreamListener::waitForEnd()
{
    MutexLock lock(mutex_);
    while (errors_.empty())
        changed_.wait(mutex_);
}

void StreamListener::forget()
{
    MutexLock lock(mutex_);
    pictures_.clear();
    sound_.clear();
}

std::vector<SampleBufferRef> StreamListener::pictures()
{
    MutexLock lock(mutex_);
    return pictures_;
}

std::vector<SampleBufferRef> StreamListener::sound()
{
    MutexLock lock(mutex_);
    return sound_;
}

std::vector<Error> StreamListener::errors()
{
    MutexLock lock(mutex_);
    return errors_;
}

}  // namespace velmora::test
