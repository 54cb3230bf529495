// Tells the user, without insisting, that a recording which was not saved is in the trash, and brings it back.
#pragma once

#include "base/SerialQueue.h"
#include "library/ClipLibrary.h"
#include "platform/DiscardedRecordings.h"
#include "platform/FileManager.h"
#include "platform/UserNotificationCenter.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace velmora {

/// Each recording is offered once, by the program that discarded it or, where that ended or had nobody to show it first, by the next. Main thread, except where said;
/// what waits for the disk runs on a queue of its own.
class DiscardedRecordingOffers final : public platform::UserNotificationCenterDelegate,
                                       public std::enable_shared_from_this<DiscardedRecordingOffers> {
    struct Private { };

public:
    static constexpr const char* categoryIdentifier = "RECORDING_DISCARDED_CATEGORY";
    static constexpr const char* restoreAction = "RESTORE_ACTION";
    static constexpr const char* recordingKey = "discardedRecording";

    struct Services {
        std::shared_ptr<platform::UserNotificationCenter> notificationCenter;  ///< whose delegate and categories are nobody else's
        std::shared_ptr<platform::DiscardedRecordings> recordings;
        std::shared_ptr<platform::FileManager> fileManager;
        ClipLibrary& library;
        std::shared_ptr<Executor> mainExecutor;

        /// A recording is in the clips folder and in the library again.
        std::function<void(const std::filesystem::path& clip)> wasRestored;
    };

    /// Becomes the centre's delegate, registers its category, observes the recordings, and offers what an earlier run of the program left.
    static std::shared_ptr<DiscardedRecordingOffers> create(Services services);

    DiscardedRecordingOffers(Private, Services services);
    ~DiscardedRecordingOffers() override;
    DiscardedRecordingOffers(const DiscardedRecordingOffers&) = delete;
    DiscardedRecordingOffers& operator=(const DiscardedRecordingOffers&) = delete;

    /// From now on nothing is offered: the program is ending, and with it whoever could restore.
    void stop();

    /// Returns when what was asked for is done with the disk.
    void drain() const { queue_.drain(); }

    /// Any thread.
    void willPresent(const platform::NotificationContent& content, UniqueFunction<void(unsigned)> completion) override;
    void didReceive(const platform::NotificationResponse& response, UniqueFunction<void()> completion) override;

private:
    void observe();
    void offer(const platform::DiscardedRecording& recording);
    void restore(const std::string& file);
    void restoreEnded(const Result<std::filesystem::path>& restored);
    void post(std::string title, std::string body, std::string file = {}, UniqueFunction<void(Result<void>)> completion = {});

    const Services services_;
    std::map<std::string, platform::DiscardedRecording> offered_;  // by the file in the trash
    bool isStopped_ = false;

    // Last: its end waits for work that was asked for.
    SerialQueue queue_{"com.velmora.discardedRecordings", SerialQueue::QualityOfService::utility};
};

}  // namespace velmora
