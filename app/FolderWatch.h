// Tells when clips come into a folder or leave it, whoever does that.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <sys/inotify.h>

namespace velmora {

/// Main thread only. A clip has come when it is whole: when whoever wrote it has closed it, or given it its name.
class FolderWatch final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called shortly after a change; once for several that come close together.
    explicit FolderWatch(std::function<void()> changed);
    ~FolderWatch() override;
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /// Watches this folder and no other; where there is none, tells once when there is one, if the folder above it is there. Call it again
    /// after a change: the folder may be gone, or another may have its name.
    void watch(const std::filesystem::path& folder);

private:
    [[nodiscard]] bool isChange(const inotify_event& event) const;
    void readEvents();

    const std::function<void()> changed_;
    const int descriptor_;
    int watched_ = -1;
    std::string awaited_;  ///< the name of the folder that is not there
    std::unique_ptr<QSocketNotifier> notifier_;
    QTimer delay_;
};

}  // namespace velmora
