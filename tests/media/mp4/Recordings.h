// Recordings for the tests of this folder, ready to be written.
#pragma once

#include "media/mp4/RecordingFile.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/MemoryFile.h"

#include <filesystem>
#include <vector>

namespace velmora::test {

struct Recording {
    std::vector<mp4::RecordedTrack> tracks;
    std::vector<mp4::RecordedFragment> fragments;
    std::vector<mp4::TrackEnd> ends;
    int pictureCount = 0;
    std::vector<std::int64_t> clicks;  ///< frames on the recording's time line
};

struct RecordingPlan {
    int pictureCount = 90;
    int rate = 30;
    bool hasSound = true;
    std::int64_t soundStart = 0;  ///< frames after the first picture
    std::int64_t soundFrames = 48000 * 3;  ///< frames of sound
    std::vector<std::int64_t> clicks{1000, 48000, 100000};
};

/// Pictures with numbers, sound with clicks, in fragments of 0.5 s. Equal plans share one encoding.
const Recording& makeRecording(const RecordingPlan& plan = {});

/// Options that do not depend on the day.
mp4::RecordingOptions testOptions();

/// Writes head, index and the first `fragmentCount` fragments, but does not finish.
std::unique_ptr<mp4::RecordingFile> writeUnfinished(const std::shared_ptr<mp4::File>& file, const Recording& recording,
    std::size_t fragmentCount, const mp4::RecordingOptions& options = testOptions());

/// The whole recording, unfinished or finished.
std::shared_ptr<MemoryFile> unfinishedFile(const Recording& recording);
std::shared_ptr<MemoryFile> finishedFile(const Recording& recording, const mp4::RecordingOptions& options = testOptions());

/// Fails the test unless the file decodes without complaint and shows the pictures 0, 1, 2, … at their times. Returns what came out.
DecodedFile expectPlays(const std::filesystem::path& path, int rate = 30);
DecodedFile expectPlays(MemoryFile& file, int rate = 30);

}  // namespace velmora::test
