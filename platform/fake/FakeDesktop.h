// What the desktop around the program does and is asked to do, under a test's control.
#pragma once

#include "platform/LoginItem.h"
#include "platform/ScreenCaptureAccess.h"
#include "platform/SharingServices.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace velmora::fake {

class FakeScreenCaptureAccess final : public platform::ScreenCaptureAccess, public platform::LateAccess {
public:
    [[nodiscard]] bool preflightScreenCaptureAccess() override { return isGranted; }

    bool requestScreenCaptureAccess() override
    {
        ++requestCount;
        return answer;
    }

    [[nodiscard]] platform::LateAccess* lateAccess() override { return answersLate ? this : nullptr; }
    void observeAccess(std::function<void()> observer) override { changed = std::move(observer); }
    [[nodiscard]] std::string explanation() const override { return reason; }

    bool isGranted = true;
    bool answersLate = true;
    bool answer = true;  ///< to the next request
    int requestCount = 0;
    std::string reason;
    std::function<void()> changed;
};

class FakeWorkspace final : public platform::Workspace {
public:
    void addObserver(platform::WorkspaceObserver observer) override { observers.push_back(std::move(observer)); }
    [[nodiscard]] platform::DisplayOptions accessibilityDisplayOptions() const override { return displayOptions; }
    [[nodiscard]] std::string fileBrowserName() const override { return fileBrowser; }
    void open(const std::filesystem::path& path) override { opened.push_back(path); }
    void openURL(std::string_view url) override { openedURLs.emplace_back(url); }
    [[nodiscard]] std::optional<platform::KeySettings> keySettings() const override { return keys; }
    void openKeySettings() override { ++keySettingsOpened; }
    void activateFileViewerSelecting(const std::vector<std::filesystem::path>& files) override { revealed.push_back(files); }

    void sleep()
    {
        for (auto& observer : observers) {
            if (observer.willSleep)
                observer.willSleep([this] { ++readyCount; });
        }
    }
    void wake()
    {
        for (auto& observer : observers) {
            if (observer.didWake)
                observer.didWake();
        }
    }
    void findFileBrowser(std::string name)
    {
        fileBrowser = std::move(name);
        for (auto& observer : observers) {
            if (observer.fileBrowserDidChange)
                observer.fileBrowserDidChange();
        }
    }
    void changeScreens()
    {
        for (auto& observer : observers) {
            if (observer.screenParametersDidChange)
                observer.screenParametersDidChange();
        }
    }

    std::vector<platform::WorkspaceObserver> observers;
    platform::DisplayOptions displayOptions;
    std::string fileBrowser;
    std::vector<std::filesystem::path> opened;
    std::vector<std::string> openedURLs;
    std::optional<platform::KeySettings> keys;
    int keySettingsOpened = 0;
    std::vector<std::vector<std::filesystem::path>> revealed;
    int readyCount = 0;  ///< observers that let the machine sleep
};

/// A list that other programs change too: what counts is `current`.
class FakeLoginItem final : public platform::LoginItem {
public:
    [[nodiscard]] Status status() const override { return current; }

    Result<void> setOn(bool isOn) override
    {
        if (error)
            return fail(*error);
        current.isOn = isOn;
        return {};
    }

    Status current;
    std::optional<Error> error;
};

class FakeUserDefaults final : public platform::UserDefaults {
public:
    [[nodiscard]] bool boolean(std::string_view key) const override
    {
        const auto found = values.find(key);
        return found != values.end() && found->second;
    }
    void setBoolean(std::string_view key, bool value) override { values.insert_or_assign(std::string{key}, value); }

    std::map<std::string, bool, std::less<>> values;
};

class FakeSharingServices final : public platform::SharingServices {
public:
    [[nodiscard]] std::vector<platform::SharingService> services() const override { return offered; }
    void perform(const std::string& identifier, const std::filesystem::path& file) override { performed.emplace_back(identifier, file); }

    std::vector<platform::SharingService> offered{{"copy-file", "Copy File"}, {"copy-path", "Copy Path"}};
    std::vector<std::pair<std::string, std::filesystem::path>> performed;
};

}  // namespace velmora::fake
