// Discarded recordings that lie where a test says.
#pragma once

#include "base/Mutex.h"
#include "platform/DiscardedRecordings.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <utility>

namespace velmora::fake {

/// Restores by making a file, or fails with the error that a test sets. Members are to be looked at while nobody works.
class FakeDiscardedRecordings final : public platform::DiscardedRecordings {
public:
    void setObserver(Observer observer) override
    {
        MutexLock lock(mutex_);
        observer_ = std::move(observer);
    }

    [[nodiscard]] std::vector<platform::DiscardedRecording> list() const override
    {
        MutexLock lock(mutex_);
        return recordings;
    }

    void noteOffered(const platform::DiscardedRecording& recording) override
    {
        MutexLock lock(mutex_);
        for (auto& known : recordings)
            known.wasOffered = known.wasOffered || known.file == recording.file;
    }

    Result<std::filesystem::path> restore(const platform::DiscardedRecording& recording, const std::filesystem::path& folder) override
    {
        MutexLock lock(mutex_);
        if (restoreError)
            return fail(*restoreError);
        std::erase_if(recordings, [&](const auto& known) { return known.file == recording.file; });
        std::ofstream{folder / recording.origin.filename()} << "restored";
        return folder / recording.origin.filename();
    }

    /// One more is whole in the trash.
    void discard(const platform::DiscardedRecording& recording)
    {
        Observer observer;
        {
            MutexLock lock(mutex_);
            recordings.insert(recordings.begin(), recording);
            observer = observer_;
        }
        if (observer)
            observer(recording);
    }

    std::vector<platform::DiscardedRecording> recordings;  ///< newest first
    std::optional<Error> restoreError;

private:
    mutable Mutex mutex_;
    Observer observer_ GUARDED_BY(mutex_);
};

}  // namespace velmora::fake
