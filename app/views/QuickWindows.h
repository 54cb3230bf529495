// The program's windows.
#pragma once

#include "app/ApplicationWindows.h"
#include "platform/WindowActivation.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <memory>

namespace velmora {

/// What a window shows: a view and the model it is bound to.
struct QuickContent {
    QUrl view;
    std::shared_ptr<QObject> model;
    std::function<void()> willAppear;  ///< each time that the window is shown after being hidden
    std::function<void()> didAppear;  ///< then, once its first frame is on the screen: for what would keep it from there
    std::function<void()> didDisappear;  ///< each time that the window has been closed
    std::function<void(std::function<void()> close)> onDismiss;  ///< given, once, the way to close the window
};

class QuickWindowFactory final : public ApplicationWindowFactory {
public:
    using MakeContent = std::function<QuickContent(const WindowDescription&)>;

    QuickWindowFactory(std::shared_ptr<platform::WindowActivation> activation, MakeContent makeContent);

    std::shared_ptr<ApplicationWindow> makeWindow(const WindowDescription& description) override;

private:
    std::shared_ptr<platform::WindowActivation> activation_;
    MakeContent makeContent_;
};

}  // namespace velmora
