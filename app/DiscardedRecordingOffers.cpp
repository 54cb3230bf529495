#include "app/DiscardedRecordingOffers.h"

#include "app/RestoredRecording.h"
#include "library/ClipFormat.h"

#include <QUuid>

#include <utility>

namespace velmora {

std::shared_ptr<DiscardedRecordingOffers> DiscardedRecordingOffers::create(Services services)
{
    auto offers = std::make_shared<DiscardedRecordingOffers>(Private{}, std::move(services));
    auto& centre = *offers->services_.notificationCenter;
    centre.setDelegate(offers);
    centre.setNotificationCategories({{categoryIdentifier, {{restoreAction, "Restore", false}}}});
    offers->observe();
    return offers;
}

DiscardedRecordingOffers::DiscardedRecordingOffers(Private, Services services) : services_(std::move(services)) { }

DiscardedRecordingOffers::~DiscardedRecordingOffers()
{
    services_.recordings->setObserver(nullptr);
}

void DiscardedRecordingOffers::observe()
{
    // At the end of the program nobody runs this any more: then the next start offers it.
    const auto offerLater = [weak = weak_from_this(), executor = services_.mainExecutor](const platform::DiscardedRecording& recording) {
        executor->async([weak, recording] {
            if (const auto self = weak.lock())
                self->offer(recording);
        });
    };
    services_.recordings->setObserver(offerLater);
    queue_.async([recordings = services_.recordings, offerLater] {
        for (const auto& recording : recordings->list()) {
            if (!recording.wasOffered)
                offerLater(recording);
        }
    });
}

void DiscardedRecordingOffers::offer(const platform::DiscardedRecording& recording)
{
    // One that is discarded while the trash is being read for the first time is heard of twice.
    if (isStopped_ || !offered_.emplace(recording.file.native(), recording).second)
        return;
    const auto length = recording.duration > 0 ? " of " + formattedDuration(recording.duration) : std::string{};
    post("Recording Not Saved", "The recording" + length + " is in the trash. It can be put back among your clips.",
        recording.file.native(), [weak = weak_from_this(), recording](const Result<void>& isShown) {
            if (const auto self = weak.lock(); self && isShown)
                self->queue_.async([recordings = self->services_.recordings, recording] { recordings->noteOffered(recording); });
        });
}

void DiscardedRecordingOffers::stop()
{
    isStopped_ = true;
}

void DiscardedRecordingOffers::post(std::string title, std::string body, std::string file, UniqueFunction<void(Result<void>)> completion)
{
    if (!completion)
        completion = [](const Result<void>&) {};
    platform::NotificationContent content;
    content.title = std::move(title);
    content.body = std::move(body);
    if (!file.empty()) {
        content.categoryIdentifier = categoryIdentifier;
        content.userInfo = {{recordingKey, std::move(file)}};
    }
    services_.notificationCenter->add(
        {QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString(), std::move(content)}, std::move(completion));
}

void DiscardedRecordingOffers::willPresent(const platform::NotificationContent&, UniqueFunction<void(unsigned)> completion)
{
    completion(platform::presentation_option::banner);
}

void DiscardedRecordingOffers::didReceive(const platform::NotificationResponse& response, UniqueFunction<void()> completion)
{
    const auto& userInfo = response.content.userInfo;
    if (const auto file = userInfo.find(recordingKey); file != userInfo.end() && response.actionIdentifier == restoreAction) {
        services_.mainExecutor->async([weak = weak_from_this(), file = file->second] {
            if (const auto self = weak.lock())
                self->restore(file);
        });
    }
    completion();
}

void DiscardedRecordingOffers::restore(const std::string& file)
{
    const auto offered = offered_.find(file);
    if (offered == offered_.end())
        return;
    queue_.async([weak = weak_from_this(), executor = services_.mainExecutor, recordings = services_.recordings,
                     files = services_.fileManager, recording = offered->second, folder = services_.library.effectiveOutputDirectory()] {
        executor->async([weak, restored = restoredInto(folder, *recordings, recording, *files)] {
            if (const auto self = weak.lock())
                self->restoreEnded(restored);
        });
    });
}

void DiscardedRecordingOffers::restoreEnded(const Result<std::filesystem::path>& restored)
{
    if (!restored)
        return post("Recording Not Restored", restored.error().localizedDescription);
    services_.library.addClip(*restored, [weak = weak_from_this(), clip = *restored] {
        if (const auto self = weak.lock(); self && self->services_.wasRestored)
            self->services_.wasRestored(clip);
    });
}

}  // namespace velmora
