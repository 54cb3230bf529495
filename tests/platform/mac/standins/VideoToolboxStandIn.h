// How a test steers the stand-in for Video Toolbox's compression sessions, and what it says of the calls that it got. What its pages leave
// open it does in every way that they allow, one switch each.
#pragma once

#include <VideoToolbox/VideoToolbox.h>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velmora::standin {

/// Set before the sessions are made; read by their threads.
struct VideoToolbox {
    OSStatus createStatus = noErr;
    OSStatus propertyStatus = noErr;
    OSStatus prepareStatus = noErr;
    OSStatus encodeStatus = noErr;  ///< what frames are refused with
    bool callsBackForRefusedFrames = false;  ///< before the refusal is returned
    bool callsBackWithinTheCall = false;  ///< "Encoded frames may or may not be output before the function returns"
    bool callsBackOnManyThreads = false;  ///< one after the other
    bool holdsFrames = false;  ///< until the session is asked to complete, or releaseFrames()
    int failsEvery = 0;  ///< of that many frames the last is called back with a status
    int dropsEvery = 0;  ///< the last is called back as dropped
    int dropsAtOnceEvery = 0;  ///< the last is dropped as encoding is called, which says so and calls nothing back
    int losesEvery = 0;  ///< of the last nothing is ever heard
    bool refusesKeyFrames = false;  ///< "it may not be possible for the encoder to accommodate all requests"
    bool callsBackDuringInvalidate = false;
    bool callsBackAfterInvalidate = false;  ///< what was pending comes when releaseFrames() is called
    int lengthSize = 4;
};
VideoToolbox& videoToolbox();

struct SubmittedFrame {
    void* base = nullptr;  ///< of the picture's memory
    bool asKeyFrame = false;
};

/// Of all sessions since the last reset. To be looked at while none works.
struct VideoToolboxRecord {
    std::vector<std::pair<std::string, std::string>> properties;  ///< name and value
    int prepared = 0;
    int created = 0;
    int invalidated = 0;
    std::vector<SubmittedFrame> frames;
};
VideoToolboxRecord& videoToolboxRecord();

/// What is held is encoded, also of sessions that have been invalidated. Returns when it has been called back.
void releaseFrames();

/// Back to how a program finds it. Ends the test program if a session was left that was not invalidated.
void resetVideoToolbox();

}  // namespace velmora::standin
