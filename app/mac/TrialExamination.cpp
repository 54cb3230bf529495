#include "app/mac/TrialExamination.h"

#include "base/Mutex.h"
#include "capture/VideoHardwareEncoder.h"

#include <cstring>
#include <system_error>
#include <utility>

namespace velmora {

namespace {

using Severity = TrialFinding::Severity;
using platform::AuthorizationStatus;

// What the encoder is tried with: moving pictures of a common size.
constexpr std::int32_t width = 1280;
constexpr std::int32_t height = 720;
constexpr int pictureCount = 4;
constexpr std::int64_t bitRate = 8'000'000;
constexpr std::int32_t timescale = 60;

/// What a recording with much motion takes: pictures and sound (bytes a second).
constexpr std::uint64_t bytesPerSecond = (8'000'000 + 192'000) / 8;
constexpr std::uint64_t fewMinutes = 10;

PixelBufferRef picture(int number)
{
    const auto rowBytes = static_cast<std::size_t>(width) * 4;
    const auto pixels = std::make_shared<std::vector<std::byte>>(rowBytes * static_cast<std::size_t>(height));
    // Bars that move.
    for (std::size_t index = 0; index < pixels->size(); ++index)
        (*pixels)[index] = static_cast<std::byte>((index / 64 + static_cast<std::size_t>(number) * 40) & 0xFF);
    auto made = std::make_shared<PixelBuffer>();
    made->width = width;
    made->height = height;
    made->bytesPerRow = rowBytes;
    made->baseAddress = pixels->data();
    made->owner = pixels;
    return made;
}

/// What comes out of the encoder, on a thread of its own.
struct Output {
    Mutex mutex;
    int pictures GUARDED_BY(mutex) = 0;
    bool beginsWithKeyFrame GUARDED_BY(mutex) = false;
    platform::CompressionStatus failure GUARDED_BY(mutex) = 0;
};

std::string statusText(const platform::CompressionSessionFactory& sessions, platform::CompressionStatus status)
{
    const auto words = sessions.description(status);
    return (words.empty() ? std::string{"status"} : words) + ' ' + std::to_string(status);
}

TrialFinding examineEncoder(platform::CompressionSessionFactory& sessions)
{
    const auto output = std::make_shared<Output>();
    const auto session =
        sessions.makeSession(width, height, FourCharacterCode{"avc1"}, [output](auto status, const SampleBufferRef& sample) {
            MutexLock lock(output->mutex);
            if (status != 0 || !sample) {
                output->failure = status;
                return;
            }
            if (output->pictures++ == 0)
                output->beginsWithKeyFrame = VideoHardwareEncoder::isKeyFrame(*sample);
        });
    if (!session)
        return {"encoder", Severity::fault, "There is no encoder: " + statusText(sessions, session.error())};
    using platform::CompressionProperty;
    (*session)->setProperty(CompressionProperty::realTime, true);
    (*session)->setProperty(CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel);
    (*session)->setProperty(CompressionProperty::averageBitRate, bitRate);
    (*session)->setProperty(CompressionProperty::allowFrameReordering, false);
    (*session)->prepareToEncodeFrames();
    platform::CompressionStatus refused = 0;
    for (int number = 0; number < pictureCount && refused == 0; ++number)
        refused = (*session)->encodeFrame(picture(number), MediaTime{number, timescale}, MediaTime{1, timescale});
    (*session)->completeFrames();
    (*session)->invalidate();
    MutexLock lock(output->mutex);
    if (refused != 0 || output->pictures < pictureCount)
        return {"encoder", Severity::fault,
            std::to_string(output->pictures) + " of " + std::to_string(pictureCount)
                + " pictures were encoded: " + statusText(sessions, refused != 0 ? refused : output->failure)};
    if (!output->beginsWithKeyFrame)
        return {"encoder", Severity::fault, "The first picture is no key frame, so no file could begin with it"};
    return {"encoder", Severity::good,
        "All of " + std::to_string(pictureCount) + " pictures were encoded, the first as a key frame; none was looked at"};
}

TrialFinding examinePermission(platform::ScreenCaptureAccess& access)
{
    if (access.preflightScreenCaptureAccess())
        return {"permission", Severity::good, "The screen may be captured"};
    const auto explanation = access.explanation();
    return {"permission", Severity::fault, "The screen may not be captured" + (explanation.empty() ? "" : ": " + explanation)};
}

TrialFinding examineDisk(const platform::FileManager& files)
{
    const auto movies = files.moviesDirectories();
    auto folder = (movies.empty() ? files.homeDirectory() / "Movies" : movies.front()) / "Velmora";
    const auto shown = folder.native();
    // The nearest folder that is there is where it would be made.
    while (!files.fileExists(folder) && folder.has_relative_path())
        folder = folder.parent_path();
    if (const auto writable = files.checkWritable(folder); !writable)
        return {"disk", Severity::fault, "No clip can be created in " + shown + ": " + writable.error().localizedDescription};
    std::error_code error;
    const auto space = std::filesystem::space(folder, error);
    if (error)
        return {"disk", Severity::note, shown + ": how much is free is not known"};
    const auto minutes = space.available / bytesPerSecond / 60;
    return {"disk",
        minutes == 0               ? Severity::fault
            : minutes < fewMinutes ? Severity::warning
                                   : Severity::good,
        shown + ": room for " + std::to_string(minutes) + (minutes == 1 ? " minute" : " minutes") + " of recording"};
}

TrialFinding notificationsFinding(AuthorizationStatus status)
{
    switch (status) {
    case AuthorizationStatus::authorized:
    case AuthorizationStatus::provisional:
    case AuthorizationStatus::ephemeral:
        return {"notifications", Severity::good, "The system shows them"};
    case AuthorizationStatus::notDetermined:
        return {"notifications", Severity::note, "The user has not been asked yet"};
    case AuthorizationStatus::denied:
        break;
    }
    return {"notifications", Severity::warning, "The system shows none; the panel alone says that a clip is saved"};
}

}  // namespace

std::string TrialFinding::line() const
{
    constexpr std::size_t severityWidth = 9;
    constexpr std::size_t topicWidth = 15;
    constexpr const char* names[] = {"good", "note", "warning", "fault"};
    std::string text_ = names[static_cast<std::size_t>(severity)];
    text_.resize(severityWidth, ' ');
    text_ += topic;
    text_.resize(severityWidth + topicWidth, ' ');
    return text_ + text;
}

void examineForTrial(const platform::PlatformServices& services, UniqueFunction<void(std::vector<TrialFinding>)> completion)
{
    std::vector<TrialFinding> findings{examinePermission(*services.screenCaptureAccess), examineEncoder(*services.compressionSessions),
        examineDisk(*services.fileManager)};
    services.userNotificationCenter->getAuthorizationStatus(
        [findings = std::move(findings), completion = std::move(completion)](AuthorizationStatus status) mutable {
            findings.insert(findings.end() - 1, notificationsFinding(status));
            completion(std::move(findings));
        });
}

}  // namespace velmora
