// Seam: which part of the desktop a stream captures.
#pragma once

#include "platform/ShareableContent.h"

#include <utility>

namespace velmora::platform {

/// Either the windows of some applications on one display, or one window wherever it is. Both forms keep the window that the user
/// chose: a back end whose desktop can capture one window directly follows that window and takes its application's sound.
class ContentFilter {
public:
    enum class Kind { displayIncludingApplications, desktopIndependentWindow };

    static ContentFilter displayIncludingApplications(ShareableDisplay display, std::vector<RunningApplication> applications,
        std::vector<ShareableWindow> exceptingWindows, ShareableWindow window)
    {
        ContentFilter filter{Kind::displayIncludingApplications, std::move(window)};
        filter.display_ = display;
        filter.applications_ = std::move(applications);
        filter.exceptingWindows_ = std::move(exceptingWindows);
        return filter;
    }

    static ContentFilter desktopIndependentWindow(ShareableWindow window)
    {
        return ContentFilter{Kind::desktopIndependentWindow, std::move(window)};
    }

    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] const ShareableWindow& window() const { return window_; }
    [[nodiscard]] const std::optional<ShareableDisplay>& display() const { return display_; }
    [[nodiscard]] const std::vector<RunningApplication>& applications() const { return applications_; }
    [[nodiscard]] const std::vector<ShareableWindow>& exceptingWindows() const { return exceptingWindows_; }

private:
    ContentFilter(Kind kind, ShareableWindow window) : kind_(kind), window_(std::move(window)) { }

    Kind kind_;
    ShareableWindow window_;
    std::optional<ShareableDisplay> display_;
    std::vector<RunningApplication> applications_;
    std::vector<ShareableWindow> exceptingWindows_;
};

}  // namespace velmora::platform
