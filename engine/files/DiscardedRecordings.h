// The discarded recordings, over the desktop's trash.
#pragma once

#include "base/Mutex.h"
#include "engine/files/Trash.h"
#include "platform/DiscardedRecordings.h"

#include <memory>

namespace velmora::engine {

class DiscardedRecordings final : public platform::DiscardedRecordings {
public:
    /// `trash` is the one into which the asset writers put what is cancelled.
    explicit DiscardedRecordings(std::shared_ptr<const Trash> trash) : trash_(std::move(trash)) { }

    /// To be called when one is whole in the trash. Any thread.
    void wasKept(const TrashedFile& trashed) const;

    void setObserver(Observer observer) override;
    [[nodiscard]] std::vector<platform::DiscardedRecording> list() const override;
    void noteOffered(const platform::DiscardedRecording& recording) override;
    Result<std::filesystem::path> restore(const platform::DiscardedRecording& recording, const std::filesystem::path& folder) override;

private:
    const std::shared_ptr<const Trash> trash_;
    mutable Mutex mutex_;
    Observer observer_ GUARDED_BY(mutex_);
};

}  // namespace velmora::engine
